// The command that searches by regular expressions.

#include "Commands.hpp"
#include "Faults.hpp"

#include <OrventoTextOperations.hpp>

#include <unistd.h>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string_view>
#include <utility>

namespace zeb::cli {

using nlohmann::ordered_json;
using ZEBNS2::Array;
using ZEBNS2::OffsetPair;
using ZEBNS2::RegularExpression;
using ZEBNS2::String;
using ZEBNS2::StringArray;

namespace {

StringArray splitLines(String const& text) {
    return text.tokenize("\n", String::DISCARD_DELIMITERS, String::RETURN_EMPTY_TOKENS);
}

/// What `match` prints, and of which lines.
struct Selection {
    bool invert = false;
    bool numbers = false;
    bool only = false;
    bool groups = false;
    bool json = false;
    bool colored = false;
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

/// All matches in a line that are not empty. The enumeration knows no start of a line, so that `^`
/// would match nowhere: the first match comes from first_match, which does.
Array<OffsetPair> matchesIn(RegularExpression const& expression, String const& line) {
    Array<OffsetPair> matches;
    auto const [start, end] = expression.first_match(line.c_str());
    if (start < 0) {
        return matches;
    }
    auto const add = [&matches](std::uint32_t from, std::uint32_t to) {
        if (from < to) {
            matches.append({from, to});
        }
    };
    add(static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(end));
    // An empty match ends the enumeration, which begins again behind the next byte, but never
    // behind a NUL.
    std::size_t const length = std::string_view(line.c_str()).size();
    for (auto from = static_cast<std::uint32_t>(end); from < length; ++from) {
        Array<OffsetPair> const further = expression.all_unique_matches(line.substring(from));
        for (auto const& [first, last] : further) {
            add(from + first, from + last);
        }
        if (further.empty() ||
            further[further.size() - 1].first < further[further.size() - 1].second) {
            break;
        }
        from += further[further.size() - 1].second;
    }
    return matches;
}

String textOf(OffsetPair const& match, String const& line) {
    return line.substring(match.first, match.second - match.first);
}

/// A line with its matches in colour.
String highlighted(RegularExpression const& expression, String const& line) {
    std::string text;
    std::size_t end = 0;
    for (OffsetPair const& match : matchesIn(expression, line)) {
        text += line.substring(end, match.first - end);
        text += painted(/*colored=*/true, MATCH_COLOR, textOf(match, line));
        end = match.second;
    }
    return text + std::string(line.substring(end));
}

/// What to print of a selected line.
StringArray shownOf(Selection const& selection, RegularExpression const& expression,
                    String const& line) {
    if (selection.only) {
        StringArray matches;
        for (OffsetPair const& match : matchesIn(expression, line)) {
            matches.append(painted(selection.colored, MATCH_COLOR, textOf(match, line)));
        }
        return matches;
    }
    if (selection.groups) {
        return {ZEBNS2::untokenize(expression.all_matching_substrings(line), "\t")};
    }
    return {selection.colored && !selection.invert ? highlighted(expression, line) : line};
}

/// The same as an object.
ordered_json jsonOf(RegularExpression const& expression, String const& line) {
    ordered_json matches = ordered_json::array();
    for (OffsetPair const& match : matchesIn(expression, line)) {
        matches.push_back({{"start", match.first},
                           {"end", match.second},
                           {"text", std::string(textOf(match, line))}});
    }
    ordered_json groups = ordered_json::array();
    for (String const& text : expression.all_matching_substrings(line)) {
        groups.push_back(std::string(text));
    }
    if (!groups.empty()) {
        groups.erase(0);  // the match itself
    }
    return {{"text", std::string(line)}, {"matches", matches}, {"groups", groups}};
}

}  // namespace

void Syntax::declare(Arguments& arguments, char const* ignoreCaseName) {
    arguments.flag(ignoreCaseName, ignoreCase, "Match letters of either case");
    arguments.flag("--basic", basic, "The expression is in POSIX basic syntax, not extended");
}

RegularExpression::CompilationOptions Syntax::options() const {
    return (ignoreCase ? RegularExpression::CASE_INSENSITIVE : RegularExpression::EXTENDED_SYNTAX) |
           (basic ? RegularExpression::BASIC_SYNTAX : RegularExpression::EXTENDED_SYNTAX);
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
    arguments.flag("--json", selection.json,
                   "Print each line as an object: file, line, text, matches (of start, end, text), "
                   "groups (of the first match)");
    arguments.exclusive({"--only", "--groups", "--json"});
    arguments.exclusive({"--invert", "--only", "--groups"});
    syntax.declare(arguments, "-i,--ignore-case");
    arguments.parse(words);

    selection.colored = isColored(STDOUT_FILENO);
    bool const colored = selection.colored;
    RegularExpression const expression = compiled(pattern, syntax.options());
    bool found = false;
    bool const allWell = forEachInput(out, files, [&](std::string const& name, String const& text) {
        StringArray const lines = linesOf(text);
        Array<unsigned int> const matching = expression.find_matching_line_numbers(lines);
        Array<unsigned int> const selected =
            selection.invert ? othersThan(matching, lines.size()) : matching;
        found = found || !selected.empty();
        for (unsigned int const number : selected) {
            if (selection.json) {
                ordered_json object = {{"file", name}, {"line", number + 1}};
                object.update(jsonOf(expression, lines[number]));
                out.json(object);
                continue;
            }
            for (String const& shown : shownOf(selection, expression, lines[number])) {
                if (files.size() > 1) {
                    out.write(painted(colored, NAME_COLOR, name) + ":");
                }
                if (selection.numbers) {
                    out.write(painted(colored, NUMBER_COLOR, std::to_string(number + 1)) + ":");
                }
                out.line(shown);
            }
        }
    });
    return searchStatus(allWell, found);
}

}  // namespace zeb::cli
