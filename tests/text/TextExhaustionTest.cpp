// What the text operations take from the heap, and what they leave when there is nothing to take. A
// program of its own, because it replaces malloc.

#include <OrventoTextOperations.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "FailingMalloc.hpp"
#include "UnicodeBytes.hpp"

namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;
using zeb::test::arrayOf;
using zeb::test::exhaust;
using zeb::test::Exhaustion;
using ZEBNS2::Array;
using ZEBNS2::BOM_UTF16_LE;
using ZEBNS2::CommandLine;
using ZEBNS2::String;
using ZEBNS2::StringArray;

constexpr char LONG_TEXT[] = "a text of some length, with \"quotes\" and blanks";

/// How often an action allocates when it has been called before.
template <typename Action>
long allocationsOf(Action action) {
    action();
    long const before = zeb::test::allocationsMade;
    action();
    return zeb::test::allocationsMade - before;
}

template <typename Action>
void expectCleanExhaustion(long allocations, Action action) {
    Exhaustion const result = exhaust(action);
    EXPECT_EQ(result.refusals, allocations);
    EXPECT_FALSE(result.leaked);
}

class TextExhaustion : public testing::Test {
protected:
    String const text{LONG_TEXT};
    StringArray const parts{"one", "", LONG_TEXT, "three"};
    String const separator{", "};

    // The component's name is built once, at the first use.
    static void SetUpTestSuite() { (void)ZEBNS2::TextOperations::COMPONENT_NAME.get(); }
};

TEST_F(TextExhaustion, UntokenizeAllocatesOnce) {
    EXPECT_EQ(allocationsOf([&] { (void)ZEBNS2::untokenize(parts, separator); }), 1);
    StringArray const one{LONG_TEXT};
    EXPECT_EQ(allocationsOf([&] { (void)ZEBNS2::untokenize(one, separator); }), 0);
    expectCleanExhaustion(1, [&] { (void)ZEBNS2::untokenize(parts, separator); });
}

TEST_F(TextExhaustion, SubstringsAllocateTheirResultAlone) {
    expectCleanExhaustion(1, [&] { (void)ZEBNS2::substringAfter(text, ','); });
    expectCleanExhaustion(1, [&] { (void)ZEBNS2::substringBefore(text, ", "); });
    expectCleanExhaustion(1, [&] { (void)ZEBNS2::substringAfterLast(text, separator); });
    expectCleanExhaustion(0, [&] { (void)ZEBNS2::substringAfter(text, '#'); });
    expectCleanExhaustion(0, [&] { (void)ZEBNS2::remove_quotes(text); });
    expectCleanExhaustion(0, [&] { (void)ZEBNS2::is_substring_ignorecase(separator, text); });
    expectCleanExhaustion(1, [&] { (void)ZEBNS2::removeRedundantSeparators(text, ' '); });
}

TEST_F(TextExhaustion, FirstQuotedStringLeavesThePositionAlone) {
    unsigned int end = 77;
    zeb::test::allocationsLeft = 0;
    bool refused = false;
    try {
        (void)ZEBNS2::find_first_quoted_string(text, end, 0);
    } catch (std::bad_alloc const&) {
        refused = true;
    }
    zeb::test::allocationsLeft = zeb::test::UNLIMITED;
    EXPECT_TRUE(refused);
    EXPECT_EQ(end, 77U);
}

TEST_F(TextExhaustion, ListsAndCommandLinesLeakNothing) {
    auto const expectRefusals = [](auto action) {
        Exhaustion const result = exhaust(action);
        EXPECT_GE(result.refusals, 1);
        EXPECT_FALSE(result.leaked);
    };
    expectRefusals([&] { (void)ZEBNS2::quoted_string_tokenization(text, " "); });
    expectRefusals([&] { (void)ZEBNS2::remove_empty_strings(parts); });
    expectRefusals([&] { (void)ZEBNS2::find_exact_matches("", parts); });
    expectRefusals([&] { (void)CommandLine::flatten(parts); });
    expectRefusals([&] { (void)CommandLine::escapeArgument(text); });
    EXPECT_THAT(parts, ElementsAre("one", "", LONG_TEXT, "three"));
}

TEST_F(TextExhaustion, LayoutAndNumbersAllocateTheirResultAlone) {
    expectCleanExhaustion(1, [&] { (void)ZEBNS2::centerText(text, 200, ' '); });
    expectCleanExhaustion(1, [&] { (void)ZEBNS2::leftText(text, 200, ' '); });
    expectCleanExhaustion(1, [&] { (void)ZEBNS2::rightText(text, 200, ' '); });
    expectCleanExhaustion(0, [&] { (void)ZEBNS2::rightText(text, 2, ' '); });
    expectCleanExhaustion(1, [&] { (void)ZEBNS2::Hexify<int>(-1, true); });
    String const number("12345678901234567890");
    expectCleanExhaustion(0,
                          [&] { (void)ZEBNS2::string_to_number<unsigned long long>(number, 10); });
    expectCleanExhaustion(1, [] { (void)ZEBNS2::getCurrentCIMDateTime(); });
}

