#include <gtest/gtest.h>

#include "ZebText.hpp"

using namespace std::string_literals;

namespace zeb::test {
namespace {

TEST(Flatten, QuotesWhereNeeded) {
    EXPECT_EQ(zebText({"flatten", "--", "ls", "-l", "my file", "say \"hi\""}),
              prints("ls -l \"my file\" \"say \\\"hi\\\"\"\n"));
    EXPECT_EQ(zebText({"flatten", "a", "", "b"}), prints("a  b\n"));
    EXPECT_EQ(zebText({"flatten"}), prints("\n"));
}

TEST(Unquote, RemovesOnePairOfQuotes) {
    EXPECT_EQ(zebText({"unquote", "\"my file\""}), prints("my file\n"));
    EXPECT_EQ(zebText({"unquote", "\"\"a\"\""}), prints("\"a\"\n"));
    EXPECT_EQ(zebText({"unquote", "\"abc"}), prints("\"abc\n"));
    EXPECT_EQ(zebText({"unquote", ""}), prints("\n"));
}

TEST(Tokens, SplitsAtWhiteSpaceAndKeepsQuotes) {
    EXPECT_EQ(zebText({"tokens"}, "copy  \"my file\"\tthere\n"),
              prints("copy\n\"my file\"\nthere\n"));
}

TEST(Tokens, SplitsAtTheGivenDelimiters) {
    EXPECT_EQ(zebText({"tokens", "--delimiters", ",;"}, "a,,b;c d"), prints("a\nb\nc d\n"));
    EXPECT_EQ(zebText({"tokens", "--delimiters=,"}, "a b,c"), prints("a b\nc\n"));
}

TEST(Tokens, WithoutDelimitersTheWholeTextIsOne) {
    EXPECT_EQ(zebText({"tokens", "--delimiters", ""}, "a b"), prints("a b\n"));
    TemporaryDirectory const folder;
    EXPECT_EQ(zebText({"tokens", "--delimiters=", folder.file("f", "a b")}), prints("a b\n"));
}

TEST(Tokens, FindsNothingInNothing) {
    EXPECT_EQ(zebText({"tokens"}, ""), findsNothing());
    EXPECT_EQ(zebText({"tokens"}, " \n\t"), findsNothing());
}

TEST(Tokens, KeepsNulBytes) { EXPECT_EQ(zebText({"tokens"}, "a\0b c"s), prints("a\0b\nc\n"s)); }

TEST(SearchReplace, ReplacesEveryOccurrenceOfALiteralText) {
    EXPECT_EQ(zebText({"search-replace", ".", ".."}, "a.b.c\n"), prints("a..b..c\n"));
    EXPECT_EQ(zebText({"search-replace", "aa", "b"}, "aaa"), prints("ba"));
    EXPECT_EQ(zebText({"search-replace", "x", ""}, "axb\0x"s), prints("ab\0"s));
}

TEST(SearchReplace, TextWithoutOccurrenceStaysAsItIs) {
    EXPECT_EQ(zebText({"search-replace", "x", "y"}, "abc\n"), prints("abc\n"));
    EXPECT_EQ(zebText({"search-replace", "", "y"}, "abc\n"), prints("abc\n"));
    EXPECT_EQ(zebText({"search-replace", "", "y"}, ""), prints(""));
}

TEST(SearchReplace, TakesMegabytes) {
    std::string text;
    std::string replaced;
    while (text.size() < 4'000'000) {
        std::string const head(1000, '.');
        text += head + "aa";
        replaced += head + "bcd";
    }
    ProcessResult const result = zebText({"search-replace", "aa", "bcd"}, text);
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.out == replaced);
}

}  // namespace
}  // namespace zeb::test
