#include <zeb/foundation/Memory.hpp>
#include <zeb/foundation/String.hpp>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

namespace {

namespace detail = zeb::foundation::detail;
using zeb::foundation::String;

constexpr std::size_t MOST = static_cast<std::size_t>(-1);

TEST(MemoryBlock, IsAlignedWritableAndGrowsWithItsBytes) {
    auto* block = static_cast<char*>(detail::allocateBlock(3));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t), 0u);
    std::memcpy(block, "abc", 3);
    block = static_cast<char*>(detail::resizeBlock(block, 100000));
    EXPECT_EQ(std::memcmp(block, "abc", 3), 0);
    block = static_cast<char*>(detail::resizeBlock(block, 2));
    EXPECT_EQ(std::memcmp(block, "ab", 2), 0);
    detail::freeBlock(block);
    detail::freeBlock(nullptr);
    void* const fresh = detail::resizeBlock(nullptr, 8);
    EXPECT_NE(fresh, nullptr);
    detail::freeBlock(fresh);
}

TEST(MemoryBlock, BeyondTheLargestDifferenceIsRefused) {
    EXPECT_THROW((void)detail::allocateBlock(static_cast<std::size_t>(PTRDIFF_MAX) + 1),
                 std::bad_alloc);
    EXPECT_THROW((void)detail::allocateBlock(MOST), std::bad_alloc);
    auto* const block = static_cast<char*>(detail::allocateBlock(3));
    std::memcpy(block, "abc", 3);
    EXPECT_THROW((void)detail::resizeBlock(block, MOST), std::bad_alloc);
    EXPECT_EQ(std::memcmp(block, "abc", 3), 0);
    detail::freeBlock(block);
}

TEST(MemorySize, OfABlockIsCheckedForOverflow) {
    EXPECT_EQ(detail::blockSize(16, 3, 8), 40u);
    EXPECT_EQ(detail::blockSize(0, 0, 8), 0u);
    EXPECT_EQ(detail::blockSize(0, MOST, 1), MOST);
    EXPECT_EQ(detail::blockSize(MOST, 0, 8), MOST);
    EXPECT_THROW((void)detail::blockSize(1, MOST, 1), std::bad_alloc);
    EXPECT_THROW((void)detail::blockSize(MOST, 1, 1), std::bad_alloc);
    EXPECT_THROW((void)detail::blockSize(0, MOST / 2 + 1, 2), std::bad_alloc);
    EXPECT_EQ(detail::blockSize(0, MOST / 2, 2), MOST - 1);
}

TEST(MemoryGrowth, DoublesOrTakesWhatIsNeeded) {
    EXPECT_EQ(detail::grownCapacity(0, 1), 1u);
    EXPECT_EQ(detail::grownCapacity(10, 11), 20u);
    EXPECT_EQ(detail::grownCapacity(10, 20), 20u);
    EXPECT_EQ(detail::grownCapacity(10, 21), 21u);
    EXPECT_EQ(detail::grownCapacity(MOST / 2, MOST / 2 + 1), MOST - 1);
    EXPECT_EQ(detail::grownCapacity(MOST / 2 + 1, MOST / 2 + 2), MOST / 2 + 2);
}

TEST(MemoryExhausted, LeavesAStringUnchanged) {
    EXPECT_THROW(String("a", MOST), std::bad_alloc);
    EXPECT_THROW(String("a", MOST / 2), std::bad_alloc);
    String text("abc");
    // A view of an impossible length: refused before a byte of it is read.
    EXPECT_THROW(text += std::string_view("x", MOST), std::bad_alloc);
    EXPECT_THROW(text += std::string_view("x", MOST / 2), std::bad_alloc);
    EXPECT_EQ(text, "abc");
}

}  // namespace
