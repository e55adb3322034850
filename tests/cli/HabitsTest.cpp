// What users of grep and sed expect: the same options, and for them the same output.

#include <gtest/gtest.h>

#include <random>

#include "ZebText.hpp"

namespace zeb::test {
namespace {

bool hasGnuGrep() { return shell("grep --version 2>/dev/null | grep -q GNU").status == 0; }

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

/// A random expression that means the same to both programs.
std::string randomPattern(std::mt19937& random, int depth) {
    switch (random() % (depth > 0 ? 11 : 5)) {
        case 0:
            return ".";
        case 1:
            return "[ab]";
        case 2:
        case 3:
        case 4:
            return std::string(1, "abcd"[random() % 4]);
        case 5:
            return "(" + randomPattern(random, depth - 1) + ")";
        case 6:
            return randomPattern(random, depth - 1) + "|" + randomPattern(random, depth - 1);
        case 7:
            return "(" + randomPattern(random, depth - 1) + ")" + "*+?"[random() % 3];
        case 8:
            return "^" + randomPattern(random, depth - 1);
        default:
            return randomPattern(random, depth - 1) + randomPattern(random, depth - 1);
    }
}

// ZEB_TEXT_CASES in the environment asks for more of them.
TEST(Habits, GrepGivesTheSame) {
    if (!hasGnuGrep()) {
        GTEST_SKIP() << "GNU grep is not installed";
    }
    char const* const wanted = std::getenv("ZEB_TEXT_CASES");
    int const cases = wanted == nullptr ? 150 : std::atoi(wanted);
    std::mt19937 engine(7);
    auto const random = [&engine] { return static_cast<unsigned>(engine()); };
    TemporaryDirectory const folder;
    for (int i = 0; i < cases; ++i) {
        std::string text;
        for (unsigned lines = random() % 12; lines > 0; --lines) {
            for (unsigned length = random() % 7; length > 0; --length) {
                text += std::vector<std::string>{"a", "b", "c", "d", "A", "\xC3\xA9"}[random() % 6];
            }
            text += "\n";
        }
        text += random() % 3 == 0 ? "ab" : "";
        std::vector<std::string> options;
        for (char const* const option : {"-i", "-v", "-n", "-H", "-c", "-l", "-q"}) {
            if (random() % 5 == 0) {
                options.emplace_back(option);
            }
        }
        bool const inverted = std::count(options.begin(), options.end(), "-v") > 0;
        if (random() % 4 == 0) {
            if (!inverted) {
                options.emplace_back("-o");
            }
        } else if (random() % 3 == 0) {
            options.push_back(std::string("-") + "ABC"[random() % 3] +
                              std::to_string(random() % 3));
        }
        for (unsigned count = random() % 4 == 0 ? 2 : 1; count > 0; --count) {
            options.emplace_back("-e");
            options.push_back(randomPattern(engine, 3));
        }
        options.push_back(folder.file("t", text));
        std::string const locale = random() % 2 == 0 ? "LC_ALL=C" : "LC_ALL=C.UTF-8";
        std::vector<std::string> ours{"env", locale, ZEB_TEXT_PROGRAM, "match"};
        std::vector<std::string> theirs{"env", locale, "grep", "-aE"};
        ours.insert(ours.end(), options.begin(), options.end());
        theirs.insert(theirs.end(), options.begin(), options.end());
        ASSERT_EQ(runProcess(ours), runProcess(theirs))
            << testing::PrintToString(theirs) << testing::PrintToString(text);
    }
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
