// What users of grep and sed expect of options.

#include <gtest/gtest.h>

#include "ZebText.hpp"

namespace zeb::test {
namespace {

std::string const TEXT = "one\ntwo\nthree\nTwo\nfive\nsix\nseven\n";

TEST(Habits, ShortOptionsAreThoseOfGrep) {
    EXPECT_EQ(zebText({"match", "-in", "TWO"}, TEXT), prints("2:two\n4:Two\n"));
    EXPECT_EQ(zebText({"match", "-vc", "e"}, TEXT), prints("3\n"));
    EXPECT_EQ(zebText({"match", "-o", "e+"}, "see\nbe\n"), prints("ee\ne\n"));
    EXPECT_EQ(zebText({"match", "-H", "six"}, TEXT), prints("-:six\n"));
    EXPECT_EQ(zebText({"match", "-h", "six", "-", "-"}, TEXT), prints("six\n"));
    EXPECT_EQ(zebText({"match", "-l", "six"}, TEXT), prints("-\n"));
    EXPECT_EQ(zebText({"match", "-q", "six"}, TEXT), prints(""));
    EXPECT_EQ(zebText({"match", "-q", "ten"}, TEXT), findsNothing());
    EXPECT_EQ(zebText({"match", "-e", "one", "-e", "six"}, TEXT), prints("one\nsix\n"));
    EXPECT_EQ(zebText({"match", "-c", "ten"}, TEXT), (ProcessResult{1, "0\n", ""}));
    EXPECT_EQ(zebText({"match", "-E", "^(one|six)$"}, TEXT), prints("one\nsix\n"));
    EXPECT_EQ(zebText({"match", "-e", "-"}, "a-b\n").out, "a-b\n");
}

TEST(Habits, LinesAroundAMatchAreShown) {
    EXPECT_EQ(zebText({"match", "-n", "-C1", "two"}, TEXT), prints("1-one\n2:two\n3-three\n"));
    EXPECT_EQ(zebText({"match", "-A", "1", "-B", "1", "one|six"}, TEXT),
              prints("one\ntwo\n--\nfive\nsix\nseven\n"));
    EXPECT_EQ(zebText({"match", "-A1", "e"}, TEXT).out, TEXT);
    EXPECT_EQ(zebText({"match", "-C", "x", "e"}, TEXT).status, 2);
    EXPECT_EQ(zebText({"match", "-C", "1", "--json", "e"}, TEXT).status, 2);
}

TEST(Habits, ExpressionsMayComeFromAFile) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("patterns", "^o\nx$\n");
    EXPECT_EQ(zebText({"match", "-f", file}, TEXT), prints("one\nsix\n"));
    EXPECT_EQ(zebText({"match", "-f", folder.file("none", "")}, TEXT), findsNothing());
    EXPECT_EQ(zebText({"match", "-f", folder.file("empty", "\n")}, TEXT),
              prints(std::string(TEXT)));
    EXPECT_EQ(
        zebText({"match", "-f", folder.path("missing"), "-"}, TEXT),
        failsWith("Cannot read file " + folder.path("missing") + ": No such file or directory"));
}

TEST(Habits, FoldersAreSearchedOnDemand) {
    TemporaryDirectory const folder;
    folder.file("b", "yes\n");
    std::filesystem::create_directories(folder.path("a/c"));
    folder.file("a/c/d", "yes\nno\n");
    std::filesystem::create_symlink("b", folder.path("link"));
    ASSERT_EQ(shell("mkfifo \"$1\"", folder.path("pipe")).status, 0);
    EXPECT_EQ(shell("cd \"$1\" && exec \"$0\" match -rn yes .", folder.path("")),
              prints("./a/c/d:1:yes\n./b:1:yes\n"));
    EXPECT_EQ(shell("cd \"$1\" && exec \"$0\" match -rh yes", folder.path("")),
              prints("yes\nyes\n"));
    EXPECT_EQ(zebText({"match", "-r", "x", folder.path("nowhere")}).status, 2);
}

TEST(Habits, WhatWasFoundCountsMoreThanAnErrorWhenNothingIsPrinted) {
    EXPECT_EQ(zebText({"match", "-q", "six", "-", "/nonexistent"}, TEXT).status, 0);
    EXPECT_EQ(zebText({"match", "six", "-", "/nonexistent"}, TEXT).status, 2);
}

TEST(Locale, CharactersAreThoseOfTheUser) {
    EXPECT_EQ(shell("echo \xC3\xA9 | LC_ALL=C.UTF-8 \"$0\" match '^.$'"), prints("\xC3\xA9\n"));
    EXPECT_EQ(shell("echo \xC3\xA9 | LC_ALL=C \"$0\" match '^.$'"), findsNothing());
    EXPECT_EQ(shell("echo \xC3\xA9 | LC_ALL=C.UTF-8 \"$0\" edit 's/./x/g'"), prints("x\n"));
    EXPECT_EQ(shell("echo \xC3\x89 | LC_ALL=C.UTF-8 \"$0\" match -i \xC3\xA9"),
              prints("\xC3\x89\n"));
    EXPECT_EQ(shell("LC_ALL=C.UTF-8 \"$0\" number --type real64 1.5"), prints("1.5\n"));
}

TEST(Json, BytesThatAreNoUtf8AreNotLost) {
    EXPECT_EQ(shell("printf 'a\\377b\\n' | LC_ALL=C exec \"$0\" match --json '(.)b'"),
              prints("{\"file\":\"-\",\"line\":1,\"text\":\"a\xEF\xBF\xBD"
                     "b\",\"textBase64\":\"Yf9i\","
                     "\"matches\":[{\"start\":1,\"end\":3,\"text\":\"\xEF\xBF\xBD"
                     "b\","
                     "\"textBase64\":\"/2I=\"}],\"groups\":[\"\xEF\xBF\xBD\"],"
                     "\"groupsBase64\":[\"/w==\"]}\n"));
    EXPECT_EQ(shell("printf 'a\\377\\n' | exec \"$0\" tokens --json"),
              prints("{\"file\":\"-\",\"token\":\"a\xEF\xBF\xBD\",\"tokenBase64\":\"Yf8=\"}\n"));
}

}  // namespace
}  // namespace zeb::test
