#pragma once

#include <zeb/foundation/Export.hpp>

#include <cstddef>

/// @file
/// Not API: memory of strings and arrays. Reentrant. Only resizing takes more than constant time:
/// it may copy or move the whole block.
///
/// Blocks come from `malloc`, not from `operator new`, because growing a large block with `realloc`
/// moves its pages instead of copying their bytes: a text of 100 MB that is built piece by piece
/// never exists twice.

namespace zeb::foundation::detail {

/// @param size bytes, at least 1
/// @return a block of `size` bytes, aligned for every fundamental type; never null
/// @throws std::bad_alloc when memory is exhausted or `size` exceeds `PTRDIFF_MAX`
[[nodiscard]] ZEB_EXPORT void* allocateBlock(std::size_t size);

/// Changes the size of `block`, which may be null, to `size` bytes, at least 1; the bytes that fit
/// both sizes are kept. On an exception `block` is unchanged.
/// @throws std::bad_alloc as `allocateBlock` does
[[nodiscard]] ZEB_EXPORT void* resizeBlock(void* block, std::size_t size);

/// Frees `block`; null is allowed.
ZEB_EXPORT void freeBlock(void* block) noexcept;

[[noreturn]] ZEB_EXPORT void throwBadAlloc();

/// @return the size of a block with a header of `header` bytes and `count` elements of
///   `elementSize` bytes
/// @throws std::bad_alloc when that number cannot be represented
[[nodiscard]] inline std::size_t blockSize(std::size_t header, std::size_t count,
                                           std::size_t elementSize) {
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(count, elementSize, &bytes) ||
        __builtin_add_overflow(bytes, header, &bytes)) {
        throwBadAlloc();
    }
    return bytes;
}

/// @return the next capacity of a block that has room for `capacity` elements and needs room for
/// `needed`: twice `capacity`, or `needed` when that is more, so that appending element by element
/// costs linear time
[[nodiscard]] inline std::size_t grownCapacity(std::size_t capacity, std::size_t needed) noexcept {
    std::size_t const doubled = capacity > static_cast<std::size_t>(-1) / 2 ? needed : capacity * 2;
    return doubled < needed ? needed : doubled;
}

}  // namespace zeb::foundation::detail
