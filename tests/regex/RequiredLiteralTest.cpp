#include "regex/pattern/RequiredLiteral.hpp"

#include <gtest/gtest.h>
#include <regex.h>

#include <cstdlib>
#include <ostream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "OrventoCommonRegex.hpp"
#include "Random.hpp"
#include "RunProcess.hpp"
#include "Sanitized.hpp"
#include "TemporaryDirectory.hpp"
#include "WithLocale.hpp"

namespace {

using zeb::test::Random;
using zeb::test::SANITIZED;
using zeb::test::WithLocale;
using ZEBNS2::Array;
using ZEBNS2::OffsetPair;
using ZEBNS2::PatternSyntax;
using ZEBNS2::RegularExpression;
using ZEBNS2::RegularExpressionException;
using ZEBNS2::RequiredLiteral;
using ZEBNS2::String;

struct Row {
    std::string_view pattern;
    std::string_view text;
    bool isWhole = false;
    PatternSyntax syntax = PatternSyntax::EXTENDED;

    friend std::ostream& operator<<(std::ostream& out, Row const& row) {
        return out << row.pattern;
    }
};

class RequiredLiteralOf : public testing::TestWithParam<Row> {};

TEST_P(RequiredLiteralOf, Pattern) {
    RequiredLiteral const required(GetParam().pattern, GetParam().syntax);
    EXPECT_EQ(required.text(), GetParam().text);
    EXPECT_EQ(required.isWhole(), GetParam().isWhole);
}

constexpr Row LITERALS[] = {
    {"", ""},
    {"quiet", "quiet", true},
    {"a\\.b", "a.b", true},
    {"\\\\\\*\\(\\{", "\\*({", true},
    {"a\nb", "a\nb", true},
    {"two words", "two words", true},
    {"01234567890123456789012345678901", "01234567890123456789012345678901", true},
    {"01234567890123456789012345678901x", "01234567890123456789012345678901"},
    {"a\xC3\xA9xyz", "xyz"},
    {"\xC3\xA9", ""},
};
INSTANTIATE_TEST_SUITE_P(Literals, RequiredLiteralOf, testing::ValuesIn(LITERALS));

constexpr Row OPERATORS[] = {
    {"^#", "#"},
    {"end$", "end"},
    {"a.bc.d", "bc"},
    {"zebra[0-9]+", "zebra"},
    {"[A-Z]+_[0-9]+", "_"},
    {"([a-z]+)=([0-9]+)", "="},
    {"a|b", ""},
    {"abc|", ""},
    {"abc)", "abc)", true},
    {"\\w+ab\\b", "ab"},
    {"(x)\\1ab", "ab"},
    {"\\<ab\\> cd", "ab cd"},  // an anchor takes nothing
    {"a\\-b", "a-b", true},
    {"ab\\", ""},  // libc refuses it, as it does these
    {"(ab", ""},
    {"[ab", ""},
    {"ab[", ""},
};
INSTANTIATE_TEST_SUITE_P(Operators, RequiredLiteralOf, testing::ValuesIn(OPERATORS));

constexpr Row REPEATS[] = {
    {"ab*c", "a"},         {"abc?de", "ab"},      {"ab+cd", "bcd"},  // the last of the b
    {"ab+", "ab"},         {"ab+*cd", "cd"},      {"ab++c", "ab"},
    {"xab{2}c", "xab"},    {"xa{2}b{1}c", "abc"}, {"ab{0,1}cde", "cde"},
    {"ab{0}c", "a"},       {"ab{0\\,}", "a"},  // libc takes an escaped comma in braces for a comma
    {"ab{\\0,1}cd", "cd"},                     // and an escaped zero for a zero
    {"ab{", ""},           {"(abc)*de", "de"},    {"[abc]{3}de", "de"},
    {".*ab", "ab"},        {"a{x|y}b", ""},  // no interval; libc refuses it
};
INSTANTIATE_TEST_SUITE_P(Repeats, RequiredLiteralOf, testing::ValuesIn(REPEATS));

constexpr Row GROUPS[] = {
    {"()", ""},
    {"(quiet)", "quiet"},
    {"a(b)c", "abc"},
    {"a(b.*c)d", "ab"},
    {"a(.*bc)d", "bcd"},
    {"((ab)(ef))cd", "abefcd"},
    {"(a|b)c", "c"},
    {"x(a|b)cd", "cd"},
    {"x(ab|cd)", "x"},
    {"(abc)+d", "abcd"},
    {"x(ab)+", "xab"},
    {"x(ab){2,}y", "xab"},
    {"(ab)?c", "c"},
    {"(x|(abc))d", "d"},
    {"(a|bcd)e(.)fg", "fg"},
    {"([)]ab)cd", "abcd"},
    {"(\\(ab)cd", "(abcd"},
};
INSTANTIATE_TEST_SUITE_P(Groups, RequiredLiteralOf, testing::ValuesIn(GROUPS));

constexpr Row BRACKETS[] = {
    {"[]ab]cd", "cd"},     {"[^]ab]cd", "cd"},    {"[[:alpha:]ab]cd", "cd"},
    {"[[.].]ab]cd", "cd"}, {"[[=]=]ab]cd", "cd"}, {"[a[]cd", "cd"},
    {"[[]cd", "cd"},       {"[|]cd", "cd"},       {"[\\]cd", "cd"},  // the backslash is a member
    {"[[:ab]cd", ""},                                                // libc refuses it
};
INSTANTIATE_TEST_SUITE_P(Brackets, RequiredLiteralOf, testing::ValuesIn(BRACKETS));

constexpr PatternSyntax BASIC = PatternSyntax::BASIC;
constexpr Row BASIC_SYNTAX[] = {
    {"a+b?(c){1}|d", "a+b?(c){1}|d", true, BASIC},
    {"a\\(b\\)c\\+", "abc", false, BASIC},
    {"ab\\|cd", "", false, BASIC},
    {"ab*cd", "cd", false, BASIC},
    {"*ab", "*ab", true, BASIC},
    {"a^b$c", "a^b$c", true, BASIC},
    {"^ab$", "ab", false, BASIC},
    {"ab\\{2\\}c", "ab", false, BASIC},
    {"ab\\{", "", false, BASIC},
};
INSTANTIATE_TEST_SUITE_P(BasicSyntax, RequiredLiteralOf, testing::ValuesIn(BASIC_SYNTAX));

TEST(RequiredLiteral, FindsTheFirstOccurrence) {
    RequiredLiteral const required("an e", PatternSyntax::EXTENDED);
    EXPECT_EQ(required.find("an e"), 0u);
    EXPECT_EQ(required.find("an an e an e"), 3u);
    EXPECT_EQ(required.find("can e"), 1u);
    EXPECT_EQ(required.find("an "), std::string_view::npos);
    EXPECT_EQ(required.find("an an an"), std::string_view::npos);
    EXPECT_EQ(required.find("n e"), std::string_view::npos);
    EXPECT_EQ(required.find(""), std::string_view::npos);
}

TEST(RequiredLiteral, NothingIsRequiredWhereACharacterMayEndLikeAnother) {
    zeb::test::TemporaryDirectory const directory;
    std::string const path = directory.path("ja_JP.SJIS");
    try {
        // It warns of the backslash, and so does not end with 0.
        zeb::test::runProcess({"localedef", "-c", "-i", "ja_JP", "-f", "SHIFT_JIS", path});
    } catch (std::system_error const&) {
        GTEST_SKIP() << "localedef is not installed";
    }
    ::setenv("LOCPATH", directory.path("").c_str(), 1);
    {
        WithLocale const locale("ja_JP.SJIS");
        if (!locale.isKnown()) {
            ::unsetenv("LOCPATH");
            GTEST_SKIP() << "the sources of the locale ja_JP are not installed";
        }
        EXPECT_EQ(RequiredLiteral("quiet", PatternSyntax::EXTENDED).text(), "");
    }
    ::unsetenv("LOCPATH");
}

/// Every first match, with its groups, as regexec finds it in a NUL-terminated text.
std::vector<OffsetPair> plainMatches(regex_t const& compiled, std::string const& subject) {
    std::vector<regmatch_t> slots(compiled.re_nsub + 1);
    std::vector<OffsetPair> ranges;
    if (::regexec(&compiled, subject.c_str(), slots.size(), slots.data(), 0) != 0) {
        return ranges;
    }
    for (regmatch_t const& slot : slots) {
        if (slot.rm_so < 0) {
            break;
        }
        ranges.emplace_back(static_cast<unsigned int>(slot.rm_so),
                            static_cast<unsigned int>(slot.rm_eo));
    }
    return ranges;
}

class RequiredLiteralIn : public testing::TestWithParam<char const*> {};

/// The pieces are joined blindly, so that operators occur in unusual places.
TEST_P(RequiredLiteralIn, LocaleChangesNoMatch) {
    constexpr std::string_view PIECES[] = {
        "a",     "b",    "ab",       "c",        "aa",   ".",    "*",    "+", "?",           "{2}",
        "{0,1}", "{1,}", "(",        ")",        "[ab]", "[^a]", "[]a]", "|", "[[:alpha:]]", "^",
        "$",     "\\1",  "\\.",      "\\w",      "\\b",  "\\(",  "\\\\", "{", "}",           "]",
        "\\<",   "\\n",  "\xC3\xA9", "[[=a=]b]", "\\|",  "\\)",  "\\+"};
    constexpr std::string_view BYTES[] = {"a",    "b",    "c",  ".",  "(",  "{",
                                          "}",    "]",    "|",  " ",  "\n", "\xC3\xA9",
                                          "\xC3", "\xA9", "\\", "aa", "ab"};
    WithLocale const locale(GetParam());
    if (!locale.isKnown()) {
        GTEST_SKIP() << "no locale " << GetParam();
    }
    Random random(20260);
    int cases = 0;
    int decided = 0;
    while (cases < (SANITIZED ? 15000 : 120000)) {
        std::string pattern;
        for (std::size_t i = random.between(1, 7); i > 0; --i) {
            pattern += random.pick(PIECES);
        }
        bool const basic = random.oneIn(3);
        bool const newline = random.oneIn(4);
        RegularExpression expression(nullptr, 0);
        try {
            expression.replace(pattern, (basic ? RegularExpression::BASIC_SYNTAX : 0) |
                                            (newline ? RegularExpression::NO_NEWLINE : 0));
        } catch (RegularExpressionException const&) {
            continue;
        }
        regex_t compiled;
        ASSERT_EQ(::regcomp(&compiled, pattern.c_str(),
                            (basic ? 0 : REG_EXTENDED) | (newline ? REG_NEWLINE : 0)),
                  0)
            << pattern;
        RequiredLiteral const required(pattern,
                                       basic ? PatternSyntax::BASIC : PatternSyntax::EXTENDED);
        for (int i = 0; i < 6; ++i, ++cases) {
            std::string subject;
            for (std::size_t j = random.below(9); j > 0; --j) {
                subject += random.pick(BYTES);
            }
            std::vector<OffsetPair> const expected = plainMatches(compiled, subject);
            Array<OffsetPair> const found = expression.all_matches(String(subject));
            ASSERT_EQ(std::vector<OffsetPair>(found.begin(), found.end()), expected)
                << '"' << pattern << "\" in \"" << subject << '"';
            ASSERT_EQ(expression.matches(String(subject)), !expected.empty())
                << '"' << pattern << "\" in \"" << subject << '"';
            decided += !required.text().empty() && (required.isWhole() || expected.empty());
        }
        ::regfree(&compiled);
    }
    EXPECT_GT(decided, cases / 4) << "cases that libc was not asked about";
}

INSTANTIATE_TEST_SUITE_P(Locale, RequiredLiteralIn, testing::Values("C", "C.UTF-8"));

}  // namespace
