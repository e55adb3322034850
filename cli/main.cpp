#include "Commands.hpp"

#include <OrventoTextOperations.hpp>

#include <csignal>
#include <new>

namespace zeb::cli {

namespace {

struct Command {
    char const* name;
    char const* summary;
    Status (*run)(Words const& words, Output& out);
};

constexpr Command COMMANDS[] = {
    {"edit", "edit lines by one sed command", edit},
    {"replace", "replace the first match of each line, in files", replace},
    {"match", "print lines that match, or what matches", match},
    {"wildcard", "turn a wildcard pattern into an expression", wildcard},
    {"escape", "turn literal text into an expression", escape},
    {"search-replace", "replace every occurrence of a text", searchReplace},
    {"tokens", "split text into tokens, quotes respected", tokens},
    {"flatten", "join arguments into one command line", flatten},
    {"unquote", "remove one pair of quotes", unquote},
    {"pad", "pad text to a width", pad},
    {"number", "read a number", number},
    {"unit", "print the bytes of a size unit", unit},
    {"date", "find the first date", date},
    {"env", "find a variable in an environment block", environment},
    {"utf8", "turn UTF-16 into UTF-8", toUtf8},
    {"xml-fix", "replace characters that XML forbids", xmlFix},
    {"xml check", "tell whether files are well-formed XML", xmlCheck},
    {"xml find", "find an element by a query", xmlFind},
};

std::string help() {
    std::string text =
        "Text services on the command line: files or standard input in, standard output out.\n"
        "Usage: zeb-text COMMAND [ARGUMENT...]\n"
        "       zeb-text COMMAND --help\n"
        "       zeb-text --version\n"
        "\n"
        "Commands:\n";
    for (Command const& command : COMMANDS) {
        text += "  ";
        text += ZEBNS2::leftText(command.name, /*width=*/16, ' ');
        text += command.summary;
        text += '\n';
    }
    return text +
           "\n"
           "A FILE of - is standard input. The exit status is 0, or 1 when nothing was found,\n"
           "or 2 after an error. The manual, zeb-text(1), tells more.\n"
           "\n"
           "Example:\n"
           "  zeb-text match --numbers 'error|warning' log\n";
}

Status run(Words words, Output& out) {
    if (words.empty()) {
        throw Failure("COMMAND is required (see zeb-text --help)");
    }
    if (words[0] == "--help" || words[0] == "-h") {
        out.write(help());
        return DONE;
    }
    if (words[0] == "--version") {
        out.line("zeb-text " ZEB_TEXT_VERSION);
        return DONE;
    }
    // The names of some commands are two words.
    if (words[0] == "xml" && words.size() > 1) {
        words[0] += " " + words[1];
        words.erase(words.begin() + 1);
    }
    for (Command const& command : COMMANDS) {
        if (words[0] == command.name) {
            words.erase(words.begin());
            return command.run(words, out);
        }
    }
    throw Failure("unknown command " + words[0] + " (see zeb-text --help)");
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
    // A reader that has gone away is an error of writing like any other.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    return zeb::cli::runAndFinish(zeb::cli::Words(argv + (argc > 0 ? 1 : 0), argv + argc));
}
