#include <zeb/foundation/Memory.hpp>

#include <malloc.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace zeb::foundation::detail {

namespace {

constexpr std::size_t PAGE = 4096;
constexpr std::size_t HUGE_PAGE = std::size_t{2} << 20;

/// Blocks of this size and above are asked for in huge pages. Half a page is wasted on average at
/// the end of a block, an eighth of the smallest.
constexpr std::size_t LARGE = 4 * HUGE_PAGE;

/// What libc puts around a block that it maps: with a size of some huge pages less these bytes the
/// mapping has just these pages, which is the condition for the kernel to align it to them.
constexpr std::size_t MAPPING_OVERHEAD = 64;

/// Asks the kernel for huge pages for a block that libc has mapped for it alone. That is advice:
/// the administrator's setting decides, and where it is "never" nothing happens.
void adviseHugePages(void* block) noexcept {
    auto const address = reinterpret_cast<std::uintptr_t>(block);
    std::uintptr_t const start = address & ~(PAGE - 1);
    std::size_t const length = address - start + ::malloc_usable_size(block);
    // A mapped block fills its pages. One in the heap does so by chance at most, and no harm.
    if (length % PAGE != 0) {
        return;
    }
    // All of the mapping, since libc moves it as one when it grows, which needs one kind of pages.
    int const saved = errno;
    (void)::madvise(reinterpret_cast<void*>(start), length, MADV_HUGEPAGE);
    errno = saved;
}

/// Resizes a block to `size` bytes, at least `LARGE`; apart, so that smaller ones pay nothing.
[[gnu::noinline]] void* resizeLargeBlock(void* block, std::size_t size) {
    // Larger blocks would make pointer differences inside them undefined.
    if (size > static_cast<std::size_t>(PTRDIFF_MAX)) {
        throwBadAlloc();
    }
    // No sum here wraps around: `size` is at most half of what its type holds.
    std::size_t const pages = (size + MAPPING_OVERHEAD + HUGE_PAGE - 1) / HUGE_PAGE;
    void* const resized = std::realloc(block, pages * HUGE_PAGE - MAPPING_OVERHEAD);
    if (resized == nullptr) {
        throwBadAlloc();
    }
    adviseHugePages(resized);
    return resized;
}

}  // namespace

void throwBadAlloc() { throw std::bad_alloc(); }

void* allocateBlock(std::size_t size) { return resizeBlock(nullptr, size); }

void* resizeBlock(void* block, std::size_t size) {
    if (size >= LARGE) {
        return resizeLargeBlock(block, size);
    }
    void* const resized = std::realloc(block, size);
    if (resized == nullptr) {
        throwBadAlloc();
    }
    return resized;
}

void freeBlock(void* block) noexcept { std::free(block); }

}  // namespace zeb::foundation::detail
