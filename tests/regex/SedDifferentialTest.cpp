// Sed commands against GNU sed, which uses the same C library, and against a model that asks
// regexec about each line.
//
// Left out before GNU sed is what legitimately differs: `^` and word boundaries in a global
// substitution (a rest is a line of its own here), empty matches in one in UTF-8 (the search goes
// on one byte further here), groups that may take no part in a match (they end the list of groups
// here), `&`, sed's own escapes, bytes that are no UTF-8, and word boundaries in groups: the C
// library finds a match of `^(\b.){2}` in "ab", where GNU sed's own matcher finds none. The model
// is asked all of that, too, except for sed's own escapes.
//
// A longer run, and another one: ZEB_SED_CASES=10000 ZEB_SED_SEED=7 regex_differential_test

#include <OrventoCommonRegex.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Oracle.hpp"
#include "Random.hpp"
#include "RandomExpressions.hpp"
#include "RunProcess.hpp"
#include "WithLocale.hpp"

namespace {

using namespace std::string_view_literals;
using zeb::test::Oracle;
using zeb::test::Random;
using zeb::test::RandomExpressions;
using zeb::test::WithLocale;
using ZEBNS2::realSed;
using ZEBNS2::RegularExpression;
using ZEBNS2::RegularExpressionException;
using ZEBNS2::String;

using Lines = std::vector<std::string>;
using Alphabet = std::vector<std::string_view>;

/// A number from the environment, or `otherwise`.
std::uint32_t setting(char const* name, std::uint32_t otherwise) {
    char const* const value = std::getenv(name);
    return value == nullptr ? otherwise : static_cast<std::uint32_t>(std::stoul(value));
}

std::uint32_t seedOr(std::uint32_t otherwise) { return setting("ZEB_SED_SEED", otherwise); }
/// How many texts a test has, each with commands of its own.
std::uint32_t casesOr(std::uint32_t otherwise) { return setting("ZEB_SED_CASES", otherwise); }

Alphabet const ASCII = {"a", "a", "A", "b", "b", "B", "c", "C", "d", ".", " ", "1", "x", "\t"};
Alphabet const ASCII_AND_STRAY_BYTES = {"a", "A", "b", "B", "c",  "C",    "d",
                                        ".", " ", "1", "x", "\t", "\xE9", "\0"sv};
Alphabet const UTF8 = {"a", "A", "b", "c", "é", "é", "É", "ü", "€", "😀", ".", " ", "1"};
Alphabet const UTF8_AND_STRAY_BYTES = {"a", "A", "b", "é", "É", "ü", "€",    "😀",   " ",   "1",
                                       "s", "S", "ſ", "k", "K", "K", "\xC3", "\xFF", "\0"sv};

// ------------------------------------------------------------------------------------- commands

enum class Kind { SUBSTITUTE, SUBSTITUTE_ALL, DELETE, DELETE_RANGE };

struct Command {
    Kind kind;
    char delimiter;
    std::string expression;
    std::string second;  ///< the replacement, or the expression of the range's end

    bool substitutes() const { return kind == Kind::SUBSTITUTE || kind == Kind::SUBSTITUTE_ALL; }

    /// @param modifier of GNU sed, for the expressions; "" for our own
    std::string text(std::string const& modifier) const {
        if (substitutes()) {
            return std::string("s") + delimiter + expression + delimiter + second + delimiter +
                   (kind == Kind::SUBSTITUTE_ALL ? "g" : "") + modifier;
        }
        std::string const range = kind == Kind::DELETE_RANGE ? ",/" + second + '/' + modifier : "";
        return '/' + expression + '/' + modifier + range + 'd';
    }
};

/// The same expression in basic syntax, where the C library knows all operators by a backslash.
std::string inBasicSyntax(std::string_view extended) {
    std::string basic;
    for (std::size_t i = 0; i < extended.size(); ++i) {
        std::size_t length = 1;
        if (extended[i] == '[') {
            std::string_view const end = extended.substr(i, 3) == "[[:" ? ":]]" : "]";
            length = extended.find(end, i) + end.size() - i;
        } else if (extended[i] == '\\') {
            length = 2;
        } else if ("(){}+?|"sv.find(extended[i]) != std::string_view::npos) {
            basic += '\\';
        }
        basic += extended.substr(i, length);
        i += length - 1;
    }
    return basic;
}

/// For whom commands are drawn.
struct Dialect {
    bool gnu;        ///< without what GNU sed legitimately does otherwise
    bool multibyte;  ///< with characters of several bytes
};

class RandomCommands {
public:
    RandomCommands(Random& random, Dialect dialect) : random_(random), dialect_(dialect) {}

