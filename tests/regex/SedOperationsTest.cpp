#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <string_view>
#include <vector>

#include "LogCapture.hpp"
#include "regex/SedOperations.hpp"

namespace ZEBNS2 {
namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using zeb::test::LogCapture;

std::string debug3(std::string const& text) { return "DEBUG3 zeb.common.regex: regex: " + text; }

String remove(String const& text, String const& expression, unsigned int options = 0) {
    return doSedDelete(text, "", options, SED_DELETE, expression);
}

String removeRange(String const& text, String const& start, String const& end,
                   unsigned int options = 0) {
    return doSedDeleteRange(text, "", options, SED_DELETE_RANGE, start, end);
}

/// @param replacement a template: "%0" and so on
String replace(String const& text, String const& expression, String const& replacement,
               unsigned int options = 0) {
    return doSedSearch(text, "", options, SED_SEARCH, expression, replacement);
}

String replaceAll(String const& text, String const& expression, String const& replacement,
                  unsigned int options = 0) {
    return doSedSearch(text, "", options, SED_GLOBAL_SEARCH, expression, replacement);
}

// ---------------------------------------------------------------------------- delete

TEST(DoSedDelete, RemovesTheLinesThatMatchAndTellsTheirNumbers) {
    LogCapture const log;
    EXPECT_EQ(remove("#a\nb\n#c\nd", "^#"), "b\nd");
    EXPECT_THAT(
        log.lines(),
        ElementsAre(debug3("Performing sed delete for all single lines matching \"^#\" in "
                           "\"#a\nb\n#c\nd\""),
                    debug3("Deleting line (0) \"#a\""), debug3("Deleting line (2) \"#c\"")));
}

TEST(DoSedDelete, JoinsWhatIsKept) {
    struct Row {
        std::string_view text;
        std::string_view kept;
    };
    constexpr Row ROWS[] = {
        {"", ""},           // no line at all
        {"x", ""},          // the only line
        {"y", "y"},         //
        {"x\n", ""},        // the empty line after the newline is left
        {"y\n", "y\n"},     // a final newline stays
        {"y\nx", "y"},      // the last line goes with the newline before it
        {"y\nx\n", "y\n"},  //
        {"x\ny", "y"},      //
        {"x\nx\nx", ""},    // neighbours
        {"\nx\n\nx\n", "\n\n"},
        {"ax\r\nb\r\n", "b\r\n"},
        {"a\0x\nx\0a\nb"sv, "a\0x\nb"sv},  // searched up to a NUL, kept whole
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(remove(String(row.text), "x"), row.kept);
    }
}

TEST(DoSedDelete, EmptyExpressionRemovesEveryLine) { EXPECT_EQ(remove("a\n\nb\n", ""), ""); }

TEST(DoSedDelete, EmptyMatchCounts) { EXPECT_EQ(remove("a\nb", "x*"), ""); }

TEST(DoSedDelete, ExpressionIsCompiledWithTheOptions) {
    EXPECT_EQ(remove("A\nb", "a", RegularExpression::CASE_INSENSITIVE), "b");
    EXPECT_EQ(remove("A\nb", "a"), "A\nb");
    EXPECT_EQ(remove("(a)\na", "(a)", RegularExpression::BASIC_SYNTAX), "a");
}

TEST(DoSedDelete, FaultyExpressionThrowsBehindTheFirstMessage) {
    LogCapture const log;
    EXPECT_THROW(static_cast<void>(remove("", "(")), RegularExpressionException);
    EXPECT_THAT(log.lines(), ElementsAre(debug3("Performing sed delete for all single lines "
                                                "matching \"(\" in \"\"")));
}

// ---------------------------------------------------------------------------- delete a range

TEST(DoSedDeleteRange, RemovesFromStartToEndAndKeepsARangeWithoutEnd) {
    LogCapture const log;
    EXPECT_EQ(removeRange("a\nbegin\nx\nend\nb\nbegin\ny", "begin", "end"), "a\nb\nbegin\ny");
    EXPECT_THAT(
        log.lines(),
        ElementsAre(debug3("Performing sed delete for all lines between \"begin\" and \"end\" in "
                           "\"a\nbegin\nx\nend\nb\nbegin\ny\""),
                    debug3("Deleting between line 1 (begin) and line 3 (end)"),
                    debug3("Start sequence matches line 5, but no end was found.")));
}

TEST(DoSedDeleteRange, AdjacentRangesAreBothRemoved) {
    LogCapture const log;
    EXPECT_EQ(removeRange("begin\nend\nbegin\nend", "begin", "end"), "");
    EXPECT_THAT(
        log.lines(),
        ElementsAre(debug3("Performing sed delete for all lines between \"begin\" and \"end\" in "
                           "\"begin\nend\nbegin\nend\""),
                    debug3("Deleting between line 0 (begin) and line 1 (end)"),
                    debug3("Deleting between line 2 (begin) and line 3 (end)")));
}

TEST(DoSedDeleteRange, LineThatMatchesBothDoesNotEndItsOwnRange) {
    EXPECT_EQ(removeRange("be\nx\nbe\ny", "b", "e"), "y");
    EXPECT_EQ(removeRange("be\nx", "b", "e"), "be\nx");
    EXPECT_EQ(removeRange("be\nbe\nbe", "b", "e"), "be");
}

TEST(DoSedDeleteRange, JoinsWhatIsKept) {
    struct Row {
        std::string_view text;
        std::string_view kept;
    };
    constexpr Row ROWS[] = {
        {"", ""},
        {"a", "a"},
        {"b\ne", ""},
        {"b\ne\n", ""},        // the empty line after the newline is left
        {"a\nb\ne\n", "a\n"},  //
        {"a\nb\ne", "a"},      //
        {"e\na", "e\na"},      // an end alone means nothing
        {"b\nb\ne\ne", "e"},   // a start within a range is a line of it
        {"b\na", "b\na"},      // no end, nothing removed
        {"b\ne\nb\nb\na", "b\nb\na"},
        {"a\0b\nb\0\ne\0x\nc"sv, "a\0b\nc"sv},
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(removeRange(String(row.text), "b", "e"), row.kept);
    }
}

TEST(DoSedDeleteRange, NothingIsSearchedBehindAStartWithoutEnd) {
    LogCapture const log;
    EXPECT_EQ(removeRange("b\nb\nb", "b", "e"), "b\nb\nb");
    EXPECT_THAT(log.lines(),
                ElementsAre(debug3("Performing sed delete for all lines between \"b\" and \"e\" in "
                                   "\"b\nb\nb\""),
                            debug3("Start sequence matches line 0, but no end was found.")));
}

TEST(DoSedDeleteRange, ExpressionsAreCompiledWithTheOptions) {
    EXPECT_EQ(removeRange("B\nE\na", "b", "e", RegularExpression::CASE_INSENSITIVE), "a");
}

TEST(DoSedDeleteRange, EitherFaultyExpressionThrows) {
    EXPECT_THROW(static_cast<void>(removeRange("a", "(", "e")), RegularExpressionException);
    EXPECT_THROW(static_cast<void>(removeRange("a", "b", "(")), RegularExpressionException);
    EXPECT_THROW(static_cast<void>(removeRange("", "b", "(")), RegularExpressionException);
}

// ---------------------------------------------------------------------------- search

TEST(DoSedSearch, ReplacesTheFirstMatchOfEachLine) {
    EXPECT_EQ(replace("foo\nbar\nboo\n", "o", "0"), "f0o\nbar\nb0o\n");
    EXPECT_EQ(replace("x=1 y=2", "([a-z]+)=([0-9]+)", "%2=%1"), "1=x y=2");
}

TEST(DoSedSearch, ReplacesEveryMatchOfEachLineInGlobalMode) {
    EXPECT_EQ(replaceAll("foo\nbar\nboo\n", "o", "0"), "f00\nbar\nb00\n");
    EXPECT_EQ(replaceAll("x=1 y=2", "([a-z]+)=([0-9]+)", "%2=%1"), "1=x 2=y");
}

TEST(DoSedSearch, TracesEachStepOfAReplacement) {
    LogCapture const log;
    EXPECT_EQ(replace("xaby\nz", "(a)b", "<%1%%>"), "x<a%>y\nz");
    EXPECT_THAT(log.lines(),
                ElementsAre(debug3("Applying sed search \"(a)b\" to line \"xaby\""),
                            debug3("Adding leading text (0-1) \"x\""),
                            debug3("Adding match replacement text (1-3) for \"<%1%%>\" to "
                                   "\"<a%>\""),
                            debug3("Adding trailing text (3-4) \"y\""),
                            debug3("Resulting line with replacements is \"x<a%>y\""),
                            debug3("Applying sed search \"(a)b\" to line \"z\""),
                            debug3("Search text \"(a)b\" did not match line z")));
}

TEST(DoSedSearch, TracesEachStepOfAGlobalReplacement) {
    LogCapture const log;
    EXPECT_EQ(replaceAll("xa1ya2z", "a([0-9])", "<%1>"), "x<1>y<2>z");
    EXPECT_THAT(
        log.lines(),
        ElementsAre(debug3("Applying sed search \"a([0-9])\" to line \"xa1ya2z\""),
                    debug3("Adding leading text (0-1) \"x\""),
                    debug3("Adding match replacement text (1-3) for \"<%1>\" to \"<1>\""),
                    debug3("Adding inner match leading text (3-4) \"y\""),
                    debug3("Adding inner match replacement text (4-6) for \"<%1>\" to \"<2>\""),
                    debug3("Adding trailing text (6-7) \"z\""),
                    debug3("Resulting line with replacements is \"x<1>y<2>z\"")));
}

TEST(DoSedSearch, ByteThatIsCopiedBetweenEmptyMatchesBelongsToNoMessage) {
    LogCapture const log;
    EXPECT_EQ(replaceAll("ac", "b*", "X"), "XaXcX");
    EXPECT_THAT(log.lines(),
                ElementsAre(debug3("Applying sed search \"b*\" to line \"ac\""),
                            debug3("Adding leading text (0-0) \"\""),
                            debug3("Adding match replacement text (0-0) for \"X\" to \"X\""),
                            debug3("Adding inner match leading text (1-1) \"\""),
                            debug3("Adding inner match replacement text (1-1) for \"X\" to \"X\""),
                            debug3("Adding inner match leading text (2-2) \"\""),
                            debug3("Adding inner match replacement text (2-2) for \"X\" to \"X\""),
                            debug3("Adding trailing text (2-2) \"\""),
                            debug3("Resulting line with replacements is \"XaXcX\"")));
}

TEST(DoSedSearch, EmptyMatchBehindAMatchIsNotReplaced) {
    struct Row {
        std::string_view line;
        char const* expression;
        std::string_view result;
    };
    constexpr Row ROWS[] = {
        {"abc", "b*", "XaXcX"},         //
        {"abc", "x*", "XaXbXcX"},       //
        {"abb", "b*", "XaX"},           // the end after a match is such a place, too
        {"b", "b*", "X"},               //
        {"abc", "^", "XaXbXcX"},        // each rest starts afresh
        {"abc", "$", "abcX"},           //
        {"abc", "", "XaXbXcX"},         //
        {"baaac", "a*", "XbXcX"},       //
        {"ab cd", "\\>", "abX cdX"},    //
        {"ab cd", "\\<", "XaXb XcXd"},  // a rest of word characters is a word of its own
        {"aaa", "^a", "XXX"},           //
        {"aaab", "^a", "XXXb"},         //
        {"baa", "^a", "baa"},           // the first search decides
        {"aba", "(^|b)a", "XX"},        //
        {"b\0b"sv, "b*", "X\0X"sv},     // a NUL is copied like any other byte
        {"\0\0"sv, "b*", "X\0X\0X"sv},  //
        {"a\0a"sv, "a", "X\0a"sv},      // but not searched over
        {"\0a"sv, "a", "\0a"sv},        //
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(std::string(row.line) + " by " + row.expression);
        EXPECT_EQ(replaceAll(String(row.line), row.expression, "X"), row.result);
    }
}

TEST(DoSedSearch, RemaindersAreMatchedAsStringsOfTheirOwn) {
    EXPECT_EQ(replaceAll("aaa", "^a", "b"), "bbb");
    // A group of the rest has offsets of the rest.
    EXPECT_EQ(replaceAll("a1b2c3", "([a-z])([0-9])", "%2%1"), "1a2b3c");
}

TEST(DoSedSearch, EmptyTextGivesAnEmptyText) {
    LogCapture const log;
    EXPECT_EQ(replace("", "^", "X"), "");
    EXPECT_EQ(replaceAll("", "^", "X"), "");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(DoSedSearch, FinalNewlineIsKeptAndNoneIsAdded) {
    EXPECT_EQ(replace("a\n", "a", "b"), "b\n");
    EXPECT_EQ(replace("a", "a", "b"), "b");
    EXPECT_EQ(replace("\n\n", "a", "b"), "\n\n");
}

TEST(DoSedSearch, EmptyLineBehindAFinalNewlineIsALine) {
    EXPECT_EQ(replace("a\n", "$", "X"), "aX\nX");
    EXPECT_EQ(replace("\n", "^", "X"), "X\nX");
}

TEST(DoSedSearch, GroupsFillTheTemplate) {
    EXPECT_EQ(replace("abc", "(a)(b)(c)", "%3%2%1%0"), "cbaabc");
    EXPECT_EQ(replace("abc", "b", "%%"), "a%c");
    EXPECT_EQ(replace("abc", "b", "%1"), "ac");                // there is no such group
    EXPECT_EQ(replace("ab", "((a)|(x))(b)", "[%3%4]"), "[]");  // behind one that took no part
    EXPECT_EQ(replace("ab", "b", "100%"), "a100%");
    EXPECT_EQ(replace("abcdefghij", "(a)(b)(c)(d)(e)(f)(g)(h)(i)(j)", "%9%8%7%6%5%4%3%2%1"),
              "ihgfedcba");
}

TEST(DoSedSearch, ExpressionIsCompiledWithTheOptions) {
    EXPECT_EQ(replace("A", "a", "b", RegularExpression::CASE_INSENSITIVE), "b");
    EXPECT_EQ(replace("(a)", "(a)", "b", RegularExpression::BASIC_SYNTAX), "b");
}

TEST(DoSedSearch, FaultyExpressionThrowsEvenForAnEmptyText) {
    EXPECT_THROW(static_cast<void>(replace("a", "(", "b")), RegularExpressionException);
    EXPECT_THROW(static_cast<void>(replaceAll("", "(", "b")), RegularExpressionException);
}

TEST(DoSedSearch, LineIsSearchedUpToItsNulAndKeptWhole) {
    EXPECT_EQ(replace(String("a\0b\nb\0a"sv), "b", "X"), "a\0b\nX\0a"sv);
    EXPECT_EQ(replace(String("ab\0c"sv), "b$", "X"), "aX\0c"sv);
}

// ---------------------------------------------------------------------------- logging

/// Uses every function that logs in this unit, except those for files.
void useAll() {
    static_cast<void>(realSed("aa\nb", "s/(a)/\\1x/g", 0));
    static_cast<void>(realSed("aa\nb", "s/a/x/gg", 0));
    static_cast<void>(realSed("aa\nb", "s/a/x/y", 0));
    static_cast<void>(realSed("aa\nb", "s/a/\\", 0));
    static_cast<void>(realSed("aa\nb", "s", 0));
    static_cast<void>(realSed("aa\nb", "", 0));
    static_cast<void>(realSed("a\nb\na", "/a/d", 0));
    static_cast<void>(realSed("a\nb\na", "/a/,/b/d", 0));
    static_cast<void>(realSed("a\nb\na", "unknown", 0));
}

TEST(SedLogging, LevelAdmitsItsCategoryAndThoseBelow) {
    using zeb::foundation::Logger;
    for (int level = Logger::NO_LEVEL; level <= Logger::DEBUG3_LEVEL; ++level) {
        SCOPED_TRACE(level);
        LogCapture const log(static_cast<Logger::Level>(level));
        useAll();
        int debug = 0;
        int finest = 0;
        for (zeb::test::CapturedMessage const& message : log.messages()) {
            debug += message.category == "DEBUG" ? 1 : 0;
            finest += message.category == "DEBUG3" ? 1 : 0;
        }
        EXPECT_EQ(debug > 0, level > 4);
        EXPECT_EQ(finest > 0, level > 6);
        EXPECT_EQ(static_cast<std::size_t>(debug + finest), log.messages().size());
    }
}

TEST(SedLogging, MessagesNameComponentUnitAndFunction) {
    LogCapture const log;
    useAll();
    ASSERT_FALSE(log.messages().empty());
    for (zeb::test::CapturedMessage const& message : log.messages()) {
        SCOPED_TRACE(message.text);
        EXPECT_EQ(message.component, "zeb.common.regex");
        EXPECT_EQ(message.file, "OrventoCommonRegex");
        EXPECT_GT(message.line, 0);
        EXPECT_EQ(message.text.compare(0, 7, "regex: "), 0);
        if (message.text.find("inner match") != std::string::npos) {
            EXPECT_NE(message.function.find("doSedSearch("), std::string::npos) << message.function;
        }
    }
    EXPECT_NE(log.messages()[0].function.find("ZEBNS2::realSed("), std::string::npos)
        << log.messages()[0].function;
}

TEST(SedLogging, ErrnoStaysAsItWas) {
    class ChangesErrno : public zeb::foundation::LogAppender {
    public:
        void append(zeb::foundation::LogMessage const&) override {
            ++messages;
            errno = ENOSPC;
        }
        int messages = 0;
    };
    zeb::foundation::IntrusiveReference<ChangesErrno> const appender(new ChangesErrno);
    zeb::foundation::Logger::setDefault(
        zeb::foundation::Logger::DEBUG3_LEVEL,
        zeb::foundation::IntrusiveReference<zeb::foundation::LogAppender>(appender.get()));
    errno = EDOM;
    useAll();
    int const after = errno;
    zeb::foundation::Logger::setDefault(
        zeb::foundation::Logger::NO_LEVEL,
        zeb::foundation::IntrusiveReference<zeb::foundation::LogAppender>());
    EXPECT_EQ(after, EDOM);
    EXPECT_GT(appender->messages, 0);
}

}  // namespace
}  // namespace ZEBNS2
