#include "Arguments.hpp"
#include "CommandTable.hpp"

#include <clocale>
#include <csignal>
#include <new>

namespace zeb::cli {

namespace {

/// The help that `words`, which follow "help", ask for.
Status help(Words words, Output& out) {
    if (words.empty()) {
        out.write(usage());
        return DONE;
    }
    if (std::string const group = groupUsage(words[0]); words.size() == 1 && !group.empty()) {
        out.write(group);
        return DONE;
    }
    return takeCommand(words).run({"--help"}, out);
}

Status completion(Words const& words, Output& out) {
    if (words.size() == 1 && words[0] == "bash") {
        out.write(bashCompletion(out));
    } else if (words.size() == 1 && words[0] == "zsh") {
        out.write(zshCompletion(out));
    } else {
        throw Failure("--completion takes bash or zsh (see zeb-text --help)");
    }
    return DONE;
}

Status run(Words words, Output& out) {
    if (words.empty()) {
        throw Failure("COMMAND is required (see zeb-text --help)");
    }
    std::string const first = words[0];
    Words const others(words.begin() + 1, words.end());
    if (first == "--help" || first == "-h") {
        return help({}, out);
    }
    if (first == "help") {
        return help(others, out);
    }
    if (first == "--version" || first == "-V") {
        out.line("zeb-text " ZEB_TEXT_VERSION);
        return DONE;
    }
    if (first == "--completion") {
        return completion(others, out);
    }
    if (others.empty() || others == Words{"--help"}) {
        if (std::string const group = groupUsage(first); !group.empty()) {
            out.write(group);
            return DONE;
        }
    }
    Command const& command = takeCommand(words);
    return command.run(words, out);
}

Status runAndFinish(Words const& words) {
    Output out;
    try {
        Status status = FAILED;
        try {
            status = run(words, out);
        } catch (HelpRequest const& request) {
            out.write(request.what());
            status = DONE;
        }
        out.finish();
        return status;
    } catch (ReaderGone const&) {
        return FAILED;
    } catch (Failure const& failure) {
        report(failure.what(), failure.place);
    } catch (std::bad_alloc const&) {
        report("out of memory");
    } catch (std::exception const& exception) {
        report(exception.what());
    }
    return FAILED;
}

}  // namespace

}  // namespace zeb::cli

int main(int argc, char** argv) {
    // Characters are those of the user's locale; numbers and messages are the same everywhere.
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread
    static_cast<void>(std::setlocale(LC_CTYPE, ""));
    // A closed pipe is a write error like any other.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    // So is a file that reaches its size limit.
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
    // The signal means that another program waits for a file that is being replaced.
    static_cast<void>(std::signal(SIGIO, SIG_IGN));
    return zeb::cli::runAndFinish(zeb::cli::Words(argv + (argc > 0 ? 1 : 0), argv + argc));
}
