#pragma once

#include <regex.h>

#include <cstddef>
#include <string_view>

#include "LibcExpression.hpp"
#include "matcher/LazyMatcher.hpp"
#include "pattern/RequiredLiteral.hpp"

/// @file
/// The only way to search for a pattern.
///
/// A text is never copied to be searched: REG_STARTEND gives regexec the end of a subject, so a
/// line, or the rest of a line after a match, is matched in place. It also saves regexec from
/// measuring the subject, which would make replacing all matches of a line quadratic. As the flag
/// admits NUL bytes, callers cut subjects at their first NUL; otherwise a subject is treated like a
/// string of its own.

namespace ZEBNS2 {

/// A compiled pattern.
///
/// A search asks the fastest source first: whether the subject contains the required literal; then
/// the matcher, once there is one; then libc.
/// @par Thread safety any number of threads may search at once.
class CompiledExpression {
public:
    /// Longest subject in bytes: 1 GiB. libc's offsets are 32-bit integers and unreliable near
    /// their limit.
    static constexpr std::size_t MAX_SUBJECT_LENGTH = std::size_t{1} << 30;

    /// @param pattern bytes up to its NUL
    /// @param flags flags of `regcomp`, without REG_NOSUB
    /// @throws std::bad_alloc
    CompiledExpression(char const* pattern, int flags);

    /// 0, or the code of the error: the pattern does not compile, and there is nothing to search.
    int error() const noexcept { return libc_.error(); }
    /// The C library's message for the error.
    CompilationError errorText() const noexcept { return libc_.errorText(); }

    std::size_t groups() const noexcept { return libc_.groups(); }

    /// What every match contains.
    RequiredLiteral const& requiredLiteral() const noexcept { return literal_; }

    /// Whether there is a match in `subject`, which contains no NUL; if so, it is in the slots, up
    /// to the first that is negative.
    /// @param slotCount at least 1
    /// @param flags flags of `regexec`, without REG_STARTEND
    bool search(std::string_view subject, regmatch_t* slots, std::size_t slotCount,
                int flags) const noexcept;

private:
    LibcExpression libc_;  ///< first, because its guard limits what the others read
    RequiredLiteral literal_;
    LazyMatcher matcher_;
};

}  // namespace ZEBNS2