    Command draw(Kind kind, unsigned int options) {
        RandomExpressions expressions(random_, featuresFor(kind));
        auto const drawExpression = [&] {
            std::string const extended = expressions.draw();
            return (options & RegularExpression::BASIC_SYNTAX) != 0 ? inBasicSyntax(extended)
                                                                    : extended;
        };
        Command command{kind, '/', drawExpression(), ""};
        if (command.substitutes()) {
            command.delimiter = random_.pick("/#!,@"sv);
            while (command.expression.find(command.delimiter) != std::string::npos) {
                command.expression = drawExpression();
            }
            command.second = drawReplacement(expressions.groups());
        } else if (kind == Kind::DELETE_RANGE) {
            command.second = drawExpression();
        }
        return command;
    }

private:
    RandomExpressions::Features featuresFor(Kind kind) const {
        bool const substitutes = kind == Kind::SUBSTITUTE || kind == Kind::SUBSTITUTE_ALL;
        return {/*anchors=*/!dialect_.gnu || kind != Kind::SUBSTITUTE_ALL,
                /*optionalGroups=*/!dialect_.gnu || !substitutes,
                /*boundariesInGroups=*/!dialect_.gnu, dialect_.multibyte};
    }

    std::string drawReplacement(std::size_t groups) {
        static constexpr std::string_view LITERALS[] = {"X",  "<",    ">", "%", "%1",
                                                        "%%", "\\\\", "-", ""};
        std::string text;
        for (std::size_t i = random_.below(4); i > 0; --i) {
            if (random_.oneIn(2)) {
                text += '\\' + std::to_string(random_.below(groups + 1));
            } else if (dialect_.multibyte && random_.oneIn(4)) {
                text += "é";
            } else if (!dialect_.gnu && random_.oneIn(8)) {
                text += '&';
            } else {
                text += random_.pick(LITERALS);
            }
        }
        return text;
    }

    Random& random_;
    Dialect dialect_;
};

// ---------------------------------------------------------------------------------------- texts

/// Cuts at each newline; the empty text is one empty line.
Lines split(std::string_view text) {
    Lines lines;
    for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos;) {
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    lines.emplace_back(text);
    return lines;
}

std::string join(Lines const& lines) {
    std::string text;
    for (std::string const& line : lines) {
        text += (&line == lines.data() ? "" : "\n") + line;
    }
    return text;
}

constexpr std::size_t LINES = 25;

/// Any of its lines may be empty. When the last one is, the text ends in a newline.
Lines randomLines(Random& random, Alphabet const& alphabet) {
    static constexpr std::size_t LONGEST = 10;
    Lines lines(LINES);
    for (std::string& line : lines) {
        for (std::size_t i = random.below(LONGEST + 1); i > 0; --i) {
            line += random.pick(alphabet);
        }
    }
    return lines;
}

std::string applied(Command const& command, unsigned int options, std::string const& text) {
    return std::string(std::string_view(realSed(String(text), String(command.text("")), options)));
}

std::string describe(std::uint32_t seed, unsigned int options, std::vector<Command> const& commands,
                     std::string const& text) {
    std::string description =
        "seed " + std::to_string(seed) + ", options " + std::to_string(options) + ", commands";
    for (Command const& command : commands) {
        description += "  " + command.text("");
    }
    return description + "  on " + testing::PrintToString(text);
}

// ---------------------------------------------------------------------------------------- model

/// What is left without the ranges of lines that have an end.
/// @param open set to the number of the line at which a range without an end begins; the number of
///   lines when there is none
Lines withoutRanges(Lines const& lines, Oracle const& start, Oracle const& end, std::size_t& open) {
    Lines kept;
    open = lines.size();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (open < i || !start.matches(lines[i])) {
            kept.push_back(lines[i]);
            continue;
        }
        std::size_t last = i + 1;
        while (last < lines.size() && !end.matches(lines[last])) {
            ++last;
        }
        if (last < lines.size()) {
            i = last;
        } else {
            open = i;
            kept.push_back(lines[i]);
        }
    }
    return kept;
}

/// What replaces a match: `\N` in a replacement is a group, two backslashes are one.
std::string expanded(std::string const& replacement, std::string_view subject,
                     std::vector<ZEBNS2::OffsetPair> const& groups) {
    std::string text;
    for (std::size_t i = 0; i < replacement.size(); ++i) {
        if (replacement[i] != '\\') {
            text += replacement[i];
        } else if (replacement[++i] == '\\') {
            text += '\\';
        } else if (auto const group = static_cast<std::size_t>(replacement[i] - '0');
                   group < groups.size()) {
            text += subject.substr(groups[group].first, groups[group].second - groups[group].first);
        }
    }
    return text;
}

