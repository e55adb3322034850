#include <gtest/gtest.h>

#include "ZebText.hpp"

using namespace std::string_literals;

namespace zeb::test {
namespace {

TEST(Unit, PrintsTheBytesOfAUnit) {
    EXPECT_EQ(zebText({"unit", "KB"}), prints("1024\n"));
    EXPECT_EQ(zebText({"unit", "10GB"}), prints("1073741824\n"));
    EXPECT_EQ(zebText({"unit", "P"}), prints("1125899906842624\n"));
    EXPECT_EQ(zebText({"unit", "bytes"}), prints("1\n"));
}

TEST(Unit, FindsNoUnit) {
    EXPECT_EQ(zebText({"unit", "kib"}), findsNothing());
    EXPECT_EQ(zebText({"unit", "512"}), findsNothing());
    EXPECT_EQ(zebText({"unit", ""}), findsNothing());
}

TEST(Date, PrintsTheFirstDateOfEachInput) {
    TemporaryDirectory const folder;
    std::string const a = folder.file(
        "a", "started\nat Tue Mar 14 09:26:53 UTC 2023, not Wed Mar 15 09:26:53 2023\n");
    std::string const b = folder.file("b", "[Sun Jan 5 1:02:03 2025] up");
    EXPECT_EQ(zebText({"date", a, b}),
              prints("Tue Mar 14 09:26:53 UTC 2023\nSun Jan 5 1:02:03 2025\n"));
}

TEST(Date, FindsNoDate) {
    EXPECT_EQ(zebText({"date"}, "2023-03-14\nTue Mar  4 09:26:53 2023\n"), findsNothing());
    EXPECT_EQ(zebText({"date"}, ""), findsNothing());
}

TEST(Date, TakesMegabytes) {
    std::string text;
    while (text.size() < 4'000'000) {
        text += "Tuesday, March 14: nothing to report but Mon, Tue and Wed\n";
    }
    EXPECT_EQ(zebText({"date"}, text + "Tue Mar 14 09:26:53 2023\n"),
              prints("Tue Mar 14 09:26:53 2023\n"));
}

TEST(Number, PrintsIntegersInDecimal) {
    EXPECT_EQ(zebText({"number", "42"}), prints("42\n"));
    EXPECT_EQ(zebText({"number", "-9223372036854775808"}), prints("-9223372036854775808\n"));
    EXPECT_EQ(zebText({"number", "--base", "16", "ff"}), prints("255\n"));
    EXPECT_EQ(zebText({"number", "--base", "16", "0xFF"}), prints("255\n"));
    EXPECT_EQ(zebText({"number", "--base", "2", "--", "-101"}), prints("-5\n"));
    // No leading zero makes a number octal, neither here nor in the value of an option.
    EXPECT_EQ(zebText({"number", "010"}), prints("10\n"));
    EXPECT_EQ(zebText({"number", "--base", "010", "11"}), prints("11\n"));
}

TEST(Number, EveryTypeHasItsRange) {
    struct Row {
        char const* type;
        char const* text;
        char const* printed;
    };
    constexpr Row ROWS[] = {
        {"int8", "-128", "-128"},
        {"int8", "127", "127"},
        {"uint8", "255", "255"},
        {"int16", "-32768", "-32768"},
        {"uint16", "65535", "65535"},
        {"int32", "-2147483648", "-2147483648"},
        {"uint32", "4294967295", "4294967295"},
        {"int64", "9223372036854775807", "9223372036854775807"},
        {"uint64", "18446744073709551615", "18446744073709551615"},
        {"real32", "0.1", "0.1"},
        {"real64", "0.1", "0.1"},
        {"real64", "1e300", "1e+300"},
        {"real64", "-2.5", "-2.5"},
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.type);
        EXPECT_EQ(zebText({"number", "--type", row.type, row.text}), prints(row.printed + "\n"s));
    }
}

TEST(Number, TextThatDoesNotFitIsAnError) {
    EXPECT_EQ(zebText({"number", "--type", "int8", "128"}),
              failsWith("Cannot convert \"128\" to an 8-bit integer: out of range"));
    EXPECT_EQ(zebText({"number", "4x"}),
              failsWith("Cannot convert \"4x\" to a 64-bit integer: not a number"));
    EXPECT_EQ(zebText({"number", ""}),
              failsWith("Cannot convert \"\" to a 64-bit integer: not a number"));
    EXPECT_EQ(zebText({"number", "--type", "uint64", "-1"}),
              failsWith("Cannot convert \"-1\" to an unsigned 64-bit integer: not a number"));
    EXPECT_EQ(zebText({"number", "--base", "1", "1"}),
              failsWith("Cannot convert \"1\" to a 64-bit integer: base is not 2 to 36"));
    EXPECT_EQ(zebText({"number", "--base", "x", "1"}),
              failsWith("Cannot convert \"x\" to a 32-bit integer: not a number"));
    EXPECT_EQ(zebText({"number", "--type", "int", "1"}),
              failsWith("number: --type: 'int' is none of "
                        "int8|int16|int32|int64|uint8|uint16|uint32|uint64|real32|real64 (see "
                        "zeb-text number --help)"));
}

TEST(Pad, FillsUpToTheWidth) {
    EXPECT_EQ(zebText({"pad", "--left", "5", "--fill", ".", "ab"}), prints("ab...\n"));
    EXPECT_EQ(zebText({"pad", "--right", "5", "--fill=.", "ab"}), prints("...ab\n"));
    EXPECT_EQ(zebText({"pad", "ab", "--center", "5", "--fill", "."}), prints(".ab..\n"));
    EXPECT_EQ(zebText({"pad", "--right", "4", "ab"}), prints("  ab\n"));
    EXPECT_EQ(zebText({"pad", "--left", "4", "--fill", "\xE4", ""}), prints("\xE4\xE4\xE4\xE4\n"));
}

TEST(Pad, NeverCuts) {
    EXPECT_EQ(zebText({"pad", "--left", "3", "abcdef"}), prints("abcdef\n"));
    EXPECT_EQ(zebText({"pad", "--center", "0", "ab"}), prints("ab\n"));
}

TEST(Pad, NeedsOneWidthAndOneByte) {
    EXPECT_EQ(zebText({"pad", "ab"}),
              failsWith("pad: --left, --right or --center is required (see zeb-text pad --help)"));
    EXPECT_EQ(zebText({"pad", "--left", "3", "--right", "3", "ab"}),
              failsWith("pad: --left excludes --right (see zeb-text pad --help)"));
    EXPECT_EQ(zebText({"pad", "--left", "3", "--fill", "", "ab"}),
              failsWith("pad: --fill takes one byte (see zeb-text pad --help)"));
    EXPECT_EQ(zebText({"pad", "--left", "3", "--fill", "\xC3\xA4", "ab"}),
              failsWith("pad: --fill takes one byte (see zeb-text pad --help)"));
    EXPECT_EQ(zebText({"pad", "--left", "-3", "ab"}),
              failsWith("Cannot convert \"-3\" to an unsigned 32-bit integer: not a number"));
    EXPECT_EQ(zebText({"pad", "--left=", "ab"}),
              failsWith("Cannot convert \"\" to an unsigned 32-bit integer: not a number"));
}

TEST(Env, FindsAVariable) {
    std::string const block = "HOME=/root\0PATH=/bin:/usr/bin\0EMPTY=\0LAST=x"s;
    EXPECT_EQ(zebText({"env", "PATH"}, block), prints("/bin:/usr/bin\n"));
    EXPECT_EQ(zebText({"env", "LAST"}, block), prints("x\n"));
    EXPECT_EQ(zebText({"env", "EMPTY"}, block), prints("\n"));
}

TEST(Env, TheFirstOccurrenceCountsWhereverItIs) {
    EXPECT_EQ(zebText({"env", "PATH"}, "MANPATH=/m\0PATH=/p\0"s), prints("/m\n"));
}

TEST(Env, FindsNoVariable) {
    EXPECT_EQ(zebText({"env", "SHELL"}, "HOME=/root\0"s), findsNothing());
    EXPECT_EQ(zebText({"env", "HOME"}, "HOME="), findsNothing());
    EXPECT_EQ(zebText({"env", "HOME"}, ""), findsNothing());
}

TEST(Env, ReadsTheEnvironmentOfAProcess) {
    EXPECT_EQ(shell("ZEB_TEST_VALUE='a b' exec \"$0\" env ZEB_TEST_VALUE /proc/self/environ"),
              prints("a b\n"));
}

}  // namespace
}  // namespace zeb::test
