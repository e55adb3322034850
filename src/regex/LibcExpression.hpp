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
/// The only way in which a caller's pattern reaches the C library. LibcAtoms compiles single atoms.
///
/// libc keeps each state of its automaton that a search has reached, and does not report exhausted
/// memory: regexec then reports "no match", sometimes a match whose end is an error code, and
/// leaves half-built states. Later searches of the same expression crash on them or miss matches.
///
/// Both problems have one remedy: the expression is compiled again. Searches of one expression wait
/// for each other inside regexec anyway, so they wait for a mutex here, and its owner may replace
/// the compiled expression. It is replaced in two cases:
/// - malloc sets errno to ENOMEM. An expression whose search leaves that, or a match outside its
///   subject, is discarded at once and compiled before its next search.
/// - A state takes its table of transitions and its nodes. No search makes more states than it
///   reads bytes; when that bound exceeds the budget, the time since the compilation shows whether
///   there were so many: a new state takes libc microseconds, a known one nanoseconds.

namespace ZEBNS2 {

/// Compiles the bytes of `pattern` up to its NUL. If the C library would not survive it, or needs a
/// stack of its own that cannot be allocated, it is not called, and the pattern is reported as
/// exhausting the memory.
/// @param flags flags of `regcomp`
/// @param needs set to the resources that the C library needs
/// @return 0, or the code of the error; `compiled` must go to `regfree` only after 0
/// @throws std::bad_alloc
int compileExpression(regex_t& compiled, char const* pattern, int flags, LibcNeeds& needs);

/// Room for the reason why a pattern does not compile, its NUL included.
using CompilationError = std::array<char, 1024>;

/// The C library's message for an error of `compileExpression`.
CompilationError compilationError(int code, regex_t const& compiled) noexcept;

/// A pattern compiled by the C library, and compiled again when the states it keeps must be freed.
/// @par Thread safety any number of threads may search at once; they wait for each other, as they
///   would in regexec.
class LibcExpression {
public:
    /// Estimated bytes of states that an expression may keep. Beyond that it is compiled again,
    /// unless it was compiled a moment ago.
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

    mutable std::mutex mutex_;  ///< guards the members below, except those set by the constructor
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
