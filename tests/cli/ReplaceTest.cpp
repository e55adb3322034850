#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ZebText.hpp"

namespace zeb::test {
namespace {

TEST(Replace, RewritesFilesInPlaceAndPrintsNothing) {
    TemporaryDirectory const folder;
    std::string const a = folder.file("a", "a=1\nb=2\n");
    std::string const b = folder.file("b", "c=3=4");
    EXPECT_EQ(zebText({"replace", "=", ": ", a, b}), prints(""));
    EXPECT_EQ(folder.contents("a"), "a: 1\nb: 2\n");
    EXPECT_EQ(folder.contents("b"), "c: 3=4");
}

TEST(Replace, FillsTheTemplateWithGroups) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("a", "key=value\n");
    EXPECT_EQ(zebText({"replace", "([a-z]+)=(.*)", "%2:%1 %0 100%%", file}), prints(""));
    EXPECT_EQ(folder.contents("a"), "value:key key=value 100%\n");
}

TEST(Replace, IgnoresCaseAndReadsBasicSyntaxOnDemand) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("a", "A+ a+\n");
    EXPECT_EQ(zebText({"replace", "--ignore-case", "--basic", "a+", "x", file}), prints(""));
    EXPECT_EQ(folder.contents("a"), "x a+\n");
}

TEST(Replace, AFileWithoutMatchOrWithoutContentsStaysAsItIs) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("a", "abc\n");
    std::string const empty = folder.file("empty", "");
    EXPECT_EQ(zebText({"replace", "z", "q", file, empty}), prints(""));
    EXPECT_EQ(folder.contents("a"), "abc\n");
    EXPECT_EQ(folder.contents("empty"), "");
}

TEST(Replace, ReportsAFileThatCannotBeDoneAndDoesTheOthers) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("a", "abc\n");
    std::string const missing = folder.path("missing");
    ProcessResult const result = zebText({"replace", "b", "x", missing, folder.path("."), file});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "zeb-text: Cannot get information for file " + missing +
                              ": No such file or directory\n"
                              "zeb-text: File is not a regular file: " +
                              folder.path(".") + "\n");
    EXPECT_EQ(folder.contents("a"), "axc\n");
}

TEST(Replace, DoesNotWaitForAPipe) {
    TemporaryDirectory const folder;
    std::string const pipe = folder.path("pipe");
    EXPECT_EQ(shell("mkfifo \"$1\" && exec \"$0\" replace a b \"$1\"", pipe),
              failsWith("File is not a regular file: " + pipe));
}

TEST(Replace, AFaultyExpressionLeavesTheFileAlone) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("a", "a(b\n");
    EXPECT_EQ(zebText({"replace", "a(b", "x", file}),
              failsWith("Error creating regular expression: Unmatched ( or \\(", "  a(b\n   ^\n"));
    EXPECT_EQ(folder.contents("a"), "a(b\n");
}

TEST(Replace, NeedsAFile) {
    EXPECT_EQ(zebText({"replace", "a", "b"}),
              failsWith("replace: FILE is required (see zeb-text replace --help)"));
}

TEST(Replace, AFileThatMayNotGrowStaysAsItIs) {
    TemporaryDirectory const folder;
    std::string text;
    for (int i = 0; i < 1000; ++i) {
        text += "line with text\n";
    }
    std::string const file = folder.file("a", text);
    ProcessResult const result = shell(
        "ulimit -f 4; export GCOV_PREFIX=\"$1.gcov\"; exec \"$0\" replace text words \"$1\"", file);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    // In a build that measures coverage, libgcov complains of the limit too, and would spoil the
    // counts of all other tests if it wrote to its own place.
    EXPECT_THAT(result.err,
                testing::HasSubstr("zeb-text: " + file +
                                   ": a temporary file cannot be written (File too large); "
                                   "--in-place-write writes over it where it is\n"));
    EXPECT_EQ(folder.contents("a"), text);
}

// The file then gets the number of standard error.
TEST(Replace, MessagesNeverGetIntoTheFile) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("a", "abc\n");
    EXPECT_EQ(shell("exec \"$0\" replace --trace debug3 b x \"$1\" 2>&-", file), prints(""));
    EXPECT_EQ(folder.contents("a"), "axc\n");
}

TEST(Replace, TracesTheLibrarysMessages) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("a", "abc");
    ProcessResult const result = zebText({"replace", "--trace", "debug2", "b", "x", file});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, testing::HasSubstr("DEBUG zeb.common.regex: regex: Running sed \""));
    EXPECT_THAT(result.err, testing::HasSubstr("\" on \"abc\"\n"));
}

}  // namespace
}  // namespace zeb::test
