#include <OrventoTextOperations.hpp>

#include <gtest/gtest.h>

#include <climits>
#include <new>
#include <string>
#include <string_view>

namespace {

using namespace std::string_view_literals;
using ZEBNS2::centerText;
using ZEBNS2::leftText;
using ZEBNS2::rightText;
using ZEBNS2::String;

TEST(Layout, PadsToTheWidth) {
    EXPECT_EQ(leftText("ab", 5, '.'), "ab...");
    EXPECT_EQ(rightText("ab", 5, '.'), "...ab");
    EXPECT_EQ(centerText("ab", 5, '.'), ".ab..");
    EXPECT_EQ(centerText("ab", 3, '.'), "ab.");  // an odd one more goes to the right
    EXPECT_EQ(centerText("", 4, '*'), "****");
    EXPECT_EQ(leftText("", 4, '*'), "****");
    EXPECT_EQ(rightText("", 1, '*'), "*");
}

TEST(Layout, NeverCuts) {
    for (unsigned int const width : {0U, 1U, 3U, 5U, 6U}) {
        SCOPED_TRACE(width);
        EXPECT_EQ(leftText("abcdef", width, '.'), "abcdef");
        EXPECT_EQ(rightText("abcdef", width, '.'), "abcdef");
        EXPECT_EQ(centerText("abcdef", width, '.'), "abcdef");
    }
    EXPECT_EQ(centerText("", 0, '.'), "");
}

TEST(Layout, CountsBytesAndFillsWithAnyByte) {
    EXPECT_EQ(leftText("\xC3\xA4", 3, '-'), "\xC3\xA4-");  // one character, two bytes
    EXPECT_EQ(rightText(String("\0"sv), 3, '\0'), "\0\0\0"sv);
    EXPECT_EQ(centerText("a", 3, '\xFF'),
              "\xFF"
              "a\xFF");
}

TEST(Layout, AgreesWithTheRuleForAllSmallWidths) {
    for (std::size_t length = 0; length < 20; ++length) {
        std::string const text(length, 'x');
        for (unsigned int width = 0; width < 200; ++width) {
            std::size_t const total = width > length ? width - length : 0;
            ASSERT_EQ(leftText(text, width, ' '), text + std::string(total, ' '));
            ASSERT_EQ(rightText(text, width, ' '), std::string(total, ' ') + text);
            ASSERT_EQ(centerText(text, width, ' '),
                      std::string(total / 2, ' ') + text + std::string(total - total / 2, ' '))
                << length << ' ' << width;
        }
    }
}

TEST(Layout, WidthBeyondTheAddressSpaceRunsOutOfMemory) {
    if (sizeof(std::size_t) > sizeof(unsigned int)) {
        GTEST_SKIP() << "every width can be had on this machine";
    }
    EXPECT_THROW((void)leftText("a", UINT_MAX, ' '), std::bad_alloc);
    EXPECT_THROW((void)rightText("a", UINT_MAX, ' '), std::bad_alloc);
    EXPECT_THROW((void)centerText("a", UINT_MAX, ' '), std::bad_alloc);
    EXPECT_THROW((void)centerText("a", UINT_MAX / 2 + 1, ' '), std::bad_alloc);
}

}  // namespace
