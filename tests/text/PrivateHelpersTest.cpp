// The private helpers of the text operations.

#include "text/TextUnit.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>

namespace ZEBNS2::textunit {
namespace {

TEST(IndexOfSet, IsTheFirstByteThatOccursInTheSet) {
    EXPECT_EQ(indexOfSet("abc", "cb"), 1);
    EXPECT_EQ(indexOfSet("abc", "a"), 0);
    EXPECT_EQ(indexOfSet("abc", "c"), 2);
    EXPECT_EQ(indexOfSet("a\xFF", "\xFF"), 1);
    EXPECT_EQ(indexOfSet("abc", "xyz"), -1);
}

TEST(IndexOfSet, NothingIsFoundInOrOfEmptyAndNullTexts) {
    EXPECT_EQ(indexOfSet("", "a"), -1);
    EXPECT_EQ(indexOfSet("a", ""), -1);
    EXPECT_EQ(indexOfSet("", ""), -1);
    EXPECT_EQ(indexOfSet(nullptr, "a"), -1);
    EXPECT_EQ(indexOfSet("a", nullptr), -1);
    EXPECT_EQ(indexOfSet(nullptr, nullptr), -1);
}

TEST(QuotingSet, HoldsItsBytesInTheirOrder) {
    EXPECT_STREQ(QUOTING_SET, "\x20\x09\x0A\x0D\x0B\x0A\x22");
}

TEST(ToIndex, StaysAtTheGreatestIntBeyondIt) {
    EXPECT_EQ(toIndex(0), 0);
    EXPECT_EQ(toIndex(INT_MAX), INT_MAX);
    EXPECT_EQ(toIndex(std::size_t{INT_MAX} + 1), INT_MAX);
    EXPECT_EQ(toIndex(static_cast<std::size_t>(-1)), INT_MAX);
}

}  // namespace
}  // namespace ZEBNS2::textunit
