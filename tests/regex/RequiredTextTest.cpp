#include <OrventoCommonRegex.hpp>

#include <gtest/gtest.h>
#include <regex.h>

#include <cstdlib>
#include <ostream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "../foundation/TemporaryDirectory.hpp"
#include "Random.hpp"
#include "RunProcess.hpp"
#include "WithLocale.hpp"
#include "regex/RequiredText.hpp"

namespace {

using zeb::test::Random;
using zeb::test::WithLocale;
using ZEBNS2::Array;
using ZEBNS2::OffsetPair;
using ZEBNS2::RegularExpression;
using ZEBNS2::RegularExpressionException;
using ZEBNS2::RequiredText;
using ZEBNS2::String;

struct Row {
    std::string_view pattern;
    std::string_view text;
    bool isWhole = false;

    friend std::ostream& operator<<(std::ostream& out, Row const& row) {
        return out << row.pattern;
    }
};

class RequiredTextOf : public testing::TestWithParam<Row> {};

TEST_P(RequiredTextOf, Pattern) {
    RequiredText const required(GetParam().pattern);
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
INSTANTIATE_TEST_SUITE_P(Literals, RequiredTextOf, testing::ValuesIn(LITERALS));

constexpr Row OPERATORS[] = {
    {"^#", "#"},
    {"end$", "end"},
    {"ab{0\\,}", ""},     // libc takes an escaped comma in braces for a comma
    {"ab{\\0,1}cd", ""},  // and an escaped zero for a zero
    {"a.bc.d", "bc"},
    {"zebra[0-9]+", "zebra"},
    {"[A-Z]+_[0-9]+", "_"},
    {"([a-z]+)=([0-9]+)", "="},
    {"()", ""},
    {"(quiet)", ""},
    {"(a|b)c", "c"},
    {"a|b", ""},
    {"abc|", ""},
    {"abc)", ""},
    {"\\w+ab\\b", "ab"},
    {"(x)\\1ab", "ab"},
    {"\\<ab\\>", "ab"},
    {"ab\\", "ab"},  // libc refuses it
    {"(ab", ""},
    {"[ab", ""},
    {"ab[", "ab"},
    {"ab[[", "ab"},
};
INSTANTIATE_TEST_SUITE_P(Operators, RequiredTextOf, testing::ValuesIn(OPERATORS));

constexpr Row REPEATS[] = {
    {"ab*c", "a"},  {"abc?de", "ab"},   {"ab+cd", "ab"},       {"ab+*cd", "cd"},
    {"ab++", "a"},  {"xab{2}c", "xa"},  {"ab{0,1}cde", "cde"}, {"ab{", ""},
    {"a{2", ""},    {"(abc)*de", "de"}, {"[abc]{3}de", "de"},  {".*ab", "ab"},
    {"^*ab", "ab"}, {"a{x|y}b", ""},  // no interval; libc refuses it
};
INSTANTIATE_TEST_SUITE_P(Repeats, RequiredTextOf, testing::ValuesIn(REPEATS));

constexpr Row BRACKETS[] = {
    {"[]ab]cd", "cd"},     {"[^]ab]cd", "cd"},    {"[[:alpha:]ab]cd", "cd"},
    {"[[.].]ab]cd", "cd"}, {"[[=]=]ab]cd", "cd"}, {"[a[]cd", "cd"},
    {"[[]cd", "cd"},       {"[\\]cd", "cd"},  // the backslash is a member
    {"[[:ab]cd", ""},                         // libc refuses it
    {"([)]ab)cd", "cd"},   {"(\\(ab)cd", "cd"},   {"((ab)(ef))cd", "cd"},
    {"[|]cd", "cd"},
};
INSTANTIATE_TEST_SUITE_P(Brackets, RequiredTextOf, testing::ValuesIn(BRACKETS));

TEST(RequiredText, FindsTheFirstOccurrence) {
    RequiredText const required("an e");
    EXPECT_EQ(required.find("an e"), 0u);
    EXPECT_EQ(required.find("an an e an e"), 3u);
    EXPECT_EQ(required.find("can e"), 1u);
    EXPECT_EQ(required.find("an "), std::string_view::npos);
    EXPECT_EQ(required.find("an an an"), std::string_view::npos);
    EXPECT_EQ(required.find("n e"), std::string_view::npos);
    EXPECT_EQ(required.find(""), std::string_view::npos);
}

TEST(RequiredText, NothingIsRequiredWhereACharacterMayEndLikeAnother) {
    zeb::test::TemporaryDirectory const directory;
    std::string const path(std::string_view(directory.path("ja_JP.SJIS")));
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
        EXPECT_EQ(RequiredText("quiet").text(), "");
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

class RequiredTextIn : public testing::TestWithParam<char const*> {};

/// The pieces are put together blindly, so that operators stand where nobody would write them.
TEST_P(RequiredTextIn, LocaleChangesNoMatch) {
    constexpr std::string_view PIECES[] = {
        "a",           "b",     "ab",   "c",   "aa",  ".",        "*",       "+",    "?",
        "{2}",         "{0,1}", "{1,}", "(",   ")",   "[ab]",     "[^a]",    "[]a]", "|",
        "[[:alpha:]]", "^",     "$",    "\\1", "\\.", "\\w",      "\\b",     "\\(",  "\\\\",
        "{",           "}",     "]",    "\\<", "\\n", "\xC3\xA9", "[[=a=]b]"};
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
    while (cases < 120000) {
        std::string pattern;
        for (std::size_t i = random.between(1, 7); i > 0; --i) {
            pattern += random.pick(PIECES);
        }
        RegularExpression expression(nullptr, 0);
        try {
            expression.replace(pattern, RegularExpression::EXTENDED_SYNTAX);
        } catch (RegularExpressionException const&) {
            continue;
        }
        regex_t compiled;
        ASSERT_EQ(::regcomp(&compiled, pattern.c_str(), REG_EXTENDED), 0) << pattern;
        RequiredText const required(pattern);
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

INSTANTIATE_TEST_SUITE_P(Locale, RequiredTextIn, testing::Values("C", "C.UTF-8"));

}  // namespace
