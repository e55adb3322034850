#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "LogCapture.hpp"
#include "regex/SedCommand.hpp"

namespace ZEBNS2 {
namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using zeb::test::LogCapture;

static_assert(SED_SEARCH == 0);
static_assert(SED_GLOBAL_SEARCH == 1);
static_assert(SED_DELETE == 2);
static_assert(SED_DELETE_RANGE == 3);

/// What a parse function made of a command, and what it logged.
struct Parsed {
    bool recognised;
    SedOperationMode mode;
    String first;
    String second;
    std::vector<std::string> log;
};

constexpr char BEFORE[] = "as before";

/// @param before a mode that the function does not set
template <typename Parse>
Parsed parse(Parse parseCommand, String const& command, SedOperationMode before) {
    Parsed result{false, before, BEFORE, BEFORE, {}};
    LogCapture const log;
    result.recognised = parseCommand(command, result.mode, result.first, result.second);
    result.log = log.lines();
    return result;
}

Parsed parseSearch(String const& command) {
    return parse(parseSedSearch, command, SED_DELETE_RANGE);
}
Parsed parseDelete(String const& command) { return parse(parseSedDelete, command, SED_SEARCH); }

std::string debug(std::string const& text) { return "DEBUG zeb.common.regex: regex: " + text; }

std::string checking(std::string const& command) {
    return debug("Checking for search operation in \"" + command + "\"");
}

// ---------------------------------------------------------------------------- delete

TEST(ParseSedDelete, RecognisesOneExpression) {
    Parsed const parsed = parseDelete("/foo/d");
    EXPECT_TRUE(parsed.recognised);
    EXPECT_EQ(parsed.mode, SED_DELETE);
    EXPECT_EQ(parsed.first, "foo");
    EXPECT_EQ(parsed.second, "");
    EXPECT_THAT(parsed.log,
                ElementsAre(debug("Parsed sed delete operation for expression \"foo\"")));
}

TEST(ParseSedDelete, RecognisesARange) {
    Parsed const parsed = parseDelete("/a/,/b/d");
    EXPECT_TRUE(parsed.recognised);
    EXPECT_EQ(parsed.mode, SED_DELETE_RANGE);
    EXPECT_EQ(parsed.first, "a");
    EXPECT_EQ(parsed.second, "b");
    EXPECT_THAT(
        parsed.log,
        ElementsAre(debug("Parsed sed delete (range) operation for expression \"a\", and \"b\"")));
}

TEST(ParseSedDelete, AcceptsEmptyExpressions) {
    Parsed const one = parseDelete("//d");
    EXPECT_TRUE(one.recognised);
    EXPECT_EQ(one.mode, SED_DELETE);
    EXPECT_EQ(one.first, "");
    EXPECT_EQ(one.second, "");

    Parsed const range = parseDelete("//,//d");
    EXPECT_TRUE(range.recognised);
    EXPECT_EQ(range.mode, SED_DELETE_RANGE);
    EXPECT_EQ(range.first, "");
    EXPECT_EQ(range.second, "");
}

TEST(ParseSedDelete, ExpressionMayHoldANewlineAndAComma) {
    EXPECT_EQ(parseDelete("/a\nb/d").first, "a\nb");
    EXPECT_EQ(parseDelete("/a,b/d").first, "a,b");
}

TEST(ParseSedDelete, LeavesEverythingElseAloneWithoutAMessage) {
    for (std::string_view const command :
         {""sv, " /foo/d"sv, "/foo/d "sv, "/foo/D"sv, "/foo/"sv, "foo/d"sv, "/a/b/d"sv,
          "/a\\/b/d"sv, "/a/,/b/"sv, "/a/, /b/d"sv, "/a/,/b/,/c/d"sv, "s/a/b/"sv, "1d"sv,
          "/a\0b/d"sv}) {
        SCOPED_TRACE(command);
        Parsed const parsed = parseDelete(String(command));
        EXPECT_FALSE(parsed.recognised);
        EXPECT_EQ(parsed.mode, SED_SEARCH);
        EXPECT_EQ(parsed.first, BEFORE);
        EXPECT_EQ(parsed.second, BEFORE);
        EXPECT_THAT(parsed.log, IsEmpty());
    }
}

// ---------------------------------------------------------------------------- search

TEST(ParseSedSearch, TakesCommandsApart) {
    struct Row {
        std::string_view command;
        SedOperationMode mode;
        std::string_view expression;
        std::string_view replacement;
    };
    constexpr Row ROWS[] = {
        {"s/a/b/", SED_SEARCH, "a", "b"},
        {"s/a/b/g", SED_GLOBAL_SEARCH, "a", "b"},
        {"s/a/b", SED_SEARCH, "a", "b"},  // the closing delimiter may lack
        {"s/a/", SED_SEARCH, "a", ""},    //
        {"s/a", SED_SEARCH, "a", ""},     // so may all of the replacement
        {"s/", SED_SEARCH, "", ""},       //
        {"s//", SED_SEARCH, "", ""},      //
        {"s///", SED_SEARCH, "", ""},     //
        {"s///g", SED_GLOBAL_SEARCH, "", ""},
        {"s|a|b|", SED_SEARCH, "a", "b"},  // any byte is a delimiter
        {"s#a#b#g", SED_GLOBAL_SEARCH, "a", "b"},
        {"sxaxbx", SED_SEARCH, "a", "b"},
        {"ss", SED_SEARCH, "", ""},
        {"sgagbg", SED_SEARCH, "a", "b"},  // even the letter of the flag
        {"sgagbgg", SED_GLOBAL_SEARCH, "a", "b"},
        {"s\na\nb\n", SED_SEARCH, "a", "b"},
        {"s\0a\0b\0g"sv, SED_GLOBAL_SEARCH, "a", "b"},
        {"s/(x)y/[\\1]/", SED_SEARCH, "(x)y", "[%1]"},
        {"s/a/\\0\\9/", SED_SEARCH, "a", "%0%9"},
        {"s/a/\\10/", SED_SEARCH, "a", "%10"},        // group 1, then a zero
        {"s/a/50%/", SED_SEARCH, "a", "50%%"},        // a percent sign stays one
        {"s/a/%1/", SED_SEARCH, "a", "%%1"},          // and makes no placeholder
        {"s/a/x\\\\y/", SED_SEARCH, "a", "x\\y"},     // an escaped backslash is one
        {"s/a/\\\\1/", SED_SEARCH, "a", "\\1"},       // and escapes nothing
        {"s/a/x\\\\", SED_SEARCH, "a", "x\\"},        //
        {"s/a\\.b/c/", SED_SEARCH, "a\\.b", "c"},     // no escapes in the expression
        {"s/a/x\\t", SED_SEARCH, "a", "x\\t"},        // any other escape ends the replacement
        {"s/a/\\tg", SED_GLOBAL_SEARCH, "a", "\\t"},  // so that a flag may follow
        {"s/a/\\/", SED_SEARCH, "a", "\\/"},          // an escaped delimiter, too
        {"s/a/\\/g", SED_GLOBAL_SEARCH, "a", "\\/"},  //
        {"s/a/\\%", SED_SEARCH, "a", "\\%"},          //
        {"s%a%b%", SED_SEARCH, "a", "b"},             // the delimiter comes before the percent sign
        {"s\\a\\b\\g", SED_GLOBAL_SEARCH, "a", "b"},  // and before the escape
        {"s1a1\\12", SED_SEARCH, "a", "%12"},         // but not after one
        {"s/a\nb/c\nd/", SED_SEARCH, "a\nb", "c\nd"},
        {"s/a\0b/c\0d/"sv, SED_SEARCH, "a\0b"sv, "c\0d"sv},
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.command);
        Parsed const parsed = parseSearch(String(row.command));
        EXPECT_TRUE(parsed.recognised);
        EXPECT_EQ(parsed.mode, row.mode);
        EXPECT_EQ(parsed.first, row.expression);
        EXPECT_EQ(parsed.second, row.replacement);
        EXPECT_THAT(parsed.log, ElementsAre(checking(std::string(row.command))));
    }
}

