#include <OrventoCommonRegex.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "LogCapture.hpp"
#include "Sanitized.hpp"

namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using zeb::test::LogCapture;
using ZEBNS2::realSed;
using ZEBNS2::RegularExpression;
using ZEBNS2::RegularExpressionException;
using ZEBNS2::sed;
using ZEBNS2::String;

std::string debug(std::string const& text) { return "DEBUG zeb.common.regex: regex: " + text; }
std::string debug3(std::string const& text) { return "DEBUG3 zeb.common.regex: regex: " + text; }

// ---------------------------------------------------------------------------- realSed

TEST(RealSed, CarriesOutEachKindOfCommand) {
    struct Row {
        std::string_view text;
        std::string_view command;
        std::string_view result;
    };
    constexpr Row ROWS[] = {
        {"foo\nbar\nboo\n", "s/o/0/", "f0o\nbar\nb0o\n"},
        {"foo\nbar\nboo\n", "s/o/0/g", "f00\nbar\nb00\n"},
        {"x=1 y=2", "s/([a-z]+)=([0-9]+)/\\2=\\1/", "1=x y=2"},
        {"x=1 y=2", "s/([a-z]+)=([0-9]+)/\\2=\\1/g", "1=x 2=y"},
        {"#a\nb\n#c\nd", "/^#/d", "b\nd"},
        {"x\ny\nx", "/x/d", "y"},
        {"a\nbegin\nx\nend\nb\nbegin\ny", "/begin/,/end/d", "a\nb\nbegin\ny"},
        {"aaa", "s/^a/b/g", "bbb"},
        {"a%1", "s/a/50%/", "50%%1"},
        {"abc", "s/b/\\0\\0/", "abbc"},
        {"a\tb", "s/\t/\\t", "a\\tb"},  // no escape but digits and the backslash
        {"abc", "s", "abc"},            // an empty search that replaces nothing by nothing
        {"abc", "s/b/x/gg", "axc"},     // what follows the flag is ignored
        {"abc", "", ""},                // no command, no text
        {"abc", "x/a/b/", ""},          //
        {"abc", "s/a/b/i", ""},         //
        {"abc", "s/a/b\\", ""},         //
        {"abc", " /a/d", ""},           //
        {"", "s/a/b/", ""},
        {"", "/a/d", ""},
        {"", "/a/,/b/d", ""},
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.command);
        EXPECT_EQ(realSed(String(row.text), String(row.command), 0), row.result);
    }
}

TEST(RealSed, OptionsAreThoseOfTheCaller) {
    EXPECT_EQ(realSed("ABC", "s/b/x/", RegularExpression::CASE_INSENSITIVE), "AxC");
    EXPECT_EQ(realSed("A\nb", "/a/d", RegularExpression::CASE_INSENSITIVE), "b");
    EXPECT_EQ(realSed("A\nB\nc", "/a/,/b/d", RegularExpression::CASE_INSENSITIVE), "c");
    EXPECT_EQ(realSed("a+", "s/a+/x/", RegularExpression::BASIC_SYNTAX), "x");
    // The commands themselves are parsed without them.
    EXPECT_EQ(realSed("a", "/a/D", RegularExpression::CASE_INSENSITIVE), "");
}

TEST(RealSed, SearchIsTriedBeforeDelete) {
    LogCapture const log;
    EXPECT_EQ(realSed("x\ny", "/x/d", 0), "y");
    EXPECT_THAT(log.lines(),
                ElementsAre(debug("Running sed \"/x/d\" on \"x\ny\""),
                            debug("Checking for search operation in \"/x/d\""),
                            debug("Not a search operation: '/' in \"/x/d\""),
                            debug("Parsed sed delete operation for expression \"x\""),
                            debug3("Performing sed delete for all single lines matching \"x\" in "
                                   "\"x\ny\""),
                            debug3("Deleting line (0) \"x\"")));
}

