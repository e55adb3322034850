#pragma once

#include <cerrno>
#include <cstddef>
#include <new>

/// @file
/// The test program's own malloc, which counts and fails on demand. Everything in the process uses
/// it, including operator new and C libraries. Include it in one source of a program, but not with
/// the sanitizers, which have a malloc of their own.

namespace zeb::test {

inline constexpr long UNLIMITED = -1;

/// Allocations that still succeed, or UNLIMITED. For programs with one thread.
inline long allocationsLeft = UNLIMITED;
/// Whether only one allocation fails; otherwise all later ones fail too.
inline bool failsOnce = false;
/// Whether counting and refusing allocations is suspended.
inline bool sparesAllocations = false;
inline long allocationsMade = 0;
inline long allocationsRefused = 0;
inline long blocksInUse = 0;

namespace detail {

inline bool mayAllocate() {
    if (sparesAllocations) {
        return true;
    }
    if (allocationsLeft == 0) {
        ++allocationsRefused;
        allocationsLeft = failsOnce ? UNLIMITED : 0;
        errno = ENOMEM;
        return false;
    }
    if (allocationsLeft != UNLIMITED) {
        --allocationsLeft;
    }
    ++allocationsMade;
    return true;
}

inline void* counted(void* block) {
    blocksInUse += block == nullptr ? 0 : 1;
    return block;
}

}  // namespace detail

/// The result of an action that got ever more memory until it succeeded.
struct Exhaustion {
    long refusals;  ///< how often it failed for lack of memory
    bool leaked;    ///< whether a failure or the success leaked blocks
};

/// Runs `action` with 0, 1, 2, ... allocations until it does not throw std::bad_alloc.
template <typename Action>
Exhaustion exhaust(Action action) {
    Exhaustion result{0, false};
    for (;; ++result.refusals) {
        long const before = blocksInUse;
        allocationsLeft = result.refusals;
        bool refused = false;
        try {
            action();
        } catch (std::bad_alloc const&) {
            refused = true;
        }
        allocationsLeft = UNLIMITED;
        result.leaked = result.leaked || blocksInUse != before;
        if (!refused) {
            return result;
        }
    }
}

}  // namespace zeb::test

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) {
    return zeb::test::detail::mayAllocate() ? zeb::test::detail::counted(__libc_malloc(size))
                                            : nullptr;
}
void* calloc(std::size_t count, std::size_t size) {
    return zeb::test::detail::mayAllocate() ? zeb::test::detail::counted(__libc_calloc(count, size))
                                            : nullptr;
}
void* realloc(void* block, std::size_t size) {
    if (!zeb::test::detail::mayAllocate()) {
        return nullptr;
    }
    void* const moved = __libc_realloc(block, size);
    return block == nullptr ? zeb::test::detail::counted(moved) : moved;
}
void free(void* block) {
    zeb::test::blocksInUse -= block == nullptr ? 0 : 1;
    __libc_free(block);
}
}
