#include <OrventoCommonRegex.hpp>
#include <RE.hpp>

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <type_traits>

#include "Random.hpp"

namespace {

using namespace std::string_view_literals;
using ZEBNS2::BadRegexException;
using ZEBNS2::RE;
using ZEBNS2::RegularExpression;
using ZEBNS2::String;
using ZEBNS2::wild2re;

constexpr unsigned int EXTENDED = RegularExpression::EXTENDED_SYNTAX;
constexpr unsigned int BASIC = RegularExpression::BASIC_SYNTAX;

static_assert(!std::is_copy_constructible_v<RE>);
static_assert(!std::is_copy_assignable_v<RE>);

String escape(String const& text, unsigned int options) {
    return RegularExpression::escapeRegexSpecialCharacters(text, options);
}

String convert(String const& wildcard, unsigned int options) {
    return RegularExpression::convertWin32WildcardExpression(wildcard, options);
}

/// Checks a converter for each byte by itself.
template <typename Convert>
void expectBackslashBeforeOnly(std::string_view escaped, std::string_view before,
                               std::string_view behind, std::string_view skipped, Convert convert) {
    for (int code = 0; code < 256; ++code) {
        char const byte = static_cast<char>(code);
        if (skipped.find(byte) != std::string_view::npos) {
            continue;
        }
        SCOPED_TRACE(code);
        std::string expected(before);
        if (escaped.find(byte) != std::string_view::npos) {
            expected += '\\';
        }
        expected += byte;
        expected += behind;
        EXPECT_EQ(convert(String(&byte, 1)), expected);
    }
}

// ---------------------------------------------------------------------------- literal text

TEST(EscapeRegexSpecialCharacters, MakesOperatorsLiteral) {
    EXPECT_EQ(escape("x.y*z", EXTENDED), "x\\.y\\*z");
    EXPECT_EQ(escape("x.y*z", BASIC), "x.y*z");
    EXPECT_EQ(escape("\\", EXTENDED), "\\\\");
    EXPECT_EQ(escape("\\", BASIC), "\\\\");
    EXPECT_EQ(escape("", EXTENDED), "");
    EXPECT_EQ(escape("", BASIC), "");
}

TEST(EscapeRegexSpecialCharacters, EscapesTheFourteenOperatorsAndTheBackslash) {
    expectBackslashBeforeOnly("$()*+,.?[]^{|}\\", "", "", "",
                              [](String const& text) { return escape(text, EXTENDED); });
}

TEST(EscapeRegexSpecialCharacters, EscapesOnlyTheBackslashInBasicSyntax) {
    expectBackslashBeforeOnly("\\", "", "", "",
                              [](String const& text) { return escape(text, BASIC); });
}

TEST(EscapeRegexSpecialCharacters, OtherOptionsHaveNoEffect) {
    EXPECT_EQ(escape("a.b\\", 2 | 4), "a\\.b\\\\");
    EXPECT_EQ(escape("a.b\\", 1 | 2 | 4), "a.b\\\\");
}

TEST(EscapeRegexSpecialCharacters, KeepsNulBytes) {
    EXPECT_EQ(escape(String("a\0.b"sv), EXTENDED), "a\0\\.b"sv);
}

TEST(EscapeRegexSpecialCharacters, OutgrowsItsFirstRoom) {
    EXPECT_EQ(escape(String(std::string(200, '.')), EXTENDED).length(), 400u);
}

TEST(EscapeRegexSpecialCharacters, ResultMatchesJustTheText) {
    zeb::test::Random random(1);
    for (int i = 0; i < 1000; ++i) {
        std::string const text = random.text("$()*+,.?[]^{|}\\ab/%", random.between(1, 12));
        SCOPED_TRACE(text);
        String const pattern = escape(String(text), EXTENDED);
        EXPECT_EQ(RegularExpression(pattern, 0).matching_substring(String("x" + text + "y")), text);
    }
}

// ---------------------------------------------------------------------------- wildcards

TEST(ConvertWin32WildcardExpression, MakesAnExpressionForWholeSubjects) {
    EXPECT_EQ(convert("logs\\*.txt", EXTENDED), "^logs\\\\.*\\.txt$");
    EXPECT_EQ(convert("logs\\*.txt", BASIC), "^logs\\\\.*.txt$");
    EXPECT_EQ(convert("", EXTENDED), "^$");
    EXPECT_EQ(convert("", BASIC), "^$");
    EXPECT_EQ(convert("?", EXTENDED), "^.$");
    EXPECT_EQ(convert("?", BASIC), "^.$");
}

TEST(ConvertWin32WildcardExpression, EscapesTheTwelveOperatorsAndTheBackslash) {
    expectBackslashBeforeOnly("$()+,.[]^{|}\\", "^", "$", "*?",
                              [](String const& text) { return convert(text, EXTENDED); });
}

TEST(ConvertWin32WildcardExpression, EscapesOnlyTheBackslashInBasicSyntax) {
    expectBackslashBeforeOnly("\\", "^", "$", "*?",
                              [](String const& text) { return convert(text, BASIC); });
}

TEST(ConvertWin32WildcardExpression, BracketsAreNoCharacterClass) {
    RegularExpression const expression(convert("[ab]", EXTENDED), EXTENDED);
    EXPECT_TRUE(expression.matches("[ab]"));
    EXPECT_FALSE(expression.matches("a"));
}

TEST(ConvertWin32WildcardExpression, ResultMatchesAsTheWildcardDoes) {
    RegularExpression const expression(convert("logs\\*.t?t", EXTENDED), EXTENDED);
    EXPECT_TRUE(expression.matches("logs\\a.txt"));
    EXPECT_TRUE(expression.matches("logs\\.tat"));
    EXPECT_FALSE(expression.matches("logs/a.txt"));
    EXPECT_FALSE(expression.matches("logs\\a.txtx"));
}

// ---------------------------------------------------------------------------- wild2re

TEST(Wild2re, ConvertsWildcardsDigitsAndEscapes) {
    struct Row {
        std::string_view wildcard;
        std::string_view expression;
    };
    constexpr Row ROWS[] = {
        {"", "^$"},
        {"ab#?", "^ab[[:digit:]].$"},
        {"*", "^.*$"},
        {"a\\*", "^a\\*$"},        // an escaped wildcard stays escaped
        {"\\?\\#", "^\\?\\#$"},    //
        {"a\\", "^a\\\\$"},        // a backslash at the end is literal
        {"\\\\", "^\\\\$"},        // a pair of them stays a pair
        {"\\\\\\", "^\\\\\\\\$"},  // a pair, then one at the end
        {"\\n", "^\\n$"},          // any byte after a backslash is copied
        {"a,b", "^a,b$"},          // the comma is no operator here
        {"a.b[c]", "^a\\.b\\[c\\]$"},
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.wildcard);
        EXPECT_EQ(wild2re(row.wildcard), row.expression);
    }
}