TEST(RealSed, TracesARangeDelete) {
    LogCapture const log;
    EXPECT_EQ(realSed("a\nb\nc", "/a/,/b/d", 0), "c");
    EXPECT_THAT(
        log.lines(),
        ElementsAre(debug("Running sed \"/a/,/b/d\" on \"a\nb\nc\""),
                    debug("Checking for search operation in \"/a/,/b/d\""),
                    debug("Not a search operation: '/' in \"/a/,/b/d\""),
                    debug("Parsed sed delete (range) operation for expression \"a\", and \"b\""),
                    debug3("Performing sed delete for all lines between \"a\" and \"b\" in "
                           "\"a\nb\nc\""),
                    debug3("Deleting between line 0 (a) and line 1 (b)")));
}

TEST(RealSed, TracesASearch) {
    LogCapture const log;
    EXPECT_EQ(realSed("ab", "s/b/x/", 0), "ax");
    EXPECT_THAT(log.lines(),
                ElementsAre(debug("Running sed \"s/b/x/\" on \"ab\""),
                            debug("Checking for search operation in \"s/b/x/\""),
                            debug3("Applying sed search \"b\" to line \"ab\""),
                            debug3("Adding leading text (0-1) \"a\""),
                            debug3("Adding match replacement text (1-2) for \"x\" to \"x\""),
                            debug3("Adding trailing text (2-2) \"\""),
                            debug3("Resulting line with replacements is \"ax\"")));
}

TEST(RealSed, EmptyCommandIsUnknown) {
    LogCapture const log;
    EXPECT_EQ(realSed("text", "", 0), "");
    EXPECT_THAT(log.lines(), ElementsAre(debug("Running sed \"\" on \"text\""),
                                         debug("Checking for search operation in \"\""),
                                         debug3("Sed string is empty"),
                                         debug("Unknown sed operation (ignored): \"\"")));
}

TEST(RealSed, UnknownCommandIsTraced) {
    LogCapture const log;
    EXPECT_EQ(realSed("text", "x/a/b/", 0), "");
    EXPECT_THAT(log.lines(), ElementsAre(debug("Running sed \"x/a/b/\" on \"text\""),
                                         debug("Checking for search operation in \"x/a/b/\""),
                                         debug("Not a search operation: 'x' in \"x/a/b/\""),
                                         debug("Unknown sed operation (ignored): \"x/a/b/\"")));
}

TEST(RealSed, FaultyExpressionThrows) {
    EXPECT_THROW(static_cast<void>(realSed("a", "s/(/x/", 0)), RegularExpressionException);
    EXPECT_THROW(static_cast<void>(realSed("a", "/(/d", 0)), RegularExpressionException);
    EXPECT_THROW(static_cast<void>(realSed("a", "/a/,/(/d", 0)), RegularExpressionException);
    EXPECT_THROW(static_cast<void>(realSed("", "s/(/x/", 0)), RegularExpressionException)
        << "the empty text, too";
}

TEST(RealSed, TextPassesUnchangedWhenNoLineMatches) {
    for (std::string_view const text :
         {""sv, "\n"sv, "a"sv, "a\n"sv, "\n\na\n\n"sv, "a\r\nb"sv, "a\0b\n\0"sv}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(realSed(String(text), "s/zzz/x/g", 0), text);
        EXPECT_EQ(realSed(String(text), "/zzz/d", 0), text);
        EXPECT_EQ(realSed(String(text), "/zzz/,/a/d", 0), text);
    }
}

// Under a sanitizer each search costs the whole rest of the text: its regexec measures it.
TEST(RealSed, LongTextsAndLinesAreEdited) {
    // As many lines, and as many matches of one line, as would take hours if each cost the rest.
    constexpr std::size_t COUNT = zeb::test::SANITIZED ? 10000 : 1000000;
    std::string lines;
    for (std::size_t i = 0; i < COUNT; ++i) {
        lines += i % 2 == 0 ? "x\n" : "y\n";
    }
    EXPECT_EQ(realSed(String(lines), "/x/d", 0).length(), COUNT);
    EXPECT_EQ(realSed(String(lines), "/x/,/y/d", 0), "");
    std::string const line(COUNT, 'a');
    EXPECT_EQ(realSed(String(line), "s/a/bc/g", 0).length(), 2 * COUNT);
    EXPECT_EQ(realSed(String(line), "s/x*/-/g", 0).length(), 2 * COUNT + 1);
}

