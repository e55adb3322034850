#pragma once

#include <regex.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

#include "Automaton.hpp"
#include "BeforeLiteral.hpp"
#include "Groups.hpp"
#include "LibcAtoms.hpp"
#include "Positions.hpp"
#include "PreferredGroups.hpp"

/// @file
/// The matcher: searches without libc, with libc's answers.
///
/// regexec is slow when it finds groups, quadratic when a search fails, and takes a lock. A matcher
/// is built once for a pattern, one file for each step:
///
///     SyntaxTree, LibcAtoms   the pattern as a tree, and the bytes that each atom takes
///     Positions               its atoms as positions, with edges to those that can follow
///     Subsets, Automaton      sets of positions as states, which find the span of a match
///     Groups                  the way through the states, if there is only one
///     PreferredGroups         the way that glibc prefers, if there are several
///     Threads                 all starts at once, where the automaton would be quadratic
///     BeforeLiteral           where a match can start, by the literal that it contains
///
/// For "([a-z]+)=([0-9]*)" on "x ab=7": the automaton fails from x at the blank, then runs from a
/// to the end, so the span is 2 to 6; Groups follows the recorded states backwards from 6 and finds
/// the groups 5 to 6 and 2 to 4.
///
/// Invariant: each answer is regexec's; what is not certain is ASK_LIBC or ASK_GROUPS. Cost: linear
/// in the subject, without memory or lock.

namespace ZEBNS2 {

/// A pattern with everything that a search needs. What makes its answers equal to libc's:
/// - The span. Without back-references, word anchors, and anchors elsewhere than at the ends, it is
///   the leftmost match and the longest of these, for libc just as for the automaton.
/// - The groups. An unambiguous pattern leaves no choice; for others glibc's order of preference
///   decides, as far as it is known. The rest is left to libc.
/// - The characters. libc itself is queried for what each atom takes. In UTF-8 it is queried about
///   ASCII only, and searches itself when the automaton meets anything else. With REG_ICASE the
///   whole subject must be ASCII there: libc can miss a match after a character whose other case
///   has another length.
class Matcher {
public:
    enum class Answer {
        NO_MATCH,
        MATCH,      ///< the slots are written
        ASK_LIBC,   ///< unknown
        ASK_GROUPS  ///< there is a match, and the first slot is written; libc knows the groups
    };

    /// @param pattern up to its NUL
    /// @param flags flags of regcomp
    /// @param literal ASCII text that every match contains; may be empty
    /// @return null when the pattern is not handled
    /// @throws std::bad_alloc
    static std::unique_ptr<Matcher const> of(std::string_view pattern, int flags,
                                             std::string_view literal = {});

    /// Like regexec with REG_STARTEND.
    /// @param subject without NUL, at most 1 GiB
    /// @param slots at least one
    /// @param flags REG_NOTBOL or nothing
    /// @param literalAt offset of the first occurrence of the literal, 0 when it was not searched
    Answer search(std::string_view subject, regmatch_t* slots, std::size_t slotCount, int flags,
                  std::size_t literalAt = 0) const noexcept;

    /// An offset before which no match starts.
    /// @param literalAt as for `search`
    std::size_t firstStart(std::string_view subject, std::size_t literalAt) const noexcept {
        return beforeLiteral_.start(subject, literalAt);
    }

    /// Whether it knows the groups.
    bool hasGroups() const noexcept { return !hasTags_ || groups_ || preferredGroups_; }
    bool isUnambiguous() const noexcept { return groups_.has_value(); }
    Automaton const& automaton() const noexcept { return *automaton_; }

private:
    Matcher() = default;

    Automaton::Mode mode_{};
    bool onlyASCII_ = false;
    BeforeLiteral beforeLiteral_;
    std::optional<Automaton> automaton_;
    bool hasTags_ = false;  ///< there are groups
    std::optional<Groups> groups_;
    std::optional<PreferredGroups> preferredGroups_;  ///< if the pattern is ambiguous
    std::optional<Positions> positions_;              ///< if the automaton can be too slow
};

}  // namespace ZEBNS2
