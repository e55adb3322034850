// A, B: realSed compared with regular-expression libraries that edit line by line, and with GNU
// sed.

#include "bench.hpp"
#include "inputs.hpp"
#include "regex_peers.hpp"

#include <OrventoCommonRegex.hpp>

#include <memory>

#ifdef ZEB_GNU_SED
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#endif

namespace bench {

namespace {

using ZEBNS2::String;

constexpr std::size_t LINES = 1000000;

#ifdef ZEB_GNU_SED
/// GNU sed as a separate process, from start to end: it reads a file in the page cache and writes
/// to /dev/null (to a file when its answer is wanted), in the locale C like the library in this
/// process.
class GnuSed {
public:
    explicit GnuSed(std::string_view text) : input_(text) {}

    int operator()(char const* script, char const* output = "/dev/null") const {
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output, O_WRONLY | O_TRUNC, 0);
        std::array<char const*, 5> const arguments = {"sed", "-E", script, input_.path(), nullptr};
        std::array<char const*, 2> const environment = {"LC_ALL=C", nullptr};
        pid_t child = 0;
        int status = ::posix_spawn(&child, ZEB_GNU_SED, &actions, nullptr,
                                   const_cast<char**>(arguments.data()),
                                   const_cast<char**>(environment.data()));
        ::posix_spawn_file_actions_destroy(&actions);
        if (status != 0 || ::waitpid(child, &status, 0) != child || status != 0) {
            std::abort();
        }
        return status;
    }

    std::string answer(char const* script) const {
        TemporaryFile const output;
        (*this)(script, output.path());
        return output.contents();
    }

private:
    TemporaryFile input_;
};
#endif

/// The log, as a text and as a file.
struct Log {
    explicit Log(std::size_t lines) : text(logText(lines)) {}

