// The command that searches by regular expressions.

#include "Commands.hpp"
#include "Faults.hpp"
#include "Json.hpp"
#include "LineSearch.hpp"
#include "Reader.hpp"

#include <OrventoTextOperations.hpp>

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <deque>
#include <filesystem>
#include <iterator>
#include <limits>
#include <string_view>
#include <utility>

namespace zeb::cli {

using ZEBNS2::OffsetPair;
using ZEBNS2::RegularExpression;
using ZEBNS2::String;

namespace {

/// What `match` prints, and for which lines.
struct Selection {
    bool invert = false;
    bool numbers = false;
    bool only = false;
    bool groups = false;
    bool json = false;
    bool count = false;
    bool files = false;
    bool quiet = false;
    bool names = false;
    bool colored = false;
    bool context = false;    ///< whether lines around the selected ones are printed
    std::size_t before = 0;  ///< how many
    std::size_t after = 0;

    /// Whether one selected line of a file is enough.
    [[nodiscard]] bool endsEarly() const { return quiet || files; }
    /// Whether selected lines are printed unchanged.
    [[nodiscard]] bool isPlain() const {
        return !numbers && !only && !groups && !json && !count && !files && !quiet && !names &&
               !colored && !context;
    }
};

std::string_view textOf(OffsetPair const& match, std::string_view line) {
    return line.substr(match.first, match.second - match.first);
}

/// A line with its matches in colour.
std::string highlighted(std::string_view line, LineSearch::Matches const& matches) {
    std::string text;
    std::size_t end = 0;
    for (OffsetPair const& match : matches) {
        text += line.substr(end, match.first - end);
        text += painted(/*colored=*/true, MATCH_COLOR, textOf(match, line));
        end = match.second;
    }
    return text += line.substr(end);
}

/// Searches one input and prints the selected lines.
class InputSearch {
public:
    InputSearch(Selection const& selection, LineSearch const& search, Output& out,
                std::string const& name)
        : selection_(selection), search_(search), out_(out), name_(name) {
        if (selection.json) {
            jsonHead_ = "{";
            appendJsonMember(jsonHead_, "file", name);
            jsonHead_ += ",\"line\":";
        }
    }

    /// @return whether any line is selected
    bool run(Reader& input) {
        input.forEachPiece([this](Piece const& piece) {
            searchPiece(piece);
            return selected_ == 0 || !selection_.endsEarly();
        });
        if (selection_.quiet) {
            return selected_ > 0;
        }
        if (selection_.files && selected_ > 0) {
            out_.line(painted(selection_.colored, NAME_COLOR, name_));
        } else if (selection_.count && !selection_.files) {
            printName(':');
            out_.line(std::to_string(selected_));
        }
        return selected_ > 0;
    }

private:
    void searchPiece(Piece const& piece) {
        char* const end = piece.data + piece.size;
        char* line = piece.data;
        char const* run = nullptr;  // begin of selected lines that are printed unchanged
        bool const skips = canSkip(piece);
        while (line < end) {
            if (skips) {
                place_ = search_.nextCandidate(line, end);
                char* const candidate = beginOfLine(line, end);
                if (candidate != line) {
                    printRun(run, line);
                    pass(line, candidate);
                    line = candidate;
                }
                if (line == end) {
                    break;
                }
            }
            void* const newline = std::memchr(line, '\n', static_cast<std::size_t>(end - line));
            char* const stop = newline == nullptr ? end : static_cast<char*>(newline);
            char const kept = *stop;
            *stop = '\0';
            match_ = skips && search_.isLiteral() && stop - line <= std::numeric_limits<int>::max()
                         ? search_.literalAt(static_cast<int>(place_ - line))
                         : search_.first(line);
            ++number_;
            bool const chosen = (match_.first >= 0) != selection_.invert;
            if (chosen) {
                ++selected_;
            }
            if (selection_.isPlain()) {
                *stop = kept;
                if (chosen) {
                    run = run == nullptr ? line : run;
                } else {
                    printRun(run, line);
                }
            } else {
                present({line, static_cast<std::size_t>(stop - line)}, chosen);
                *stop = kept;
            }
            if (chosen && selection_.endsEarly()) {
                return;
            }
            line = stop + 1;
        }
        printRun(run, end);
    }