TEST(ParseSedSearch, EmptyCommandFails) {
    Parsed const parsed = parseSearch("");
    EXPECT_FALSE(parsed.recognised);
    EXPECT_EQ(parsed.mode, SED_DELETE_RANGE);
    EXPECT_EQ(parsed.first, BEFORE);
    EXPECT_EQ(parsed.second, BEFORE);
    EXPECT_THAT(parsed.log,
                ElementsAre(checking(""), "DEBUG3 zeb.common.regex: regex: Sed string is empty"));
}

TEST(ParseSedSearch, OtherOperationFails) {
    Parsed const parsed = parseSearch("x/a/b/");
    EXPECT_FALSE(parsed.recognised);
    EXPECT_EQ(parsed.mode, SED_DELETE_RANGE);
    EXPECT_EQ(parsed.first, BEFORE);
    EXPECT_EQ(parsed.second, BEFORE);
    EXPECT_THAT(parsed.log, ElementsAre(checking("x/a/b/"),
                                        debug("Not a search operation: 'x' in \"x/a/b/\"")));
}

TEST(ParseSedSearch, LoneLetterIsAnEmptySearchWithAWarning) {
    Parsed const parsed = parseSearch("s");
    EXPECT_TRUE(parsed.recognised);
    EXPECT_EQ(parsed.mode, SED_SEARCH);
    EXPECT_EQ(parsed.first, "");
    EXPECT_EQ(parsed.second, "");
    EXPECT_THAT(parsed.log, ElementsAre(checking("s"), debug("Malformed sed string \"s\"")));
}

