#include <gtest/gtest.h>

#include "ZebText.hpp"

using namespace std::string_literals;

namespace zeb::test {
namespace {

/// What `utf8` gives for standard input.
ProcessResult converts(std::string out, std::string const& encoding) {
    return {0, std::move(out), "zeb-text: -: " + encoding + "\n"};
}

std::string utf16(std::u16string_view text, bool littleEndian) {
    std::string bytes;
    for (char16_t const unit : text) {
        auto const low = static_cast<char>(unit & 0xFF);
        auto const high = static_cast<char>(unit >> 8);
        bytes += littleEndian ? low : high;
        bytes += littleEndian ? high : low;
    }
    return bytes;
}

TEST(Utf8, ConvertsUtf16WithAMark) {
    EXPECT_EQ(zebText({"utf8"}, utf16(u"\uFEFFA\u00E4\r\n\U0001F600", true)),
              converts("A\xC3\xA4\r\n\xF0\x9F\x98\x80", "UTF-16, little-endian"));
    EXPECT_EQ(zebText({"utf8"}, utf16(u"\uFEFFA\u20AC", false)),
              converts("A\xE2\x82\xAC", "UTF-16, big-endian"));
}

TEST(Utf8, RecognisesUtf16ByItsContents) {
    EXPECT_EQ(zebText({"utf8"}, utf16(u"Hello world", true)),
              converts("Hello world", "UTF-16, little-endian"));
    EXPECT_EQ(zebText({"utf8"}, utf16(u"Hello world", false)),
              converts("Hello world", "UTF-16, big-endian"));
}

TEST(Utf8, LeavesEightBitTextAsItIs) {
    EXPECT_EQ(zebText({"utf8"}, "plain \xC3\xA4 \xFF\0 text\n"s),
              converts("plain \xC3\xA4 \xFF\0 text\n"s, "8-bit text"));
    EXPECT_EQ(zebText({"utf8"}, ""), converts("", "8-bit text"));
}

TEST(Utf8, AMarkAloneIsAnEmptyText) {
    EXPECT_EQ(zebText({"utf8"}, "\xFF\xFE"), converts("", "UTF-16, little-endian"));
}

TEST(Utf8, NamesTheFile) {
    TemporaryDirectory const folder;
    std::string const a = folder.file("a", utf16(u"\uFEFFA", true));
    std::string const b = folder.file("b", "B");
    ProcessResult const expected{
        0, "AB", "zeb-text: " + a + ": UTF-16, little-endian\nzeb-text: " + b + ": 8-bit text\n"};
    EXPECT_EQ(zebText({"utf8", a, b}), expected);
}

TEST(Utf8, AHalfCodeUnitIsAnError) {
    ProcessResult const expected{2, "",
                                 "zeb-text: -: UTF-16, little-endian\n"
                                 "zeb-text: -: An odd character (0xffffff9c) was left after "
                                 "regrouping UTF16 bytes.\n"};
    EXPECT_EQ(zebText({"utf8"}, utf16(u"\uFEFFA", true) + "\x9C"), expected);
}

TEST(Utf8, TakesMegabytes) {
    std::u16string text = u"\uFEFF";
    std::string expected;
    while (expected.size() < 4'000'000) {
        text += u"Gr\u00FC\u00DFe ";
        expected +=
            "Gr\xC3\xBC\xC3\x9F"
            "e ";
    }
    ProcessResult const result = zebText({"utf8"}, utf16(text, false));
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.out == expected);
}

TEST(XmlFix, ReplacesForbiddenControlCharacters) {
    EXPECT_EQ(zebText({"xml-fix"}, "<a>\x01\0\x0B\t\r\n\x1F</a>"s),
              prints("<a>\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\t\r\n\xEF\xBF\xBD</a>"));
}

TEST(XmlFix, ReplacesForbiddenNonCharacters) {
    EXPECT_EQ(zebText({"xml-fix"},
                      "a\xEF\xBF\xBE"
                      "b\xEF\xBF\xBF"
                      "c\xEF\xBF\xBD"),
              prints("a\xEF\xBF\xBD"
                     "b\xEF\xBF\xBD"
                     "c\xEF\xBF\xBD"));
}

TEST(XmlFix, LeavesTheOthersAlone) {
    std::string const text = "\x0C \x7F \xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80 \xEF\xBF\xBC";
    EXPECT_EQ(zebText({"xml-fix"}, text), prints(text));
    EXPECT_EQ(zebText({"xml-fix"}, ""), prints(""));
}

TEST(XmlFix, ConvertsUtf16First) {
    EXPECT_EQ(zebText({"xml-fix"}, utf16(u"\uFEFF<a>\u0001\u00E4\U0001F600\uFFFE</a>", true)),
              prints("<a>\xEF\xBF\xBD\xC3\xA4\xF0\x9F\x98\x80\xEF\xBF\xBD</a>"));
}

TEST(XmlFix, TheResultIsWellFormed) {
    EXPECT_EQ(shell("printf '<a>\\001</a>' | \"$0\" xml check").status, 1);
    EXPECT_EQ(shell("printf '<a>\\001</a>' | \"$0\" xml-fix | \"$0\" xml check"),
              prints("-: ok\n"));
}

TEST(XmlFix, TracesWhatWasReplaced) {
    ProcessResult const result = zebText({"xml-fix", "--trace", "debug"}, "a\x0B");
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("DEBUG zeb.common.TextOperations: XML Fixup: Replaced invalid XML "
                              "character 0xb with 0xfffd\n"),
              std::string::npos)
        << result.err;
}

}  // namespace
}  // namespace zeb::test
