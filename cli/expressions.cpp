// The commands that search and edit by regular expressions.

#include "Commands.hpp"

#include <OrventoTextOperations.hpp>

#include <zeb/foundation/FileSystem.hpp>
#include <zeb/foundation/Logger.hpp>

#include <memory>
#include <utility>

namespace zeb::cli {

using foundation::CallbackAppender;
using foundation::FileInformation;
using foundation::IntrusiveReference;
using foundation::LogAppender;
using foundation::Logger;
using foundation::LogMessage;
using ZEBNS2::Array;
using ZEBNS2::RegularExpression;
using ZEBNS2::String;
using ZEBNS2::StringArray;

namespace {

namespace FileSystem = foundation::FileSystem;

StringArray splitLines(String const& text) {
    return text.tokenize("\n", String::DISCARD_DELIMITERS, String::RETURN_EMPTY_TOKENS);
}

/// Whether the library knows the sed command. It yields an empty text for one that it does not
/// know, and tells of it only by a message at debug level; no input is needed to get that.
bool isSedCommand(String const& command, RegularExpression::CompilationOptions options) {
    auto const known = std::make_shared<bool>(true);
    Logger::setDefault(
        Logger::DEBUG_LEVEL,
        IntrusiveReference<LogAppender>(new CallbackAppender([known](LogMessage const& message) {
            *known = *known && !message.text.startsWith("regex: Unknown sed operation");
        })));
    static_cast<void>(ZEBNS2::realSed(String(), command, options));
    return *known;
}

/// What unprivilegedSed makes of a file's text.
String edited(String const& text, RegularExpression const& expression, String const& replacement) {
    StringArray lines = splitLines(text);
    for (String& line : lines) {
        line = ZEBNS2::sed(line, expression, replacement);
    }
    return ZEBNS2::untokenize(lines, "\n");
}

/// What `match` prints, and of which lines.
struct Selection {
    bool invert = false;
    bool numbers = false;
    bool only = false;
    bool groups = false;
};

/// The lines of a text; no empty one behind a final newline, which ends a line and begins none.
StringArray linesOf(String const& text) {
    StringArray lines = splitLines(text);
    if (text.endsWith("\n")) {
        lines.remove(lines.size() - 1);
    }
    return lines;
}

/// The indexes below `count` that are not among `numbers`, which ascend.
Array<unsigned int> othersThan(Array<unsigned int> const& numbers, std::size_t count) {
    Array<unsigned int> others;
    std::size_t next = 0;
    for (unsigned int i = 0; i < count; ++i) {
        if (next < numbers.size() && numbers[next] == i) {
            ++next;
        } else {
            others.append(i);
        }
    }
    return others;
}

/// The texts of all matches in a line that are not empty. The enumeration knows no start of a line,
/// so that `^` would match nowhere: the first match comes from first_match, which does.
StringArray allMatchesOf(RegularExpression const& expression, String const& line) {
    auto const [start, end] = expression.first_match(line.c_str());
    auto const from = static_cast<std::size_t>(start);
    auto const to = static_cast<std::size_t>(end);
    StringArray matches{line.substring(from, to - from)};
    for (String const& text : expression.all_unique_matching_substrings(line.substring(to))) {
        matches.append(text);
    }
    return ZEBNS2::remove_empty_strings(matches);
}

/// What to print of a selected line.
StringArray shownOf(Selection const& selection, RegularExpression const& expression,
                    String const& line) {
    if (selection.only) {
        return allMatchesOf(expression, line);
    }
    if (selection.groups) {
        return {ZEBNS2::untokenize(expression.all_matching_substrings(line), "\t")};
    }
    return {line};
}

}  // namespace

void Syntax::declare(Arguments& arguments) {
    arguments.flag("--ignore-case", ignoreCase, "Match letters of either case");
    arguments.flag("--basic", basic, "The expression is in POSIX basic syntax, not extended");
}

RegularExpression::CompilationOptions Syntax::options() const {
    return (ignoreCase ? RegularExpression::CASE_INSENSITIVE : RegularExpression::EXTENDED_SYNTAX) |
           (basic ? RegularExpression::BASIC_SYNTAX : RegularExpression::EXTENDED_SYNTAX);
}

Status edit(Words const& words, Output& out) {
    Arguments arguments("edit",
                        "Applies one sed command to every line and prints the edited text.\n"
                        "COMMAND is s/EXPRESSION/REPLACEMENT/ or s/EXPRESSION/REPLACEMENT/g (with "
                        "any delimiter;\n\\0 is the match, \\1 to \\9 are its groups), "
                        "/EXPRESSION/d or /FROM/,/TO/d.",
                        "  zeb-text edit 's/([a-z]+)=([0-9]+)/\\2=\\1/g' settings\n"
                        "  zeb-text edit --ignore-case '/^debug:/d' <log\n"
                        "  zeb-text edit '/BEGIN TRACE/,/END TRACE/d' log\n");
    std::string command;
    Words files;
    Syntax syntax;
    arguments.word("COMMAND", command, "The sed command");
    arguments.rest("FILE", files, "Files to read; without one, standard input");
    syntax.declare(arguments);
    arguments.parse(words);

    bool const known = isSedCommand(command, syntax.options());
    arguments.startTrace();
    if (!known) {
        arguments.fail("unknown sed command \"" + command + "\"");
    }
    bool const allWell = forEachInput(files, [&](std::string const&, String const& text) {
        out.write(ZEBNS2::realSed(text, command, syntax.options()));
    });
    return allWell ? DONE : FAILED;
}

Status replace(Words const& words, Output&) {
    Arguments arguments("replace",
                        "Rewrites files in place: in each line the first match of EXPRESSION "
                        "becomes TEMPLATE,\nin which %0 is the match, %1 to %9 are its groups and "
                        "%% is a percent sign.",
                        "  zeb-text replace '^timeout=.*' 'timeout=30' service.conf\n"
                        "  zeb-text replace '([a-z]+)\\.old' '%1.new' *.list\n");
    std::string pattern;
    std::string replacement;
    std::string file;
    Words files;
    Syntax syntax;
    arguments.word("EXPRESSION", pattern, "What to look for in each line");
    arguments.word("TEMPLATE", replacement, "What the match becomes");
    arguments.word("FILE", file, "A file to rewrite");
    arguments.rest("FILES", files, "More files to rewrite");
    syntax.declare(arguments);
    arguments.parse(words);

    files.insert(files.begin(), file);
    RegularExpression const expression(String(pattern), syntax.options());
    bool const allWell = forEachName(files, [&](std::string const& name) {
        // unprivilegedSed does not look whether its writing succeeds, which it does not on a full
        // disk. What is no regular file is left to it: it refuses that, reading it might never end.
        bool const regular =
            FileSystem::getFileInformation(name).type == FileInformation::REGULAR_FILE;
        String const expected =
            regular ? edited(FileSystem::getFileContents(name), expression, replacement) : String();
        ZEBNS2::unprivilegedSed(name, expression, replacement);
        if (FileSystem::getFileContents(name) != expected) {
            throw Failure(name + ": could not be written completely");
        }
    });
    return allWell ? DONE : FAILED;
}

Status match(Words const& words, Output& out) {
    Arguments arguments("match",
                        "Prints the lines in which EXPRESSION matches, each behind its file's name "
                        "when there are several.\nThe exit status is 1 when there is none.",
                        "  zeb-text match --numbers 'error|warning' log\n"
                        "  zeb-text match --only '[0-9]+\\.[0-9]+' <versions\n"
                        "  zeb-text match --groups '^([a-z]+)=(.*)' settings\n");
    std::string pattern;
    Words files;
    Selection selection;
    Syntax syntax;
    arguments.word("EXPRESSION", pattern, "What to look for in each line");
    arguments.rest("FILE", files, "Files to read; without one, standard input");
    arguments.flag("--invert", selection.invert, "Print the lines that do not match");
    arguments.flag("--numbers", selection.numbers, "Print the number of each line, from 1");
    arguments.flag("--only", selection.only, "Print each match on a line of its own");
    arguments.flag("--groups", selection.groups,
                   "Print the first match and its groups, separated by tabs");
    arguments.exclusive({"--invert", "--only", "--groups"});
    syntax.declare(arguments);
    arguments.parse(words);

    RegularExpression const expression(String(pattern), syntax.options());
    bool found = false;
    bool const allWell = forEachInput(files, [&](std::string const& name, String const& text) {
        StringArray const lines = linesOf(text);
        Array<unsigned int> const matching = expression.find_matching_line_numbers(lines);
        Array<unsigned int> const selected =
            selection.invert ? othersThan(matching, lines.size()) : matching;
        found = found || !selected.empty();
        for (unsigned int const number : selected) {
            for (String const& shown : shownOf(selection, expression, lines[number])) {
                out.write(files.size() > 1 ? name + ":" : "");
                out.write(selection.numbers ? std::to_string(number + 1) + ":" : "");
                out.line(shown);
            }
        }
    });
    return searchStatus(allWell, found);
}

}  // namespace zeb::cli