std::string substituted(std::string const& line, Oracle const& oracle, std::string const& second,
                        bool all) {
    std::string edited;
    std::string rest = line;
    bool behindMatch = false;
    for (;;) {
        auto const groups = oracle.allMatches(rest);
        if (groups.empty()) {
            return edited + rest;
        }
        auto const [start, end] = groups[0];
        if (behindMatch && end == 0) {
            // Empty, and directly after the previous one.
            if (rest.empty()) {
                return edited;
            }
            edited += rest[0];
            rest.erase(0, 1);
            behindMatch = false;
            continue;
        }
        edited += rest.substr(0, start) + expanded(second, rest, groups);
        rest.erase(0, end);
        behindMatch = true;
        if (!all) {
            return edited + rest;
        }
    }
}

/// What `command` is to make of a text; nothing when an expression of it does not compile.
std::optional<std::string> modelled(Command const& command, unsigned int options,
                                    std::string const& text) {
    Oracle const first(command.expression, options);
    Oracle const second(command.kind == Kind::DELETE_RANGE ? command.second : "", options);
    if (!first.compiles() || !second.compiles()) {
        return std::nullopt;
    }
    if (text.empty()) {
        return text;  // it has no lines
    }
    Lines lines = split(text);
    if (command.kind == Kind::DELETE_RANGE) {
        std::size_t open = 0;
        lines = withoutRanges(lines, first, second, open);
    } else if (command.kind == Kind::DELETE) {
        lines.erase(std::remove_if(lines.begin(), lines.end(),
                                   [&](std::string const& line) { return first.matches(line); }),
                    lines.end());
    } else {
        for (std::string& line : lines) {
            line = substituted(line, first, command.second, command.kind == Kind::SUBSTITUTE_ALL);
        }
    }
    return join(lines);
}

void compareWithModel(char const* localeName, Dialect dialect, Alphabet const& alphabet) {
    WithLocale const locale(localeName);
    ASSERT_TRUE(locale.isKnown()) << localeName;
    std::uint32_t const seed = seedOr(30);
    Random random(seed);
    RandomCommands drawn(random, dialect);
    std::uint32_t const cases = casesOr(1500);
    int steps = 0;
    int changed = 0;
    int refused = 0;
    for (std::uint32_t i = 0; i < cases && !testing::Test::HasFailure(); ++i) {
        auto const options = static_cast<unsigned int>(random.below(8));
        std::string text = join(randomLines(random, alphabet));
        for (std::size_t left = random.between(1, 3); left > 0; --left, ++steps) {
            Command const command =
                drawn.draw(random.pick(std::array{Kind::SUBSTITUTE, Kind::SUBSTITUTE_ALL,
                                                  Kind::DELETE, Kind::DELETE_RANGE}),
                           options);
            SCOPED_TRACE(describe(seed, options, {command}, text));
            std::optional<std::string> const expected = modelled(command, options, text);
            if (!expected) {
                EXPECT_THROW(applied(command, options, text), RegularExpressionException);
                ++refused;
                break;
            }
            std::string const got = applied(command, options, text);
            EXPECT_EQ(got, *expected);
            changed += got != text ? 1 : 0;
            text = got;
        }
    }
    EXPECT_GT(changed, steps / 4) << "the expressions hardly match";
    EXPECT_LT(refused, steps / 20);
}

TEST(SedDifferential, EachLineIsEditedAsRegexecMatchesIt) {
    compareWithModel("C", {/*gnu=*/false, /*multibyte=*/false}, ASCII_AND_STRAY_BYTES);
}

TEST(SedDifferential, EachLineIsEditedAsRegexecMatchesItInUtf8) {
    compareWithModel("C.UTF-8", {/*gnu=*/false, /*multibyte=*/true}, UTF8_AND_STRAY_BYTES);
}

// -------------------------------------------------------------------------------------- GNU sed

/// What GNU sed prints for a file; nothing when it refuses a command.
std::optional<std::string> printedByGnuSed(char const* locale, std::vector<Command> const& commands,
                                           unsigned int options, std::string const& file) {
    std::vector<std::string> words = {"env", std::string("LC_ALL=") + locale, "sed"};
    if ((options & RegularExpression::BASIC_SYNTAX) == 0) {
        words.emplace_back("-E");
    }
    bool const ignoresCase = (options & RegularExpression::CASE_INSENSITIVE) != 0;
    for (Command const& command : commands) {
        words.insert(words.end(), {"-e", command.text(ignoresCase ? "I" : "")});
    }
    zeb::test::ProcessResult result = zeb::test::runProcess(words, file);
    return result.status == 0 ? std::optional(std::move(result.out)) : std::nullopt;
}