    /// Whether lines that cannot match may be skipped. Nothing after a NUL is searched.
    [[nodiscard]] bool canSkip(Piece const& piece) const {
        return search_.canSkip() && !selection_.invert && !selection_.context &&
               std::memchr(piece.data, '\0', piece.size) == nullptr;
    }

    /// The begin of the line that has `place_`, from `line` on; the end when that is the end.
    [[nodiscard]] char* beginOfLine(char* line, char* end) const {
        if (place_ == end) {
            return end;
        }
        void* const before = ::memrchr(line, '\n', static_cast<std::size_t>(place_ - line));
        return before == nullptr ? line : static_cast<char*>(before) + 1;
    }

    /// Counts lines that are not selected.
    void pass(char const* begin, char const* end) {
        if (selection_.numbers || selection_.json) {
            number_ += static_cast<std::uint64_t>(std::count(begin, end, '\n'));
        }
    }

    void printRun(char const*& run, char const* end) {
        if (run != nullptr) {
            out_.write({run, static_cast<std::size_t>(end - run)});
            if (end[-1] != '\n') {
                out_.write("\n");  // the last line of the input may have none
            }
            run = nullptr;
        }
    }

    void printName(char separator) {
        if (selection_.names) {
            out_.write(painted(selection_.colored, NAME_COLOR, name_));
            out_.write({&separator, 1});
        }
    }

    void printHead(std::uint64_t number, char separator) {
        printName(separator);
        if (selection_.numbers) {
            out_.write(painted(selection_.colored, NUMBER_COLOR, std::to_string(number)));
            out_.write({&separator, 1});
        }
    }

    void printContext(std::uint64_t number, std::string_view line) {
        printHead(number, '-');
        out_.line(line);
        printed_ = number;
    }

    /// Begins a group of lines that is not adjacent to the previous one.
    void separate(std::uint64_t number) {
        if (selection_.context && printed_ > 0 && number > printed_ + 1) {
            out_.line("--");
        }
    }

    void present(std::string_view line, bool chosen) {
        if (selection_.count || selection_.endsEarly()) {
            return;
        }
        if (chosen) {
            separate(number_ - recent_.size());
            for (std::size_t i = recent_.size(); i > 0; --i) {
                printContext(number_ - i, recent_[recent_.size() - i]);
            }
            recent_.clear();
            print(line);
            printed_ = number_;
            following_ = selection_.after;
        } else if (following_ > 0) {
            --following_;
            printContext(number_, line);
        } else if (selection_.before > 0) {
            if (recent_.size() == selection_.before) {
                recent_.pop_front();
            }
            recent_.emplace_back(line);
        }
    }

    void print(std::string_view line) {
        if (selection_.json) {
            printJson(line);
        } else if (selection_.only) {
            for (OffsetPair const& match : search_.all(line, match_)) {
                printHead(number_, ':');
                out_.line(painted(selection_.colored, MATCH_COLOR, textOf(match, line)));
            }
        } else {
            printHead(number_, ':');
            if (selection_.groups) {
                out_.line(ZEBNS2::untokenize(search_.groups(line), "\t"));
            } else if (selection_.colored && !selection_.invert) {
                out_.line(highlighted(line, search_.all(line, match_)));
            } else {
                out_.line(line);
            }
        }
    }

    void printJson(std::string_view line) {
        json_ = jsonHead_;
        appendNumber(number_);
        json_ += ',';
        appendJsonMember(json_, "text", line);
        json_ += ",\"matches\":[";
        char const* comma = "{\"start\":";
        if (match_.first >= 0) {
            for (OffsetPair const& match : search_.all(line, match_)) {
                json_ += comma;
                appendNumber(match.first);
                json_ += ",\"end\":";
                appendNumber(match.second);
                json_ += ',';
                appendJsonMember(json_, "text", textOf(match, line));
                json_ += '}';
                comma = ",{\"start\":";
            }
        }
        json_ += "],\"groups\":[";
        appendGroups(line);
        out_.line(json_);
    }

