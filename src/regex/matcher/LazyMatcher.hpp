#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "LibcAtoms.hpp"
#include "Matcher.hpp"

/// @file
/// A matcher that is built when it pays.

namespace ZEBNS2 {

/// Building a matcher takes as long as libc needs for a few hundred lines, so an expression that is
/// used once has none. The search that brings the total of subjects to WORTHWHILE bytes builds it;
/// searches of other threads continue meanwhile without it. When memory is exhausted, it is tried
/// again after as many bytes.
/// @par Thread safety any number of threads may ask at once; none waits.
class LazyMatcher {
public:
    /// Bytes of subjects after which a matcher is built. Each search counts SEARCH more.
    static constexpr std::int32_t WORTHWHILE = 2048;
    static constexpr std::int32_t SEARCH = 64;

    enum class Making { NEVER, WHEN_IT_PAYS, AT_ONCE };

    /// @param pattern bytes up to its NUL, which regcomp has accepted in the current locale
    /// @param flags flags of regcomp
    /// @param literal text that every match contains; must outlive the object
    /// @throws std::bad_alloc
    LazyMatcher(std::string_view pattern, int flags, std::string_view literal)
        : pattern_(pattern),
          flags_(flags),
          literal_(literal),
          credit_(making() == Making::AT_ONCE ? 0 : WORTHWHILE),
          closed_(making() == Making::NEVER) {}
    LazyMatcher(LazyMatcher const&) = delete;
    LazyMatcher& operator=(LazyMatcher const&) = delete;
    ~LazyMatcher();

    /// The matcher, null while there is none.
    /// @param length of the subject to be searched
    Matcher const* get(std::size_t length) const noexcept {
        Matcher const* const matcher = matcher_.load(std::memory_order_acquire);
        return matcher != nullptr || closed_.load(std::memory_order_relaxed) ? matcher
                                                                             : count(length);
    }

    /// For tests: when expressions that are compiled from now on get their matchers.
    static void setMaking(Making making) noexcept;

private:
    static Making making() noexcept;
    Matcher const* count(std::size_t length) const noexcept;
    Matcher const* make() const noexcept;

    std::string pattern_;
    int flags_;
    std::string_view literal_;
    LocaleMark locale_ = LocaleMark::current();
    mutable std::atomic<Matcher const*> matcher_{nullptr};
    /// Bytes still to be searched. It may count searches of several threads as one.
    mutable std::atomic<std::int32_t> credit_;
    mutable std::atomic<bool> closed_;  ///< one is being built, or there is none for this pattern
};

}  // namespace ZEBNS2