TEST_F(TextExhaustion, EnvironmentValueComesWholeOrNotAtAll) {
    std::string_view const block = "A_NAME_BEYOND_ANY_SMALL_STRING=/a/value/of/some/length\0"sv;
    std::vector<char> const environment(block.begin(), block.end());
    std::vector<char> out{'o', 'l', 'd'};
    std::vector<char> const old = out;
    bool unchanged = true;
    Exhaustion const result = exhaust([&] {
        unchanged = unchanged && out == old;
        ZEBNS2::extractEnv(environment, "A_NAME_BEYOND_ANY_SMALL_STRING", out, '=');
    });
    EXPECT_GE(result.refusals, 2);
    EXPECT_TRUE(unchanged);
    EXPECT_EQ(std::string_view(out.data(), out.size()), "/a/value/of/some/length");

    String value("old");
    String const environmentText(block);
    Exhaustion const resultOfString = exhaust([&] {
        unchanged = unchanged && value == "old";
        ZEBNS2::extractEnv(environmentText, "A_NAME_BEYOND_ANY_SMALL_STRING", value, '=');
    });
    EXPECT_GE(resultOfString.refusals, 2);
    EXPECT_TRUE(unchanged);
    EXPECT_EQ(value, "/a/value/of/some/length");
}

TEST_F(TextExhaustion, SharedUnitsStayWhenTheyCannotBeDetached) {
    Array<unsigned short> const units{1, 2, 3};
    Array<unsigned short> copy = units;
    bool unchanged = true;
    expectCleanExhaustion(1, [&] {
        unchanged = unchanged && copy == units && units[0] == 1;
        Array<unsigned short> shared = copy;
        ZEBNS2::replaceInvalidXMLCharacters(shared, String());
    });
    EXPECT_TRUE(unchanged);
    EXPECT_THAT(copy, ElementsAre(1, 2, 3));
}

TEST_F(TextExhaustion, NothingIsFormattedWhenLoggingIsOff) {
    Array<unsigned short> units{1, 2, 3};
    EXPECT_EQ(allocationsOf([&] { ZEBNS2::replaceInvalidXMLCharacters(units, text); }), 0);
    String const search("#");
    String const found(" ");
    EXPECT_EQ(allocationsOf([&] { (void)ZEBNS2::search_replace(text, search, found); }), 0);
    EXPECT_EQ(allocationsOf([&] { (void)ZEBNS2::search_replace(text, found, search); }), 1);
    EXPECT_EQ(allocationsOf([&] { (void)ZEBNS2::search_replace(text, String(), search); }), 0);

    Array<char> const data = arrayOf("\xFF\xFE\x00\xDC\x00\xD8\x41\x00"sv);
    Array<unsigned short> const broken{0xDC00, 0xD800, 0x41};
    EXPECT_EQ(allocationsOf([&] { (void)ZEBNS2::autodetectByteOrder(data); }), 0);
    EXPECT_EQ(allocationsOf([&] { (void)ZEBNS2::regroupUTF16(data, BOM_UTF16_LE); }), 1);
    EXPECT_EQ(allocationsOf([&] { (void)ZEBNS2::UTF16ToUTF32(broken); }), 1);
    EXPECT_EQ(allocationsOf([&] { (void)ZEBNS2::convertToUTF8(data); }), 1);
    expectCleanExhaustion(1, [&] { (void)ZEBNS2::UTF16ToUTF32(broken); });
}

TEST_F(TextExhaustion, ConversionsLeakNothing) {
    // Mostly characters of three bytes, so that the text outgrows the room it began with.
    std::u16string units(100'000, u'\x4E2D');
    Array<char> const data = arrayOf(zeb::test::bytesOf(u'\xFEFF' + units, BOM_UTF16_LE));
    Exhaustion const result = exhaust([&] { (void)ZEBNS2::convertToUTF8(data); });
    EXPECT_GE(result.refusals, 2);
    EXPECT_FALSE(result.leaked);
    expectCleanExhaustion(1, [&] { (void)ZEBNS2::regroupUTF16(data, BOM_UTF16_LE); });
    Exhaustion const replacing = exhaust(
        [&] { (void)ZEBNS2::search_replace(text, String(" "), String("a longer replacement")); });
    EXPECT_GE(replacing.refusals, 3);
    EXPECT_FALSE(replacing.leaked);
}

}  // namespace
