#include <zeb/foundation/Memory.hpp>

#include <cstdint>
#include <cstdlib>
#include <new>

namespace zeb::foundation::detail {

void throwBadAlloc() { throw std::bad_alloc(); }

void* allocateBlock(std::size_t size) { return resizeBlock(nullptr, size); }

void* resizeBlock(void* block, std::size_t size) {
    // Larger blocks would make pointer differences inside them undefined.
    if (size > static_cast<std::size_t>(PTRDIFF_MAX)) {
        throwBadAlloc();
    }
    void* const resized = std::realloc(block, size);
    if (resized == nullptr) {
        throwBadAlloc();
    }
    return resized;
}

void freeBlock(void* block) noexcept { std::free(block); }

}  // namespace zeb::foundation::detail
