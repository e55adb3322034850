#include <zeb/foundation/Memory.hpp>
#include <zeb/foundation/String.hpp>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <new>
#include <string>

#include "Sanitized.hpp"

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

// From 8 MiB on a block requests huge pages, which may change only the time.
TEST(MemoryBlock, KeepsItsBytesOnTheWayToLargePagesAndBack) {
    constexpr std::size_t MIB = std::size_t{1} << 20;
    constexpr std::size_t SIZES[] = {1,           MIB,          8 * MIB - 65, 8 * MIB - 64,
                                     8 * MIB - 1, 8 * MIB,      8 * MIB + 1,  10 * MIB - 64,
                                     10 * MIB,    40 * MIB + 5, 9 * MIB,      100};
    errno = ENOTTY;
    char* block = nullptr;
    std::size_t kept = 0;
    for (std::size_t const size : SIZES) {
        block = static_cast<char*>(detail::resizeBlock(block, size));
        EXPECT_EQ(errno, ENOTTY);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t), 0u);
        for (std::size_t i = 0; i < kept && i < size; i += i < 4096 ? 1 : 4093) {
            ASSERT_EQ(block[i], static_cast<char>(i * 7)) << size << ' ' << i;
        }
        for (std::size_t i = 0; i < size; ++i) {
            block[i] = static_cast<char>(i * 7);
        }
        kept = size;
    }
    detail::freeBlock(block);
}

/// Kilobytes of the mapping that contains `block`, by a line of /proc/self/smaps; `flags` gets
/// those of the mapping.
std::size_t mappingLine(void const* block, std::string const& name, std::string& flags) {
    std::ifstream maps("/proc/self/smaps");
    std::size_t kilobytes = 0;
    bool inside = false;
    for (std::string line; std::getline(maps, line);) {
        unsigned long start = 0;
        unsigned long end = 0;
        if (std::sscanf(line.c_str(), "%lx-%lx ", &start, &end) == 2) {
            auto const address = reinterpret_cast<unsigned long>(block);
            inside = start <= address && address < end;
        } else if (inside && line.compare(0, name.size(), name) == 0) {
            kilobytes = std::stoul(line.substr(name.size()));
        } else if (inside && line.compare(0, 8, "VmFlags:") == 0) {
            flags = line + ' ';
        }
    }
    return kilobytes;
}

TEST(MemoryBlock, IsAskedForInHugePagesFromEightMebibytesOn) {
    constexpr std::size_t MIB = std::size_t{1} << 20;
    constexpr char HUGE_WANTED[] = " hg ";
    std::string setting;
    std::getline(std::ifstream("/sys/kernel/mm/transparent_hugepage/enabled"), setting);
    if (setting.empty() || zeb::test::SANITIZED) {
        GTEST_SKIP() << "this kernel has no huge pages of this kind";
    }
    std::string flags;
    // Blocks of the greatest size that libc may learn to keep, and above, are mapped each time.
    auto* const block = static_cast<char*>(detail::allocateBlock(64 * MIB));
    std::memset(block, 1, 64 * MIB);
    std::size_t const huge = mappingLine(block + 32 * MIB, "AnonHugePages:", flags);
    EXPECT_NE(flags.find(HUGE_WANTED), std::string::npos) << flags;
    if (setting.find("[never]") != std::string::npos) {
        EXPECT_EQ(huge, 0u);
    } else {
        EXPECT_LE(huge, 66 * 1024u);  // one page more than it needs, at most
    }
    // It is one mapping still, which libc can move, and the pages that come are of the same kind.
    auto* const grown = static_cast<char*>(detail::resizeBlock(block, 100 * MIB));
    (void)mappingLine(grown + 99 * MIB, "AnonHugePages:", flags);
    EXPECT_NE(flags.find(HUGE_WANTED), std::string::npos) << flags;
    EXPECT_EQ(grown[64 * MIB - 1], 1);
    detail::freeBlock(grown);

    void* const small = detail::allocateBlock(7 * MIB);
    flags = " none ";
    (void)mappingLine(small, "AnonHugePages:", flags);
    EXPECT_EQ(flags.find(HUGE_WANTED), std::string::npos) << flags;
    detail::freeBlock(small);
}

TEST(MemoryBlock, InHugePagesIsCopiedIntoAForkedChild) {
    constexpr std::size_t SIZE = std::size_t{20} << 20;
    auto* const block = static_cast<char*>(detail::allocateBlock(SIZE));
    std::memset(block, 1, SIZE);
    pid_t const child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        bool const same = block[0] == 1 && block[SIZE - 1] == 1;
        std::memset(block, 2, SIZE);
        ::_exit(same && block[SIZE / 2] == 2 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(block[0], 1);
    EXPECT_EQ(block[SIZE - 1], 1);
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