/// GNU sed's result, with newlines between lines and not after each.
/// @param finalNewline whether the last line ends in one for sed, too; only a line that is neither
///   empty nor deleted can do without
std::optional<std::string> editedByGnuSed(char const* locale, std::vector<Command> const& commands,
                                          unsigned int options, Lines lines, bool finalNewline) {
    Lines unseen;
    if (commands[0].kind == Kind::DELETE_RANGE) {
        // A range without an end is deleted by GNU sed, and stays here.
        Oracle const start(commands[0].expression, options);
        Oracle const end(commands[0].second, options);
        if (start.compiles() && end.compiles()) {
            std::size_t open = 0;
            withoutRanges(lines, start, end, open);
            unseen.assign(lines.begin() + static_cast<std::ptrdiff_t>(open), lines.end());
            lines.resize(open);
        }
    }
    std::string file = join(lines);
    if (finalNewline && !lines.empty()) {
        file += '\n';
    }
    std::optional<std::string> edited = printedByGnuSed(locale, commands, options, file);
    if (edited && !unseen.empty()) {
        *edited += join(unseen);
    } else if (edited && finalNewline && !edited->empty()) {
        edited->pop_back();
    }
    return edited;
}

/// A comparison with GNU sed.
struct Comparison {
    char const* locale;
    Alphabet alphabet;
    std::vector<Kind> kinds;
    std::size_t commands;  ///< in a row
};

void compareWithGnuSed(Comparison const& comparison) {
    std::uint32_t const seed = seedOr(20);
    Random random(seed);
    RandomCommands drawn(random, {/*gnu=*/true, /*multibyte=*/comparison.locale != "C"sv});
    std::uint32_t const cases = casesOr(300);
    int changed = 0;
    for (std::uint32_t i = 0; i < cases && !testing::Test::HasFailure(); ++i) {
        auto const options = static_cast<unsigned int>(random.below(8));
        std::vector<Command> commands;
        while (commands.size() < comparison.commands) {
            commands.push_back(drawn.draw(random.pick(comparison.kinds), options));
        }
        Lines const lines = randomLines(random, comparison.alphabet);
        std::string const text = join(lines);
        bool const finalNewline = commands.size() > 1 || !commands[0].substitutes() ||
                                  lines.back().empty() || random.oneIn(2);
        SCOPED_TRACE(describe(seed, options, commands, text));
        std::string got = text;
        bool refused = false;
        for (std::size_t step = 0; step < commands.size() && !refused; ++step) {
            try {
                got = applied(commands[step], options, got);
            } catch (RegularExpressionException const&) {
                refused = true;
            }
            if (got.empty()) {
                // No line or one that is empty: from here on it has no lines, but a file may.
                commands.resize(step + 1);
            }
        }
        std::optional<std::string> const expected =
            editedByGnuSed(comparison.locale, commands, options, lines, finalNewline);
        EXPECT_EQ(refused, !expected.has_value());
        if (expected && !refused) {
            EXPECT_EQ(got, *expected);
        }
        changed += got != text ? 1 : 0;
    }
    EXPECT_GT(changed, static_cast<int>(cases / 4)) << "the expressions hardly match";
}

TEST(SedDifferential, FirstMatchIsReplacedAsByGnuSed) {
    compareWithGnuSed({"C", ASCII, {Kind::SUBSTITUTE}, 1});
}

TEST(SedDifferential, EveryMatchIsReplacedAsByGnuSed) {
    compareWithGnuSed({"C", ASCII, {Kind::SUBSTITUTE_ALL}, 1});
}

TEST(SedDifferential, LinesAreDeletedAsByGnuSed) {
    compareWithGnuSed({"C", ASCII, {Kind::DELETE}, 1});
}

TEST(SedDifferential, RangesAreDeletedAsByGnuSed) {
    compareWithGnuSed({"C", ASCII, {Kind::DELETE_RANGE}, 1});
}

TEST(SedDifferential, CommandsInARowActAsOneScriptOfGnuSed) {
    compareWithGnuSed({"C", ASCII, {Kind::SUBSTITUTE, Kind::SUBSTITUTE_ALL, Kind::DELETE}, 3});
}

TEST(SedDifferential, CharactersOfSeveralBytesAreMatchedAsByGnuSed) {
    WithLocale const locale("C.UTF-8");
    ASSERT_TRUE(locale.isKnown());
    compareWithGnuSed({"C.UTF-8", UTF8, {Kind::SUBSTITUTE, Kind::DELETE, Kind::DELETE_RANGE}, 1});
}

}  // namespace
