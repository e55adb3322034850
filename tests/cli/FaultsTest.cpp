// The place of the fault in an expression.

#include <gtest/gtest.h>

#include "ZebText.hpp"

using namespace std::string_literals;

namespace zeb::test {
namespace {

struct Row {
    char const* pattern;
    std::size_t fault;  ///< 0-based, in columns
    char const* reason;
};

constexpr char GROUP[] = "Unmatched ( or \\(";
constexpr char BRACKET[] = "Unmatched [, [^, [:, [., or [=";
constexpr char BRACE[] = "Unmatched \\{";
constexpr char COUNT[] = "Invalid content of \\{\\}";
constexpr char REFERENCE[] = "Invalid back reference";
constexpr char NOTHING[] = "Invalid preceding regular expression";

constexpr Row EXTENDED_ROWS[] = {
    {"a(b", 1, GROUP},                            // what is never closed is shown
    {"a(b)(c", 4, GROUP},                         // not what is
    {"((a)", 0, GROUP},                           //
    {"a(b[)]", 1, GROUP},                         // a parenthesis in brackets closes nothing
    {"ab[cd", 2, BRACKET},                        //
    {"x(a)(b|[cd", 7, BRACKET},                   // the bracket, although a group is open too
    {"[]", 0, BRACKET},                           //
    {"a{2", 1, BRACE},                            //
    {"a{1,", 1, BRACE},                           //
    {"ab\\", 2, "Trailing backslash"},            //
    {"x[b-a]y", 4, "Invalid range end"},          // the end of the range
    {"[[:alpha:]b-a]", 12, "Invalid range end"},  //
    {"x[[:foo:]]y", 3, "Invalid character class name"},  // the class
    {"[[.zz.]]", 4, "Invalid collation character"},      // one z is fine
    {"*a", 0, NOTHING},                                  //
    {"a|*b", 2, NOTHING},                                //
    {"x(+a)", 2, NOTHING},                               //
    {"(a|{2})", 3, NOTHING},                             //
    {"\\1(a)", 0, REFERENCE},                            // the backslash
    {"(a)\\2", 3, REFERENCE},                            //
    {"(a\\1)", 2, REFERENCE},                            // its own group is not complete
    {"a{1,0}", 4, COUNT},                                // 1, is a minimum; the 0 spoils it
    {"a{x}", 1, COUNT},                                  //
    {"a{99999}", 6, "Regular expression too big"},       // 9999 is fine
};

constexpr Row BASIC_ROWS[] = {
    {"a\\(b", 1, GROUP},                        //
    {"x\\)a", 1, GROUP},                        //
    {"a\\{1,0\\}b", 5, COUNT},                  //
    {"a\\{1", 1, BRACE},                        //
    {"\\(a\\)\\2", 5, REFERENCE},               //
    {"x\\(a[b-a]\\)", 7, "Invalid range end"},  //
    {"\\(a\\)\\(b", 5, GROUP},                  //
};

ProcessResult faulty(char const* reason, std::string const& shown, std::size_t column) {
    return failsWith("Error creating regular expression: "s + reason,
                     "  " + shown + "\n  " + std::string(column, ' ') + "^\n");
}

TEST(Faults, AreShownInExtendedExpressions) {
    for (Row const& row : EXTENDED_ROWS) {
        EXPECT_EQ(zebText({"match", "--", row.pattern}),
                  faulty(row.reason, row.pattern, row.fault));
    }
}

TEST(Faults, AreShownInBasicExpressions) {
    for (Row const& row : BASIC_ROWS) {
        EXPECT_EQ(zebText({"match", "--basic", "--", row.pattern}),
                  faulty(row.reason, row.pattern, row.fault));
    }
}

constexpr char LOOP[] =
    "a back-reference in an unlimited repeat leaves too many choices, which the C library would "
    "all try; limit the repeat, as in {0,4}, or begin it with a character";

TEST(Faults, ARefusalSaysWhyAndShowsTheWayOut) {
    ProcessResult const refused =
        failsWith("the expression is refused: "s + LOOP, "  (a|)(\\1\\1)*x\n            ^\n");
    EXPECT_EQ(zebText({"match", "(a|)(\\1\\1)*x"}), refused);
    EXPECT_EQ(zebText({"replace", "(a|)(\\1\\1)*x", "b", "/dev/null"}), refused);
    EXPECT_EQ(zebText({"match", "--basic", "\\(a\\|\\)\\(\\1\\1\\)*x"}),
              failsWith("the expression is refused: "s + LOOP,
                        "  \\(a\\|\\)\\(\\1\\1\\)*x\n                 ^\n"));
    EXPECT_EQ(zebText({"edit", "s/(a|)(\\1\\1)*x/b/"}),
              failsWith("the expression is refused: "s + LOOP,
                        "  s/(a|)(\\1\\1)*x/b/\n              ^\n"));
}

TEST(Faults, EachKindOfRefusalHasItsOwnWords) {
    struct Refusal {
        std::string pattern;
        char const* words;
    };
    Refusal const refusals[] = {
        {std::string(65537, 'a'), "it is longer than 65536 bytes; search for"},
        {std::string(101, '(') + "a" + std::string(101, ')'),
         "its groups are nested more than 100"},
        {"(a{1000}){1000}", "it is too large when its repeats are written out; lower"},
        {"a{0,32767}", "its alternatives and what may be left out would exhaust memory"},
        {std::string(500, '^'), "too many anchors can meet in one place; take"},
        {"(a|\\b|\\`)*", "an anchor and a repeat of what can be empty would send"},
        {"(a*|b|c*)*", "a repeat of what can be empty would send"},
        {"(.+)\\1{1,9}", "its back-references leave too many choices"},
        {"(.)([a-z]*)*\\1", "a back-reference next to a repeat of what can be empty"},
    };
    for (Refusal const& refusal : refusals) {
        ProcessResult const result = zebText({"match", refusal.pattern});
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.err.find("zeb-text: the expression is refused: "s + refusal.words), 0u)
            << result.err;
    }
    ProcessResult const dollars = zebText({"match", "--basic", std::string(102, '$')});
    EXPECT_EQ(dollars.err.find("zeb-text: the expression is refused: it has more than 100 dollars"),
              0u)
        << dollars.err;
}

TEST(Faults, WhatIsNotPrintableIsEscaped) {
    EXPECT_EQ(zebText({"match", "\xC3\xA4\xE2\x82\xAC("}),
              faulty(GROUP, "\u00E4\u20AC(", 2));  // a character is a column
    EXPECT_EQ(zebText({"match", "\t\n\r("}), faulty(GROUP, "\\t\\n\\r(", 6));
    EXPECT_EQ(zebText({"match", "\x1B\x7F("}), faulty(GROUP, "\\x1b\\x7f(", 8));
    // A lone byte, a control character, an overlong form, a surrogate and too large a number.
    EXPECT_EQ(zebText({"match", "\xFF\xC2\x85("}), faulty(GROUP, "\\xff\\xc2\\x85(", 12));
    EXPECT_EQ(zebText({"match", "\xC0\xAF\xE0\x80\xAF("}),
              faulty(GROUP, "\\xc0\\xaf\\xe0\\x80\\xaf(", 20));
    EXPECT_EQ(zebText({"match", "\xED\xA0\x80("}), faulty(GROUP, "\\xed\\xa0\\x80(", 12));
    EXPECT_EQ(zebText({"match", "\xF4\x90\x80\x80("}), faulty(GROUP, "\\xf4\\x90\\x80\\x80(", 16));
    EXPECT_EQ(zebText({"match", "(\xE2\x82"}), faulty(GROUP, "(\\xe2\\x82", 0));
    EXPECT_EQ(zebText({"match", "\xF0\x9F\x98\x80("}), faulty(GROUP, "\U0001F600(", 1));
}

TEST(Faults, ALongExpressionIsCutOnEitherSide) {
    std::string const x(36, 'x');
    EXPECT_EQ(zebText({"match", x + "(" + x}), faulty(GROUP, x + "(" + x.substr(1) + "...", 36));
    EXPECT_EQ(zebText({"match", "x" + x + "(" + x.substr(1)}),
              faulty(GROUP, "..." + x + "(" + x.substr(1), 39));
    std::string const many(80, 'y');
    EXPECT_EQ(zebText({"match", many + "(" + many}),
              faulty(GROUP, "..." + many.substr(0, 36) + "(" + many.substr(0, 35) + "...", 39));
    // Characters are never cut through.
    std::string euros;
    for (int i = 0; i < 36; ++i) {
        euros += "\u20AC";
    }
    EXPECT_EQ(zebText({"match", euros + euros + "("}), faulty(GROUP, "..." + euros + "(", 39));
}

// All of its 20,000 prefixes are asked about, none of which is cheap.
TEST(Faults, AnExpressionThatTakesLongIsShownWithoutPlaceRatherThanWaitedFor) {
    std::string costly;
    for (int i = 0; i < 4000; ++i) {
        costly += "(a|b)";
    }
    EXPECT_EQ(zebText({"match", "[b-a]" + costly}),
              failsWith("Error creating regular expression: Invalid range end",
                        "  [b-a]" + costly.substr(0, 67) + "...\n"));
}

}  // namespace
}  // namespace zeb::test