TEST(Wild2re, EscapesTheElevenOperators) {
    expectBackslashBeforeOnly("$()+.[]^{|}", "^", "$", "#*?\\", wild2re);
}

TEST(Wild2re, KeepsNulBytes) { EXPECT_EQ(wild2re(String("\0\\\0"sv)), "^\0\\\0$"sv); }

TEST(Wild2re, ResultMatchesAsTheWildcardDoes) {
    RegularExpression const expression(wild2re("tty##*"), 0);
    EXPECT_TRUE(expression.matches("tty01"));
    EXPECT_TRUE(expression.matches("tty01 x"));
    EXPECT_FALSE(expression.matches("tty1"));
}

// ---------------------------------------------------------------------------- RE

TEST(RE, KeepsThePatternAsPassed) {
    EXPECT_EQ(RE("a+(b)", 0).getOriginalExpression(), "a+(b)");
    EXPECT_EQ(RE("", 0).getOriginalExpression(), "");
}

TEST(RE, NullIsTheEmptyPattern) { EXPECT_EQ(RE(nullptr, 0).getOriginalExpression(), ""); }

TEST(RE, FaultyPatternThrowsTheReasonAndTheCode) {
    regex_t compiled{};
    int const code = ::regcomp(&compiled, "a(b", REG_EXTENDED);
    char reason[1024];
    ::regerror(code, &compiled, reason, sizeof reason);
    try {
        RE const expression("a(b", 0);
        FAIL() << "compiled";
    } catch (BadRegexException const& exception) {
        EXPECT_STREQ(exception.type(), "BadRegexException");
        EXPECT_STREQ(exception.getMessage(), reason);
        EXPECT_EQ(exception.getSubclassCode(), code);
        EXPECT_NE(exception.getSubclassCode(), 0);
        EXPECT_EQ(exception.getErrorCode(), -1);
        EXPECT_EQ(exception.getChained(), nullptr);
        EXPECT_STREQ(exception.getFile(), "RE");
        EXPECT_EQ(exception.getLine(), 24);
    }
}

TEST(RE, SubclassCodeIsTheResultOfRegcomp) {
    struct Row {
        char const* pattern;
        int code;
    };
    constexpr Row ROWS[] = {{"a[b", REG_EBRACK},
                            {"a(b", REG_EPAREN},
                            {"a\\", REG_EESCAPE},
                            {"[[:x:]]", REG_ECTYPE},
                            {"a{2,1}", REG_BADBR}};
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.pattern);
        try {
            RE const expression(row.pattern, 0);
            ADD_FAILURE() << "compiled";
        } catch (BadRegexException const& exception) {
            EXPECT_EQ(exception.getSubclassCode(), row.code);
        }
    }
}

TEST(RE, SyntaxIsExtendedWhateverTheFlags) {
    // A lone parenthesis is an error in extended syntax only.
    for (int const flags : {0, REG_ICASE, REG_NEWLINE, REG_NOSUB, REG_EXTENDED}) {
        SCOPED_TRACE(flags);
        EXPECT_THROW(RE("(", flags), BadRegexException);
        EXPECT_NO_THROW(RE("(a)", flags));
    }
}

}  // namespace
