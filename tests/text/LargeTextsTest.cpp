// Texts whose offsets exceed 32 bits.

#include <OrventoTextOperations.hpp>

#include <zeb/foundation/StringBuffer.hpp>

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <new>
#include <string_view>

namespace {

using zeb::foundation::StringBuffer;
using ZEBNS2::String;

class LargeTexts : public testing::Test {
protected:
    void SetUp() override {
        if (sizeof(std::size_t) == 4) {
            GTEST_SKIP() << "no text is that large on this machine";
        }
        try {
            (void)textOf(std::size_t{UINT_MAX} + 2, "");
        } catch (std::bad_alloc const&) {
            GTEST_SKIP() << "this machine has not enough memory";
        }
    }

    /// A text of `blank` NUL bytes, in pages that the system need not provide, and `end`.
    static String textOf(std::size_t blank, std::string_view end) {
        StringBuffer text;
        (void)text.prepare(blank + end.size());
        text.commit(blank);
        text.append(end);
        return text.releaseString();
    }
};

TEST_F(LargeTexts, QuoteBeyondTheOffsetsOfUnsignedIntCountsAsNone) {
    std::size_t const beyond = std::size_t{UINT_MAX} - 1;
    unsigned int end = 77;
    String const text = textOf(beyond, "\"\"\"");  // at UINT_MAX - 1, UINT_MAX, UINT_MAX + 1
    EXPECT_EQ(ZEBNS2::find_first_quoted_string(text, end, UINT_MAX - 1), "");
    EXPECT_EQ(end, UINT_MAX);
    end = 77;
    EXPECT_EQ(ZEBNS2::find_first_quoted_string(text, end, UINT_MAX), "");
    EXPECT_EQ(end, 77U);
    // Functions without 32-bit offsets work beyond it.
    EXPECT_EQ(ZEBNS2::substringAfter(text, '"'), "\"\"");
    EXPECT_EQ(ZEBNS2::substringAfterLast(text, "\"\""), "");
}

TEST_F(LargeTexts, DifferenceBeyondTheOffsetsOfIntIsToldAsTheGreatestInt) {
    String const a = textOf(INT_MAX, "ab");
    String const b = textOf(INT_MAX, "ac");
    EXPECT_EQ(ZEBNS2::non_matching_index(a, b), INT_MAX);
}

}  // namespace
