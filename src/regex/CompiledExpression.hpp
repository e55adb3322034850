#pragma once

#include <regex.h>

#include <array>
#include <cstddef>
#include <string_view>

#include "matcher/LazyMatcher.hpp"
#include "pattern/RequiredLiteral.hpp"

/// @file
/// The one way to the C library's regular expressions.

namespace ZEBNS2 {

/// Compiles the bytes of `pattern` up to its NUL, unless the C library would not survive it: then
/// it is not asked, and the pattern counts as one that exhausts the memory.
/// @param flags flags of `regcomp`
/// @param recurses if not null, set to whether a search takes stack for each byte of its subject,
///   LibcLimits::LOOP_STACK_PER_BYTE
/// @return 0, or the code of the error; `compiled` must go to `regfree` only after 0
/// @throws std::bad_alloc
int compileExpression(regex_t& compiled, char const* pattern, int flags, bool* recurses = nullptr);

/// Room for the reason why a pattern does not compile, its NUL included.
using CompilationError = std::array<char, 1024>;

/// The C library's words for an error of `compileExpression`.
CompilationError compilationError(int code, regex_t const& compiled) noexcept;

/// A pattern made ready to be searched for.
///
/// A search asks whoever answers fastest first: does the subject hold the required literal; does
/// the matcher, once there is one, know the answer; then libc.
/// @par Thread safety any number of threads may search at once.
class CompiledExpression {
public:
    /// Longest subject in bytes: 1 GiB. libc's offsets are 32-bit integers and cannot be relied on
    /// near their limit.
    static constexpr std::size_t MAX_SUBJECT_LENGTH = std::size_t{1} << 30;

    /// @param pattern bytes up to its NUL
    /// @param flags flags of `regcomp`, without REG_NOSUB
    /// @throws std::bad_alloc
    CompiledExpression(char const* pattern, int flags);
    CompiledExpression(CompiledExpression const&) = delete;
    CompiledExpression& operator=(CompiledExpression const&) = delete;
    ~CompiledExpression();

    /// 0, or the code of the error: the pattern does not compile, and there is nothing to search.
    int error() const noexcept { return error_; }
    /// The C library's words for the error.
    CompilationError errorText() const noexcept { return compilationError(error_, expression_); }

    std::size_t groups() const noexcept { return expression_.re_nsub; }

    /// Whether there is a match in `subject`, which holds no NUL; if so, it is in the slots, up to
    /// the first that is negative.
    /// @param slotCount at least 1
    /// @param flags flags of `regexec`, without REG_STARTEND
    bool search(std::string_view subject, regmatch_t* slots, std::size_t slotCount,
                int flags) const noexcept;

private:
    /// @param start no match begins before this offset
    bool searchByLibc(std::string_view subject, std::size_t start, regmatch_t* slots,
                      std::size_t slotCount, int flags) const noexcept;

    int error_ = 0;
    RequiredLiteral literal_;
    LazyMatcher matcher_;
    bool recurses_ = false;  ///< libc's search takes LibcLimits::LOOP_STACK_PER_BYTE
    regex_t expression_{};
};

}  // namespace ZEBNS2
