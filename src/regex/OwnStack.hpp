#pragma once

#include <cstddef>
#include <cstdint>

/// @file
/// Calls that need more stack than the caller may have.

namespace ZEBNS2 {

/// The largest stack: half of the addresses of a 32-bit process would be too much to ask.
constexpr std::size_t MAX_OWN_STACK =
    (sizeof(void*) == 4 ? std::size_t{256} : std::size_t{1024}) * 1024 * 1024;

/// Calls `function(argument)` in the caller's thread, but on a stack of its own, with a page below
/// it that nobody may touch. The kernel gives the memory as it is used. `errno` is what the
/// function leaves.
/// @param stack bytes that the function may take
/// @return false when there is no such stack; then the function was not called, and `errno` is
///   unchanged
bool callOnOwnStack(std::uint64_t stack, void (*function)(void*) noexcept, void* argument) noexcept;

/// The same for a function object.
template <class Function>
bool callOnOwnStack(std::uint64_t stack, Function& function) noexcept {
    return callOnOwnStack(
        stack, [](void* argument) noexcept { (*static_cast<Function*>(argument))(); }, &function);
}

}  // namespace ZEBNS2