TEST(ParseSedSearch, TrailingEscapeFails) {
    Parsed const parsed = parseSearch("s/a/b\\");
    EXPECT_FALSE(parsed.recognised);
    EXPECT_EQ(parsed.mode, SED_SEARCH) << "already written";
    EXPECT_EQ(parsed.first, "a") << "already written";
    EXPECT_EQ(parsed.second, BEFORE);
    EXPECT_THAT(parsed.log,
                ElementsAre(checking("s/a/b\\"),
                            debug("Malformed sed string (trailing escape): \"s/a/b\\\"")));
}

TEST(ParseSedSearch, UnknownFlagFails) {
    struct Row {
        char const* command;
        char const* expression;
        char const* replacement;
    };
    constexpr Row ROWS[] = {
        {"s/a/b/i", "a", "b"},        // letter case is the caller's choice
        {"s/a/b/G", "a", "b"},        //
        {"s/a/b/ g", "a", "b"},       //
        {"s/a\\/b/z/", "a\\", "b"},   // a backslash does not protect the delimiter
        {"s/a/x\\ty/", "a", "x\\t"},  // an unknown escape ends the replacement
        {"s/a/\\t/", "a", "\\t"},     //
        {"s/a/\\//", "a", "\\/"},     //
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.command);
        Parsed const parsed = parseSearch(row.command);
        EXPECT_FALSE(parsed.recognised);
        EXPECT_EQ(parsed.mode, SED_SEARCH);
        EXPECT_EQ(parsed.first, row.expression);
        EXPECT_EQ(parsed.second, row.replacement);
        EXPECT_THAT(parsed.log,
                    ElementsAre(checking(row.command),
                                debug(std::string("Malformed sed string (unknown trailing "
                                                  "character) \"") +
                                      row.command + "\"")));
    }
}

TEST(ParseSedSearch, GarbageBehindTheFlagIsIgnoredWithAMessage) {
    struct Row {
        char const* command;
        char const* garbage;
    };
    constexpr Row ROWS[] = {{"s/a/b/gx", "x"}, {"s/a/b/gg", "g"}, {"s/a/b/g /d", " /d"}};
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.command);
        Parsed const parsed = parseSearch(row.command);
        EXPECT_TRUE(parsed.recognised);
        EXPECT_EQ(parsed.mode, SED_GLOBAL_SEARCH);
        EXPECT_EQ(parsed.first, "a");
        EXPECT_EQ(parsed.second, "b");
        EXPECT_THAT(parsed.log,
                    ElementsAre(checking(row.command),
                                debug(std::string("Invalid traling garbage (\"") + row.garbage +
                                      "\") in sed string \"" + row.command + "\"")));
    }
}

TEST(ParseSedSearch, MayEndAnywhere) {
    // Every beginning of a command that contains everything that a command can.
    std::string_view const whole = "s/a[b]\\/c%\\1\\\\d\\t/gx";
    ASSERT_EQ(whole.size(), 20u);
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        std::string_view const command = whole.substr(0, length);
        SCOPED_TRACE(command);
        bool const endsInEscape = length == 11 || length == 13 || length == 16;
        bool const hasUnknownFlag = length > 17;
        EXPECT_EQ(parseSearch(String(command)).recognised,
                  length > 0 && !endsInEscape && !hasUnknownFlag);
    }
}

}  // namespace
}  // namespace ZEBNS2