    /// Ends the object with the texts of the groups.
    void appendGroups(std::string_view line) {
        bool utf8 = true;
        std::string bytes;
        if (search_.hasGroups()) {
            ZEBNS2::StringArray const groups = search_.groups(line);
            for (std::size_t i = 1; i < groups.size(); ++i) {
                json_ += i == 1 ? "" : ",";
                bool const isUtf8 = appendJson(json_, groups[i]);
                utf8 = utf8 && isUtf8;
            }
            for (std::size_t i = 1; !utf8 && i < groups.size(); ++i) {
                bytes += std::string(i == 1 ? "\"" : ",\"") + base64(groups[i]) + '"';
            }
        }
        json_ += utf8 ? "]}" : "],\"groupsBase64\":[" + bytes + "]}";
    }

    void appendNumber(std::uint64_t number) {
        char digits[20];
        json_.append(digits, std::to_chars(std::begin(digits), std::end(digits), number).ptr);
    }

    Selection const& selection_;
    LineSearch const& search_;
    Output& out_;
    std::string name_;
    std::uint64_t number_ = 0;        ///< of the line, from 1
    std::uint64_t selected_ = 0;      ///< lines
    std::uint64_t printed_ = 0;       ///< number of the last line that was printed
    std::size_t following_ = 0;       ///< lines of context still to be printed
    std::deque<std::string> recent_;  ///< lines before this one that may become context
    char const* place_ = nullptr;     ///< of the piece, where the next line that may match does
    std::pair<int, int> match_;       ///< the first one of the line
    std::string jsonHead_;            ///< the beginning of every object
    std::string json_;
};

/// The regular files in folders; symbolic links are not followed.
Words filesBelow(Output& out, Words const& names, bool& allWell) {
    namespace fs = std::filesystem;
    Words files;
    allWell = forEachName(out, names, [&files](std::string const& name) {
        if (name == "-" || !fs::is_directory(name)) {
            files.push_back(name);
            return;
        }
        Words found;
        for (auto const& entry : fs::recursive_directory_iterator(name)) {
            if (!entry.is_symlink() && entry.is_regular_file()) {
                found.push_back(entry.path());
            }
        }
        std::sort(found.begin(), found.end());
        files.insert(files.end(), found.begin(), found.end());
    });
    return files;
}

/// The options of `match` as they were given.
struct MatchArguments {
    std::optional<std::string> pattern;
    Words patterns;
    std::optional<std::string> patternFile;
    Words files;
    std::optional<std::string> before;
    std::optional<std::string> after;
    std::optional<std::string> around;
    bool withNames = false;
    bool withoutNames = false;
    bool recursive = false;
    bool extended = false;

    void declare(Arguments& arguments, Selection& selection) {
        arguments.word("EXPRESSION", pattern,
                       "What to look for in each line, unless -e or -f gives it");
        arguments.rest("FILE", files, "Files to read; without one, standard input");
        arguments.option("-e,--expression", "EXPRESSION", patterns,
                         "What to look for; of several one has to match");
        arguments.option("-f,--expressions-from", "FILE", patternFile,
                         "Take expressions from the lines of a file");
        arguments.flag("-v,--invert", selection.invert, "Print the lines that do not match");
        arguments.flag("-n,--numbers", selection.numbers, "Print the number of each line, from 1");
        arguments.flag("-o,--only", selection.only, "Print each match on a line of its own");
        arguments.flag("--groups", selection.groups,
                       "Print the first match and its groups, separated by tabs");
        arguments.flag("--json", selection.json,
                       "Print each line as an object: file, line, text, matches (of start, end, "
                       "text), groups (of the first match)");
        arguments.flag("-c,--count", selection.count,
                       "Print for each file how many lines are selected");
        arguments.flag("-l,--files", selection.files, "Print the names of files with such lines");
        arguments.flag("-q,--quiet", selection.quiet, "Print nothing; the exit status is all");
        arguments.flag("-H,--with-names", withNames, "Print the file's name before each line");
        arguments.flag("-h,--without-names", withoutNames, "Print no names of files");
        arguments.flag("-r,--recursive", recursive,
                       "Read all files in folders; without FILE, in the current one");
        arguments.option("-A,--after", "NUM", after, "Print so many lines after each line");
        arguments.option("-B,--before", "NUM", before, "Print so many lines before each line");
        arguments.option("-C,--context", "NUM", around, "Print so many lines around each line");
        arguments.flag("-E,--extended", extended,
                       "The expression is in POSIX extended syntax, as it is without an option");
        arguments.exclusive({"--only", "--groups", "--json"});
        arguments.exclusive({"--invert", "--only", "--groups"});
        arguments.exclusive({"--with-names", "--without-names"});
        for (char const* const context : {"--after", "--before", "--context"}) {
            for (char const* const form : {"--only", "--groups", "--json"}) {
                arguments.exclusive({context, form});
            }
        }
    }

