#pragma once

#include <regex.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "matcher/LibcAtoms.hpp"
#include "pattern/LibcCost.hpp"

/// @file
/// The one way to the C library's regular expressions.

namespace ZEBNS2 {

/// Compiles the bytes of `pattern` up to its NUL, unless the C library would not survive it: then
/// it is not asked, and the pattern counts as one that exhausts the memory.
/// @param flags flags of `regcomp`
/// @param needs set to what the pattern asks of the C library
/// @return 0, or the code of the error; `compiled` must go to `regfree` only after 0
/// @throws std::bad_alloc
int compileExpression(regex_t& compiled, char const* pattern, int flags, LibcNeeds& needs);

/// Room for the reason why a pattern does not compile, its NUL included.
using CompilationError = std::array<char, 1024>;

/// The C library's words for an error of `compileExpression`.
CompilationError compilationError(int code, regex_t const& compiled) noexcept;

/// A pattern that the C library has compiled, and compiles again when what it keeps has to go.
/// @par Thread safety any number of threads may search at once; they wait for each other, as they
///   would in regexec.
class LibcExpression {
public:
    /// Bytes of states that may stay with an expression, as far as they can be estimated. With more
    /// it is compiled again, unless it was compiled a moment ago.
    static constexpr std::uint64_t MEMORY_BUDGET = std::uint64_t{64} * 1024 * 1024;

    /// @param pattern bytes up to its NUL
    /// @param flags flags of `regcomp`, without REG_NOSUB
    /// @throws std::bad_alloc
    LibcExpression(char const* pattern, int flags);
    LibcExpression(LibcExpression const&) = delete;
    LibcExpression& operator=(LibcExpression const&) = delete;
    ~LibcExpression();

    /// 0, or the code of the error: the pattern does not compile, and there is nothing to search.
    int error() const noexcept { return error_; }
    CompilationError errorText() const noexcept { return compilationError(error_, expression_); }

    std::size_t groups() const noexcept { return groups_; }

    /// Whether there is a match in `subject`; if so, it is in the slots. `errno` is unchanged.
    /// @param start no match begins before this offset
    /// @param slotCount at least 1
    /// @param flags flags of `regexec`, without REG_STARTEND
    bool search(std::string_view subject, std::size_t start, regmatch_t* slots,
                std::size_t slotCount, int flags) const noexcept;

private:
    using Clock = std::chrono::steady_clock;

    int compile() const;
    bool compileAgain() const noexcept;
    int ask(std::string_view subject, std::size_t slotCount, regmatch_t* slots,
            int flags) const noexcept;
    void giveUp() const noexcept;
    void keepToBudget(std::size_t searched) const noexcept;

    std::string pattern_;
    int flags_;
    LocaleMark locale_ = LocaleMark::current();

    mutable std::mutex mutex_;  ///< for what follows, up to what the constructor knows
    mutable regex_t expression_{};
    mutable bool isReady_ = false;  ///< expression_ is compiled and sound
    mutable LibcNeeds needs_;
    mutable std::uint64_t kept_ = 0;  ///< bytes of states, at most, since it was compiled
    mutable Clock::time_point compiledAt_;
    mutable Clock::duration compilation_{};

    int error_;
    std::size_t groups_;
};

}  // namespace ZEBNS2
