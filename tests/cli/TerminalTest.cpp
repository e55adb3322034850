// Colours, and the progress of reading, on a terminal and elsewhere.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Terminal.hpp"
#include "ZebText.hpp"

namespace zeb::test {
namespace {

/// Skipped where there are no pseudo-terminals, as in a root without /dev/pts.
class OnTerminal : public testing::Test {
protected:
    void SetUp() override {
        int const master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (master < 0) {
            GTEST_SKIP() << "no pseudo-terminals here";
        }
        ::close(master);
    }
};

class Color : public OnTerminal {};
class Progress : public OnTerminal {};

/// Runs a script in which "$0" is zeb-text, on a terminal of the kind xterm.
ProcessResult onTerminal(std::string const& script) {
    return runOnTerminal("unset NO_COLOR; TERM=xterm; export TERM; " + script, ZEB_TEXT_PROGRAM);
}

std::string red(std::string const& text) { return "\033[1;31m" + text + "\033[0m"; }
std::string magenta(std::string const& text) { return "\033[35m" + text + "\033[0m"; }
std::string green(std::string const& text) { return "\033[32m" + text + "\033[0m"; }

TEST_F(Color, EveryMatchIsHighlightedOnATerminal) {
    EXPECT_EQ(onTerminal("printf 'foo boo\\nbar\\n' | \"$0\" match 'o+'"),
              prints("f" + red("oo") + " b" + red("oo") + "\n"));
    EXPECT_EQ(onTerminal("printf 'foo boo\\n' | \"$0\" match --only 'o+'"),
              prints(red("oo") + "\n" + red("oo") + "\n"));
    EXPECT_EQ(onTerminal("printf 'foo\\n' | \"$0\" match --numbers 'x*' - -"),
              prints(magenta("-") + ":" + green("1") + ":foo\n"));
}

TEST_F(Color, LinesThatDoNotMatchAreNotHighlighted) {
    EXPECT_EQ(onTerminal("printf 'a\\nb\\n' | \"$0\" match --invert a"), prints("b\n"));
}

TEST_F(Color, ErrorsAreRedOnATerminal) {
    EXPECT_EQ(onTerminal("\"$0\" match 'a(b'"),
              (ProcessResult{2,
                             red("zeb-text:") +
                                 " Error creating regular expression: Unmatched ( or \\(\n"
                                 "  a(b\n   " +
                                 red("^") + "\n",
                             ""}));
    EXPECT_EQ(
        onTerminal("\"$0\" frobnicate"),
        (ProcessResult{2, red("zeb-text:") + " unknown command frobnicate (see zeb-text --help)\n",
                       ""}));
}

TEST_F(Color, TheEnvironmentAndTheOptionSwitchItOff) {
    std::string const plain = "foo\n";
    EXPECT_EQ(onTerminal("echo foo | NO_COLOR=1 \"$0\" match o"), prints(plain));
    EXPECT_EQ(onTerminal("echo foo | TERM=dumb \"$0\" match o"), prints(plain));
    EXPECT_EQ(onTerminal("unset TERM; echo foo | \"$0\" match o"), prints(plain));
    EXPECT_EQ(onTerminal("echo foo | \"$0\" match --color=never o"), prints(plain));
    // An empty NO_COLOR is none.
    EXPECT_EQ(onTerminal("echo foo | NO_COLOR= \"$0\" match fo*"), prints(red("foo") + "\n"));
}

TEST(ColorOption, SwitchesItOnAnywhere) {
    EXPECT_EQ(shell("echo foo | NO_COLOR=1 TERM=dumb \"$0\" match --color=always o+"),
              prints("f" + red("oo") + "\n"));
    EXPECT_EQ(zebText({"match", "--color", "always", "[a"}).err,
              red("zeb-text:") +
                  " Error creating regular expression: Unmatched [, [^, [:, [., or [=\n"
                  "  [a\n  " +
                  red("^") + "\n");
}

TEST_F(Color, NeverReachesAPipeOrAFileUnasked) {
    EXPECT_EQ(onTerminal("echo foo | \"$0\" match --numbers o - - | cat"), prints("-:1:foo\n"));
    EXPECT_EQ(onTerminal("\"$0\" match '(' 2>&1 | cat"),
              prints("zeb-text: Error creating regular expression: Unmatched ( or \\(\n"
                     "  (\n  ^\n"));
    EXPECT_EQ(shell("export TERM=xterm; echo foo | \"$0\" match o"), prints("foo\n"));
}

TEST(ColorOption, AnUnknownChoiceIsAnError) {
    EXPECT_EQ(zebText({"match", "--color", "sometimes", "a"}),
              failsWith("match: --color: 'sometimes' is none of auto|always|never (see zeb-text "
                        "match --help)"));
}

TEST_F(Color, ObjectsAndControlCharactersNeverColorATerminal) {
    EXPECT_EQ(onTerminal("echo a | \"$0\" match --json a"),
              prints("{\"file\":\"-\",\"line\":1,\"text\":\"a\",\"matches\":[{\"start\":0,"
                     "\"end\":1,\"text\":\"a\"}],\"groups\":[]}\n"));
    EXPECT_EQ(zebText({"match", "a", "\033[31m"}),
              failsWith("Cannot read file \\x1b[31m: No such file or directory"));
}

/// The final contents of a terminal's line after all output.
std::string lastLine(std::string const& written) {
    std::string line;
    std::size_t column = 0;
    for (char const byte : written) {
        if (byte == '\r') {
            column = 0;
        } else {
            line.resize(std::max(line.size(), column + 1), ' ');
            line[column++] = byte;
        }
    }
    return line;
}

// A sparse file takes no room on the disk.
TEST_F(Progress, ALargeFileHasALineThatGoesAway) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("large", "");
    std::filesystem::resize_file(file, 101'000'000);
    ProcessResult const result = onTerminal("\"$0\" xml check " + file + " >/dev/null");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, testing::StartsWith("\rzeb-text: "));
    EXPECT_THAT(result.out, testing::HasSubstr("large: 50 MB read, 49%\r"));
    EXPECT_THAT(result.out, testing::HasSubstr("large: 100 MB read, 99%\r"));
    EXPECT_EQ(lastLine(result.out).find_first_not_of(' '), std::string::npos);
}

TEST_F(Progress, OfAPipeTheSizeIsNotKnown) {
    ProcessResult const result =
        onTerminal("head -c 121000000 /dev/zero | \"$0\" xml check >/dev/null");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, testing::StartsWith("\rzeb-text: -: 100 MB read\r"));
    EXPECT_EQ(lastLine(result.out).find_first_not_of(' '), std::string::npos);
}

TEST_F(Progress, ThereIsNoneForSmallFilesAndWithoutATerminal) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("file", "");
    std::filesystem::resize_file(file, 99'000'000);
    EXPECT_EQ(onTerminal("\"$0\" xml check " + file + " >/dev/null"), (ProcessResult{1, "", ""}));
    std::filesystem::resize_file(file, 101'000'000);
    EXPECT_EQ(onTerminal("\"$0\" xml check " + file + " 2>&1 >/dev/null | cat; exit 1"),
              (ProcessResult{1, "", ""}));
    EXPECT_EQ(zebText({"xml", "check", file}).err, "");
}

}  // namespace
}  // namespace zeb::test