    /// The expressions, with FILE corrected.
    void settle(Arguments const& arguments) {
        bool const given = !patterns.empty() || patternFile;
        if (!given && !pattern) {
            arguments.fail("EXPRESSION is required");
        }
        if (pattern) {
            given ? static_cast<void>(files.insert(files.begin(), *pattern))
                  : patterns.push_back(*pattern);
        }
        if (patternFile) {
            String const text = readInput(*patternFile);
            ZEBNS2::StringArray const lines =
                text.tokenize("\n", String::DISCARD_DELIMITERS, String::RETURN_EMPTY_TOKENS);
            std::size_t const count = lines.size() - (text.endsWith("\n") ? 1 : 0);
            for (std::size_t i = 0; i < count; ++i) {
                patterns.emplace_back(lines[i]);
            }
        }
    }

    [[nodiscard]] static std::size_t lines(std::optional<std::string> const& count,
                                           std::optional<std::string> const& both) {
        std::optional<std::string> const& text = count ? count : both;
        return text ? ZEBNS2::string_to_number<unsigned int>(*text, /*base=*/10) : 0;
    }
};

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
                        "Prints the lines in which EXPRESSION matches, each after its file's name "
                        "when there are several.\nThe exit status is 1 when there is none.",
                        "  zeb-text match --numbers 'error|warning' log\n"
                        "  zeb-text match --only '[0-9]+\\.[0-9]+' <versions\n"
                        "  zeb-text match --groups '^([a-z]+)=(.*)' settings\n"
                        "  tail -f log | zeb-text match -i -C 2 error\n");
    Selection selection;
    MatchArguments given;
    Syntax syntax;
    given.declare(arguments, selection);
    syntax.declare(arguments, "-i,--ignore-case");
    arguments.exclusive({"--basic", "--extended"});
    arguments.parse(words);

    given.settle(arguments);
    for (std::string const& pattern : given.patterns) {
        static_cast<void>(compiled(pattern, syntax.options()));
    }
    selection.context = given.before || given.after || given.around;
    selection.before = MatchArguments::lines(given.before, given.around);
    selection.after = MatchArguments::lines(given.after, given.around);
    selection.colored = isColored(STDOUT_FILENO);
    selection.names =
        given.withNames || ((given.files.size() > 1 || given.recursive) && !given.withoutNames);
    LineSearch const search(given.patterns, syntax.options());
    bool allThere = true;
    if (given.recursive) {
        given.files = filesBelow(out, given.files.empty() ? Words{"."} : given.files, allThere);
        if (given.files.empty()) {
            return searchStatus(allThere, /*found=*/false);
        }
    }
    bool found = false;
    bool const allWell =
        forEachStream(out, given.files, [&](std::string const& name, Reader& input) {
            if (found && selection.quiet) {
                return;
            }
            found = InputSearch(selection, search, out, name).run(input) || found;
        });
    return selection.quiet && found ? DONE : searchStatus(allWell && allThere, found);
}

}  // namespace zeb::cli