    String text;
#ifdef ZEB_GNU_SED
    GnuSed gnuSed{text};
#endif
};

Log const& fullLog() {
    static Log const log(LINES);
    return log;
}

void addLibrary(Contest& contest, String const& text, char const* command) {
    contest.add(LIBRARY, [&text, command] {
        return ZEBNS2::realSed(text, command, ZEBNS2::RegularExpression::EXTENDED_SYNTAX);
    });
}

/// Adds the library and the peers that do not use libc. `edit(make)` does the work with matchers
/// that `make(pattern)` compiles, just as realSed compiles its own.
template <typename Edit>
void addMatchers(Contest& contest, char const* command, Edit edit) {
    addLibrary(contest, fullLog().text, command);
#ifdef ZEB_HAVE_PCRE2
    contest.add("PCRE2-JIT",
                [=] { return edit([](char const* pattern) { return Pcre2Matcher(pattern); }); });
#endif
#ifdef ZEB_HAVE_RE2
    contest.add("RE2",
                [=] { return edit([](char const* pattern) { return Re2Matcher(pattern); }); });
#endif
}

/// Adds all contestants.
template <typename Edit>
void addEditors(Contest& contest, char const* command, Edit edit) {
    addMatchers(contest, command, edit);
    contest.add("regexec loop",
                [=] { return edit([](char const* pattern) { return PosixMatcher(pattern); }); });
#ifdef ZEB_GNU_SED
    Log const& log = fullLog();
    contest.add(
        "GNU sed", [&log, command] { return log.gnuSed(command); }, log.gnuSed.answer(command));
#endif
}

std::string title(char const* command) { return std::string("realSed ") + command; }

auto substitution(char const* pattern, std::vector<Piece> const& replacement) {
    return [pattern, replacement](auto make) {
        auto matcher = make(pattern);
        return substituteAll(fullLog().text, matcher, replacement);
    };
}

/// For expressions that can match once in a line.
auto singleSubstitution(char const* pattern, std::vector<Piece> const& replacement) {
    return [pattern, replacement](auto make) {
        auto matcher = make(pattern);
        return substituteFirst(fullLog().text, matcher, replacement);
    };
}

auto deletion(char const* pattern) {
    return [pattern](auto make) {
        auto matcher = make(pattern);
        return deleteLines(fullLog().text, matcher);
    };
}

auto rangeDeletion(char const* from, char const* to) {
    return [from, to](auto make) {
        auto start = make(from);
        auto end = make(to);
        return deleteRanges(fullLog().text, start, end);
    };
}

constexpr char SWAP_COMMAND[] = R"(s/([a-z]+)=([0-9]+)/\2=\1/g)";
constexpr char SWAP_PATTERN[] = "([a-z]+)=([0-9]+)";
std::vector<Piece> const SWAP_REPLACEMENT = {{2, ""}, {-1, "="}, {1, ""}};

/// A substitution in which nothing matches, compared with only copying line by line.
void addMismatch(char const* name, char const* command, char const* pattern) {
    if (wanted(name)) {
        Contest contest(name, title(command), fullLog().text.length());
        addEditors(contest, command, substitution(pattern, {{-1, "X"}}));
        contest.aim("GNU sed", 1.5);
    }
}

void addSed() {
    if (wanted("A1")) {
        Contest contest("A1", title(SWAP_COMMAND), fullLog().text.length());
        auto const swap = substitution(SWAP_PATTERN, SWAP_REPLACEMENT);
        addEditors(contest, SWAP_COMMAND, swap);
        contest.add("std::regex",
                    [=] { return swap([](char const* pattern) { return StdMatcher(pattern); }); });
        contest.aim("GNU sed", 1.0);
    }
    if (wanted("A2")) {
        Contest contest("A2", title("s/quiet/loud/g"), fullLog().text.length());
        addEditors(contest, "s/quiet/loud/g", substitution("quiet", {{-1, "loud"}}));
        contest.aim("GNU sed", 2.0);
    }
    if (wanted("A3")) {
        Contest contest("A3", title("/quiet/d"), fullLog().text.length());
        addEditors(contest, "/quiet/d", deletion("quiet"));
        contest.aim("GNU sed", 2.5).aim("RE2", 1.0);
    }
    if (wanted("A4")) {
        Contest contest("A4", title("/begin/,/end/d"), fullLog().text.length());
        addEditors(contest, "/begin/,/end/d", rangeDeletion("begin", "end"));
        contest.aim("RE2", 1.0);
    }
    if (wanted("A5")) {
        Contest contest("A5", title("/^#/d"), fullLog().text.length());
        addEditors(contest, "/^#/d", deletion("^#"));
        contest.add("copy of lines", [] {
            LineJoiner out(fullLog().text.length());
            forEachLine(fullLog().text, [&out](std::string_view line) { out.addLine(line); });
            return out.release();
        });
        contest.aim("GNU sed", 1.5);
    }
    addMismatch("A6", "s/zebra[0-9]+/X/g", "zebra[0-9]+");
    addMismatch("A7", "s/[A-Z]+_[0-9]+/X/g", "[A-Z]+_[0-9]+");
}

/// Lines with groups and alternatives. A loop of regexec and GNU sed take seconds here and show
/// nothing that A1 does not, so they are left out.
void addGroups() {
    if (wanted("B1")) {
        static constexpr char COMMAND[] = R"(s/([a-z]+)\[([0-9]+)\]/\2 \1/g)";
        Contest contest("B1", title(COMMAND), fullLog().text.length());
        addMatchers(contest, COMMAND,
                    substitution(R"(([a-z]+)\[([0-9]+)\])", {{2, ""}, {-1, " "}, {1, ""}}));
        contest.aim("RE2", 1.0);
    }
    if (wanted("B2")) {
        static constexpr char COMMAND[] = R"(s/^([^ ]+) ([^ ]+) (.*)$/\3 \2 \1/)";
        Contest contest("B2", title(COMMAND), fullLog().text.length());
        addMatchers(contest, COMMAND,
                    singleSubstitution("^([^ ]+) ([^ ]+) (.*)$",
                                       {{3, ""}, {-1, " "}, {2, ""}, {-1, " "}, {1, ""}}));
        contest.aim("RE2", 1.0);
    }
    if (wanted("B3")) {
        static constexpr char COMMAND[] = R"(s/^(.*): ([^:]*)$/\2: \1/)";
        Contest contest("B3", title(COMMAND), fullLog().text.length());
        addMatchers(contest, COMMAND,
                    singleSubstitution("^(.*): ([^:]*)$", {{2, ""}, {-1, ": "}, {1, ""}}));
        contest.aim("RE2", 1.0);
    }
    if (wanted("B4")) {
        static constexpr char COMMAND[] = R"(/(error|warn|fatal|daemon\[9)/d)";
        Contest contest("B4", title(COMMAND), fullLog().text.length());
        addMatchers(contest, COMMAND, deletion(R"((error|warn|fatal|daemon\[9))"));
        contest.aim("RE2", 1.0);
    }
}

/// Adds the library, which edits a file in place. The timed replacement leaves the file unchanged,
/// so that each run does the same; the answer is that of one that changes it.
void addFileEdit(Contest& contest, String const& text) {
    auto const edit = [](TemporaryFile const& file, char const* replacement) {
        ZEBNS2::unprivilegedSed(file.path(), "quiet", replacement);
        return true;
    };
    auto const file = std::make_shared<TemporaryFile const>(text);
    TemporaryFile const changed(text);
    edit(changed, "loud");
    contest.add(LIBRARY, [edit, file] { return edit(*file, "quiet"); }, changed.contents());
}

constexpr char FILE_TITLE[] = "unprivilegedSed, quiet by itself";

void addFileEdits() {
    if (wanted("A8")) {
        Log const& log = fullLog();
        Contest contest("A8", FILE_TITLE, log.text.length());
        addFileEdit(contest, log.text);
#ifdef ZEB_GNU_SED
        static TemporaryFile const output;
        contest.add(
            "GNU sed", [&log] { return log.gnuSed("s/quiet/quiet/", output.path()); },
            log.gnuSed.answer("s/quiet/loud/"));
#endif
    }
}

/// The same work on a hundredth and on a tenth of the log.
void addGrowth() {
    struct Work {
        char const* name;
        char const* command;
    };
    static constexpr Work WORKS[] = {
        {"A1", SWAP_COMMAND},         {"A2", "s/quiet/loud/g"}, {"A3", "/quiet/d"},
        {"A4", "/begin/,/end/d"},     {"A5", "/^#/d"},          {"A6", "s/zebra[0-9]+/X/g"},
        {"A7", "s/[A-Z]+_[0-9]+/X/g"}};
    static String const hundredth = logText(LINES / 100);
    static String const tenth = logText(LINES / 10);
    for (Work const& work : WORKS) {
        for (String const* const text : {&hundredth, &tenth}) {
            std::string const name = work.name + std::string(text == &tenth ? "@10" : "@1");
            if (wanted(name)) {
                Contest contest(name, title(work.command), text->length());
                addLibrary(contest, *text, work.command);
            }
        }
    }
    for (String const* const text : {&hundredth, &tenth}) {
        std::string const name = text == &tenth ? "A8@10" : "A8@1";
        if (wanted(name)) {
            Contest contest(name, FILE_TITLE, text->length());
            addFileEdit(contest, *text);
        }
    }
}

/// The cost of more slots than groups.
void addSlots() {
    constexpr std::size_t MANY = ZEBNS2::RegularExpression::MAX_MATCH_SLOTS;
    static String const text = logText(LINES / 10);
    if (wanted("S1")) {
        static String const line(
            "Mar 14 09:26:53 node17 agent[4242]: quiet link id=5731 after a poll");
        static ZEBNS2::RegularExpression const expression(SWAP_PATTERN, 0);
        static PosixMatcher exact(SWAP_PATTERN);
        static PosixMatcher many(SWAP_PATTERN, MANY);
        auto const groups = [](PosixMatcher& matcher) {
            std::vector<std::string_view> texts;
            if (matcher.find(line)) {
                for (std::size_t i = 0; i < 3; ++i) {
                    texts.push_back(matcher.group(i));
                }
            }
            return texts;
        };
        Contest contest("S1", "groups of one match", line.length());
        contest.add(LIBRARY, [] { return expression.all_matching_substrings(line); });
        contest.add("exact slots", [=] { return groups(exact); });
        contest.add("102400 slots", [=] { return groups(many); });
    }
    if (wanted("S2")) {
        Contest contest("S2", "realSed s/.../g on 100,000 lines", text.length());
        addLibrary(contest, text, SWAP_COMMAND);
        auto const swap = [](std::size_t slots) {
            PosixMatcher matcher(SWAP_PATTERN, slots);
            return substituteAll(text, matcher, SWAP_REPLACEMENT);
        };
        contest.add("exact slots", [=] { return swap(0); });
        contest.add("102400 slots", [=] { return swap(MANY); });
    }
}

Family const sed(addSed);
Family const groups(addGroups);
Family const files(addFileEdits);
Family const growth(addGrowth);
Family const slots(addSlots);

}  // namespace

}  // namespace bench
