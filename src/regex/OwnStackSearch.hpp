#pragma once

#include <regex.h>

#include <cstddef>
#include <cstdint>

/// @file
/// Searches for expressions whose need of stack grows with the subject.

namespace ZEBNS2 {

/// Of the stack that grows with the subject so much is taken from the caller, who may be in a
/// thread of 64 KiB.
constexpr std::size_t CALLERS_STACK = std::size_t{16} * 1024;

/// Stack of a search that does not grow with the subject.
constexpr std::size_t FIXED_STACK = std::size_t{128} * 1024;

/// The largest stack: half of the addresses of a 32-bit process would be too much to ask.
constexpr std::size_t MAX_OWN_STACK =
    (sizeof(void*) == 4 ? std::size_t{256} : std::size_t{1024}) * 1024 * 1024;

/// `regexec` in the caller's thread, but on a stack of its own: more than the caller may have. The
/// kernel gives the memory as it is used. `errno` stays as it was.
/// @param stack bytes that the search may take
/// @return the code of `regexec`; REG_ESPACE when there is no such stack
int searchOnOwnStack(regex_t const& expression, char const* subject, std::size_t slotCount,
                     regmatch_t* slots, int flags, std::uint64_t stack) noexcept;

}  // namespace ZEBNS2