TEST(RealSed, AGroupThatTookNoPartInAFurtherMatchIsReplacedByNothing) {
    EXPECT_EQ(realSed("aba", "s/(a)|b/[\\1]/g", 0), "[a][][a]");
}

TEST(RealSed, ADeleteCommandEndsAtItsNul) {
    EXPECT_EQ(realSed("a\nb", String("/a/d\0zz", 7), 0), "b");
}

TEST(RealSed, ALiteralReplacementFindsTheMatchesThatOneWithGroupsFinds) {
    // The C library finds a match of these as long as it is not asked for groups.
    EXPECT_TRUE(RegularExpression("(^a)+", 0).all_matches("aa").empty());
    EXPECT_EQ(realSed("aa", "s/(^a)+/X/", 0), "aa");
    EXPECT_EQ(realSed("aa", "s/(^a)+/\\0/", 0), "aa");
    EXPECT_EQ(realSed("ab aa", "s/(\\<a)+/X/g", 0), realSed("ab aa", "s/(\\<a)+/X\\2/g", 0));
    EXPECT_EQ(sed("aa", "(^a)+", "X"), "aa");
    EXPECT_EQ(sed("aa", "(^a)+", "%0"), "aa");
}

// ---------------------------------------------------------------------------- sed

TEST(Sed, ReplacesTheFirstMatch) {
    EXPECT_EQ(sed("key=value", "([a-z]+)=(.*)", "%2:%1"), "value:key");
    EXPECT_EQ(sed("abc", "z", "q"), "abc");
    EXPECT_EQ(sed("aaa", "a", "b"), "baa");
    EXPECT_EQ(sed("abc", "b", "[%0]"), "a[b]c");
    EXPECT_EQ(sed("abc", "b", ""), "ac");
    EXPECT_EQ(sed("abc", "x*", "-"), "-abc");
    EXPECT_EQ(sed("", "^$", "-"), "-");
    EXPECT_EQ(sed("a", "a", "100%%"), "100%");
    EXPECT_EQ(sed("a", "a", "%9"), "");
    EXPECT_EQ(sed("a", "a", "\\1"), "\\1") << "no sed syntax here";
}

TEST(Sed, TextIsNotCutIntoLines) {
    EXPECT_EQ(sed("a\nb", "^b", "x"), "a\nb");
    EXPECT_EQ(sed("a\nb", "a.b", "x"), "x");
    EXPECT_EQ(sed("a\nb", RegularExpression("^b", RegularExpression::NO_NEWLINE), "x"), "a\nx");
}

TEST(Sed, TakesACompiledExpression) {
    RegularExpression const expression("B", RegularExpression::CASE_INSENSITIVE);
    EXPECT_EQ(sed("abc", expression, "<%0>"), "a<b>c");
    EXPECT_EQ(sed("xyz", expression, "<%0>"), "xyz");
}

TEST(Sed, ExpressionThatIsNotCompiledChangesNothing) {
    EXPECT_EQ(sed("abc", RegularExpression(nullptr, 0), "x"), "abc");
}

TEST(Sed, StringsAreExtendedSyntax) {
    EXPECT_EQ(sed("(a)", "(a)", "x"), "(x)");
    EXPECT_THROW(static_cast<void>(sed("a", "(", "x")), RegularExpressionException);
}

TEST(Sed, TextIsSearchedUpToItsNulAndKeptWhole) {
    EXPECT_EQ(sed(String("ab\0b"sv), "b", "x"), "ax\0b"sv);
    EXPECT_EQ(sed(String("a\0b"sv), "b", "x"), "a\0b"sv);
}

TEST(Sed, LogsNothing) {
    LogCapture const log;
    EXPECT_EQ(sed("aaa", "a", "b"), "baa");
    EXPECT_THAT(log.lines(), IsEmpty());
}

}  // namespace
