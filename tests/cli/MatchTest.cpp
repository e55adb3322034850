#include <gtest/gtest.h>

#include "ZebText.hpp"

using namespace std::string_literals;

namespace zeb::test {
namespace {

constexpr char SETTINGS[] = "# settings\nuser=root\n\nport=80\n";

TEST(Match, PrintsTheLinesThatMatch) {
    EXPECT_EQ(zebText({"match", "^[a-z]+="}, SETTINGS), prints("user=root\nport=80\n"));
}

TEST(Match, FindsNothingWithStatusOne) {
    EXPECT_EQ(zebText({"match", "colour"}, SETTINGS), findsNothing());
    EXPECT_EQ(zebText({"match", "a"}, ""), findsNothing());
    EXPECT_EQ(zebText({"match", "--invert", ""}, SETTINGS), findsNothing());
}

TEST(Match, NumbersLinesFromOne) {
    EXPECT_EQ(zebText({"match", "--numbers", "="}, SETTINGS), prints("2:user=root\n4:port=80\n"));
}

TEST(Match, InvertPrintsTheOtherLines) {
    EXPECT_EQ(zebText({"match", "--invert", "="}, SETTINGS), prints("# settings\n\n"));
    EXPECT_EQ(zebText({"match", "--invert", "--numbers", "="}, SETTINGS),
              prints("1:# settings\n3:\n"));
}

TEST(Match, OnlyPrintsEachMatch) {
    EXPECT_EQ(zebText({"match", "--only", "o."}, "foo boo\nbar\nto be\n"), prints("oo\noo\no \n"));
    EXPECT_EQ(zebText({"match", "--only", "--numbers", "[0-9]+"}, "1 22\nx\n333"),
              prints("1:1\n1:22\n3:333\n"));
}

TEST(Match, OnlyFindsTheStartOfALineOnce) {
    EXPECT_EQ(zebText({"match", "--only", "^a"}, "aaa\nba\n"), prints("a\n"));
}

TEST(Match, OnlyPrintsNoEmptyMatch) {
    EXPECT_EQ(zebText({"match", "--only", "b*"}, "bb\nabb\n"), prints("bb\nbb\n"));
    EXPECT_EQ(zebText({"match", "--only", "b*"}, "bb\nabb ab\nxyz\n"), prints("bb\nbb\nb\n"));
    EXPECT_EQ(zebText({"match", "--only", "^|b"}, "ab cb\n"), prints("b\nb\n"));
}

TEST(Match, OnlyTakesLongLinesOfEmptyMatches) {
    std::string const line(20'000, 'a');
    EXPECT_EQ(zebText({"match", "--only", "b*"}, line + "b\n"), prints("b\n"));
}

TEST(Match, GroupsAreSeparatedByTabs) {
    EXPECT_EQ(zebText({"match", "--groups", "^([a-z]+)=(.*)"}, SETTINGS),
              prints("user=root\tuser\troot\nport=80\tport\t80\n"));
    EXPECT_EQ(zebText({"match", "--groups", "--numbers", "t"}, SETTINGS),
              prints("1:t\n2:t\n4:t\n"));
}

TEST(Match, AGroupThatTakesNoPartEndsTheList) {
    EXPECT_EQ(zebText({"match", "--groups", "((a)|(x))(b)"}, "ab\n"), prints("ab\ta\ta\n"));
}

TEST(Match, IgnoresCaseAndReadsBasicSyntaxOnDemand) {
    EXPECT_EQ(zebText({"match", "--ignore-case", "USER"}, SETTINGS), prints("user=root\n"));
    EXPECT_EQ(zebText({"match", "--basic", "a|b"}, "a\na|b\n"), prints("a|b\n"));
}

// Lines without a literal are passed over. Some letters match others than their own two cases.
TEST(Match, LiteralsAreFoundInEitherCase) {
    constexpr char TEXT[] =
        "I\u017FK\n"     // long s
        "is\u212A\n"     // Kelvin sign, which matches itself alone
        "ERRor, lask\n"  //
        "nLA\u017F\nErro";
    auto const found = [&](std::string const& pattern) {
        return shell("LC_ALL=C.UTF-8 exec \"$0\" match -ioe \"$1\" <<'END'\n" + std::string(TEXT) +
                         "r\nEND\n",
                     pattern)
            .out;
    };
    EXPECT_EQ(found("isk"), "I\u017FK\n");
    EXPECT_EQ(found("las"), "las\nLA\u017F\n");
    EXPECT_EQ(found("error"), "ERRor\nError\n");
    EXPECT_EQ(found("S"), "\u017F\ns\ns\n\u017F\n");
    EXPECT_EQ(found("absent"), "");
    EXPECT_EQ(zebText({"match", "-in", "AB"}, "x\nxabab\n\nB\naB"), prints("2:xabab\n5:aB\n"));
    EXPECT_EQ(zebText({"match", "-o", "aba"}, "ababa aba\nab\n"), prints("aba\naba\n"));
    EXPECT_EQ(zebText({"match", "-o", ""}, "ab\n"), prints(""));
}

TEST(Match, AnEmptyMatchSelectsItsLine) {
    EXPECT_EQ(zebText({"match", "x*"}, "x\ny\n"), prints("x\ny\n"));
    EXPECT_EQ(zebText({"match", "--numbers", "^$"}, SETTINGS), prints("3:\n"));
}

TEST(Match, AFinalNewlineBeginsNoLine) {
    EXPECT_EQ(zebText({"match", "^$"}, "a\n"), findsNothing());
    EXPECT_EQ(zebText({"match", "^$"}, "\n"), prints("\n"));
    EXPECT_EQ(zebText({"match", "b"}, "a\nb"), prints("b\n"));
}

TEST(Match, NamesTheFileWhenThereAreSeveral) {
    TemporaryDirectory const folder;
    std::string const a = folder.file("a", "one\ntwo\n");
    std::string const b = folder.file("b", "three\nfour\n");
    EXPECT_EQ(zebText({"match", "--numbers", "t", a}), prints("2:two\n"));
    EXPECT_EQ(zebText({"match", "t", a, b, "-"}, "tin"),
              prints(a + ":two\n" + b + ":three\n-:tin\n"));
    EXPECT_EQ(zebText({"match", "--numbers", "--only", "t.", a, b}),
              prints(a + ":2:tw\n" + b + ":1:th\n"));
}

TEST(Match, AnErrorOutweighsAMatch) {
    TemporaryDirectory const folder;
    std::string const missing = folder.path("missing");
    ProcessResult const expected{
        2, "-:a\n", "zeb-text: Cannot read file " + missing + ": No such file or directory\n"};
    EXPECT_EQ(zebText({"match", "a", missing, "-"}, "a"), expected);
}

TEST(Match, KeepsNulBytesAndMatchesBeforeThem) {
    EXPECT_EQ(zebText({"match", "a"}, "a\0b\nb\0a\n"s), prints("a\0b\n"s));
    EXPECT_EQ(zebText({"match", "--only", "b*"}, "ab\0b\n"s), prints("b\n"));
}

TEST(Match, MatchesBytesAbove127) {
    EXPECT_EQ(zebText({"match", "--only", "\xC3\xA4."}, "x\xC3\xA4y\n"), prints("\xC3\xA4y\n"));
    EXPECT_EQ(zebText({"match", "^.$"}, "\xFF\n"), prints("\xFF\n"));
}

TEST(Match, OneWayOfPrintingAtMost) {
    EXPECT_EQ(zebText({"match", "--only", "--groups", "a"}),
              failsWith("match: --only excludes --groups (see zeb-text match --help)"));
    EXPECT_EQ(zebText({"match", "--only", "--json", "a"}),
              failsWith("match: --only excludes --json (see zeb-text match --help)"));
    EXPECT_EQ(zebText({"match", "--invert", "--only", "a"}),
              failsWith("match: --invert excludes --only (see zeb-text match --help)"));
}

TEST(Match, TakesMegabytes) {
    std::string text;
    std::string numbered;
    for (int i = 1; text.size() < 4'000'000; ++i) {
        text += "an ordinary line of a log\nerror: this line is wanted\n";
        numbered += std::to_string(2 * i) + ":error: this line is wanted\n";
    }
    ProcessResult const result = zebText({"match", "--numbers", "^error"}, text);
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.out == numbered);
}

}  // namespace
}  // namespace zeb::test
