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

/// Blocks of this size and above request huge pages. On average half a page is wasted at the end of
/// a block, an eighth of the smallest.
constexpr std::size_t LARGE = 4 * HUGE_PAGE;

/// The bytes that libc adds to a mapped block: a block of n huge pages minus these bytes makes a
/// mapping of exactly n huge pages, which the kernel aligns to them.
constexpr std::size_t MAPPING_OVERHEAD = 64;

/// Requests huge pages for a block that has its own mapping. This is advice: the administrator's
/// setting decides, and with "never" nothing happens.
void adviseHugePages(void* block) noexcept {
    auto const address = reinterpret_cast<std::uintptr_t>(block);
    std::uintptr_t const start = address & ~(PAGE - 1);
    std::size_t const length = address - start + ::malloc_usable_size(block);
    // A mapped block fills its pages. A heap block does so only by chance, which is harmless.
    if (length % PAGE != 0) {
        return;
    }
    // The whole mapping, since libc moves it as one when it grows, which needs one page size.
    int const saved = errno;
    (void)::madvise(reinterpret_cast<void*>(start), length, MADV_HUGEPAGE);
    errno = saved;
}

/// Resizes a block to `size` bytes, at least `LARGE`; a separate function, so that smaller blocks
/// do not pay for it.
[[gnu::noinline]] void* resizeLargeBlock(void* block, std::size_t size) {
    // Larger blocks would make pointer differences inside them undefined.
    if (size > static_cast<std::size_t>(PTRDIFF_MAX)) {
        throwBadAlloc();
    }
    // No sum here wraps around: `size` is at most half the range of its type.
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
