#pragma once

#include <regex.h>

#include <array>

#include "pattern/LibcCost.hpp"

/// @file
/// The one way to the C library's compiler of regular expressions.

namespace ZEBNS2 {

/// Compiles the bytes of `pattern` up to its NUL, unless the C library would not survive it: then
/// it is not asked, and the pattern counts as one that exhausts the memory.
/// @param flags flags of `regcomp`
/// @param recurses if not null, set to whether a search takes stack for each byte of its subject,
///   LibcLimits::LOOP_STACK_PER_BYTE
/// @return 0, or the code of the error; `compiled` must go to `regfree` only after 0
/// @throws std::bad_alloc
inline int compileExpression(regex_t& compiled, char const* pattern, int flags,
                             bool* recurses = nullptr) {
    PatternSyntax const syntax =
        (flags & REG_EXTENDED) != 0 ? PatternSyntax::EXTENDED : PatternSyntax::BASIC;
    if (patternHazard(pattern, syntax, recurses) != PatternHazard::NONE) {
        return REG_ESPACE;
    }
    return ::regcomp(&compiled, pattern, flags);
}

/// Room for the reason why a pattern does not compile, its NUL included.
using CompilationError = std::array<char, 1024>;

/// The C library's words for an error of `compileExpression`.
inline CompilationError compilationError(int code, regex_t const& compiled) noexcept {
    CompilationError text{};
    ::regerror(code, &compiled, text.data(), text.size());
    return text;
}

}  // namespace ZEBNS2
