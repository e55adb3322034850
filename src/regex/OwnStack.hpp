#pragma once

#include <cstddef>
#include <cstdint>

/// @file
/// Calls that need more stack than the caller may have.

namespace ZEBNS2 {

/// The largest stack: a 32-bit process must not lose half of its address space.
constexpr std::size_t MAX_OWN_STACK =
    (sizeof(void*) == 4 ? std::size_t{256} : std::size_t{1024}) * 1024 * 1024;

/// Calls `function(argument)` in the caller's thread, but on a separate stack with a guard page
/// below it. The kernel provides the memory as it is used. `errno` is that of the function.
/// @param stack bytes that the function may take
/// @return false when the stack cannot be allocated; then the function was not called, and `errno`
///   is unchanged
bool callOnOwnStack(std::uint64_t stack, void (*function)(void*) noexcept, void* argument) noexcept;

/// The same for a function object.
template <class Function>
bool callOnOwnStack(std::uint64_t stack, Function& function) noexcept {
    return callOnOwnStack(
        stack, [](void* argument) noexcept { (*static_cast<Function*>(argument))(); }, &function);
}

}  // namespace ZEBNS2
