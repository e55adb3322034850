#include <gtest/gtest.h>

#include "ZebText.hpp"

using namespace std::string_literals;

namespace zeb::test {
namespace {

TEST(Edit, ReplacesTheFirstMatchOfEachLine) {
    EXPECT_EQ(zebText({"edit", "s/o/0/"}, "foo\nbar\nboo\n"), prints("f0o\nbar\nb0o\n"));
}

TEST(Edit, ReplacesEveryMatchWithTheFlagG) {
    EXPECT_EQ(zebText({"edit", "s/o/0/g"}, "foo\nbar\nboo"), prints("f00\nbar\nb00"));
}

TEST(Edit, PutsGroupsIntoTheReplacement) {
    EXPECT_EQ(zebText({"edit", "s|([a-z]+)=([0-9]+)|\\2=\\1 (\\0, 100%)|g"}, "x=1 y=2"),
              prints("1=x (x=1, 100%) 2=y (y=2, 100%)"));
}

TEST(Edit, DeletesLinesAndRanges) {
    EXPECT_EQ(zebText({"edit", "/^#/d"}, "#a\nb\n#c\nd"), prints("b\nd"));
    EXPECT_EQ(zebText({"edit", "/begin/,/end/d"}, "a\nbegin\nx\nend\nb\nbegin\ny"),
              prints("a\nb\nbegin\ny"));
}

TEST(Edit, DeletingEverythingIsNoError) {
    EXPECT_EQ(zebText({"edit", "/./d"}, "a\nb"), prints(""));
    EXPECT_EQ(zebText({"edit", "s/a/b/"}, ""), prints(""));
}

TEST(Edit, IgnoresCaseAndReadsBasicSyntaxOnDemand) {
    EXPECT_EQ(zebText({"edit", "s/a/x/g"}, "aA"), prints("xA"));
    EXPECT_EQ(zebText({"edit", "--ignore-case", "s/a/x/g"}, "aA"), prints("xx"));
    EXPECT_EQ(zebText({"edit", "--basic", "s/a+\\(b\\)/<\\1>/"}, "aab a+b"), prints("aab <b>"));
    EXPECT_EQ(zebText({"edit", "--basic", "--ignore-case", "s/a+/x/"}, "aa A+"), prints("aa x"));
}

TEST(Edit, ReadsFilesInOrderAndStandardInputForAHyphen) {
    TemporaryDirectory const folder;
    std::string const a = folder.file("a", "1a\n");
    std::string const b = folder.file("b", "1b\n");
    EXPECT_EQ(zebText({"edit", "s/1/2/", b, "-", a}, "1in\n"), prints("2b\n2in\n2a\n"));
}

TEST(Edit, KeepsNulBytesAndBytesOfEveryValue) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
    }
    EXPECT_EQ(zebText({"edit", "s/never/x/"}, all), prints(all));
    EXPECT_EQ(zebText({"edit", "s/a/\xFF/"}, "a\0b\xE4"s), prints("\xFF\0b\xE4"s));
}

TEST(Edit, AnUnknownCommandIsAnErrorAndEmptiesNothing) {
    struct Row {
        std::string command;
        std::size_t column;  // from 1; after the end when something is missing
    };
    Row const rows[] = {
        {"", 1},
        {"x/a/b/", 1},
        {"s/a/b/i", 7},
        {"s/a\\/b/z/", 8},
        {"s/a/b\\", 7},
        {"/foo/dx", 7},
        {" /foo/d", 1},
        {"p", 1},
        {"/foo", 5},
        {"/foo/", 6},
        {"/foo/,/bar/", 12},
        {"/foo/,bar/d", 7},
        {"/a/,/b/,/c/d", 8},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.command);
        EXPECT_EQ(
            zebText({"edit", row.command}, "a\nfoo\n"),
            failsWith("edit: unknown sed command \"" + row.command + "\" at column " +
                          std::to_string(row.column) + " (see zeb-text edit --help)",
                      "  " + row.command + "\n  " + std::string(row.column - 1, ' ') + "^\n"));
    }
}

TEST(Edit, AnUnknownCommandIsFoundBeforeAnyInputIsRead) {
    EXPECT_EQ(
        zebText({"edit", "x/a/b/", "/nonexistent"}),
        failsWith("edit: unknown sed command \"x/a/b/\" at column 1 (see zeb-text edit --help)",
                  "  x/a/b/\n  ^\n"));
}

TEST(Edit, AFaultyExpressionIsShownInItsCommand) {
    EXPECT_EQ(
        zebText({"edit", "s/a(b/x/"}, "a"),
        failsWith("Error creating regular expression: Unmatched ( or \\(", "  s/a(b/x/\n     ^\n"));
    EXPECT_EQ(zebText({"edit", "--basic", "--ignore-case", "/\n\\(/d"}, "a"),
              failsWith("Error creating regular expression: Unmatched ( or \\(",
                        "  /\\n\\(/d\n     ^\n"));
    EXPECT_EQ(zebText({"edit", "/a/,/b[c/d"}, "a"),
              failsWith("Error creating regular expression: Unmatched [, [^, [:, [., or [=",
                        "  /a/,/b[c/d\n        ^\n"));
}

TEST(Edit, TracesTheLibrarysMessages) {
    ProcessResult const debug = zebText({"edit", "--trace", "debug", "s/a/b/"}, "a");
    EXPECT_EQ(debug.status, 0);
    EXPECT_EQ(debug.out, "b");
    EXPECT_EQ(debug.err,
              "DEBUG zeb.common.regex: regex: Running sed \"s/a/b/\" on \"a\"\n"
              "DEBUG zeb.common.regex: regex: Checking for search operation in \"s/a/b/\"\n");

    ProcessResult const debug3 = zebText({"edit", "s/a/b/", "--trace=debug3"}, "a");
    EXPECT_EQ(debug3.out, "b");
    EXPECT_EQ(
        debug3.err,
        debug.err +
            "DEBUG3 zeb.common.regex: regex: Applying sed search \"a\" to line \"a\"\n"
            "DEBUG3 zeb.common.regex: regex: Adding leading text (0-0) \"\"\n"
            "DEBUG3 zeb.common.regex: regex: Adding match replacement text (0-1) for \"b\" to "
            "\"b\"\n"
            "DEBUG3 zeb.common.regex: regex: Adding trailing text (1-1) \"\"\n"
            "DEBUG3 zeb.common.regex: regex: Resulting line with replacements is \"b\"\n");
}

TEST(Edit, AnUnknownTraceLevelIsAnError) {
    EXPECT_EQ(zebText({"edit", "--trace", "info", "s/a/b/"}),
              failsWith("edit: --trace: 'info' is none of debug|debug2|debug3 (see zeb-text edit "
                        "--help)"));
}

TEST(Edit, TakesMegabytes) {
    // Long lines: the address sanitizer measures the rest of the text at each search.
    std::string const tail = std::string(4000, '.') + "\n";
    std::string text;
    std::string edited;
    while (text.size() < 4'000'000) {
        text += "name=value" + tail;
        edited += "value=name" + tail;
    }
    ProcessResult const result = zebText({"edit", "s/([a-z]+)=([a-z]+)/\\2=\\1/"}, text);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(result.out == edited);
}

TEST(Edit, ALongUnknownCommandIsCut) {
    std::string const many(200, 'y');
    EXPECT_EQ(zebText({"edit", many}),
              failsWith("edit: unknown sed command \"" + many.substr(0, 72) +
                            "...\" at column 1 (see zeb-text edit --help)",
                        "  " + many.substr(0, 36) + "...\n  ^\n"));
}

}  // namespace
}  // namespace zeb::test
