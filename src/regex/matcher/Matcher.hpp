#pragma once

#include <regex.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

#include "Automaton.hpp"
#include "Groups.hpp"
#include "LibcAtoms.hpp"
#include "Positions.hpp"
#include "PreferredGroups.hpp"

/// @file
/// Searches without libc, with libc's answers.

namespace ZEBNS2 {

/// A pattern of which everything is made that a search needs.
///
/// What decides whether it answers as libc does:
/// - The span. Without back-references, word anchors, and anchors elsewhere than at the ends, it is
///   the leftmost match and the longest of these, for libc just as for the automaton.
/// - The groups. An unambiguous pattern leaves no choice; for others there is the order in which
///   glibc prefers, as far as it is known. The rest is left to libc.
/// - The characters. libc itself is asked what each atom takes. In UTF-8 it is asked about ASCII
///   only, and searches again when the automaton meets anything else. With REG_ICASE the whole
///   subject must be ASCII there: libc can miss a match after a character whose other case has
///   another length.
class Matcher {
public:
    enum class Answer {
        NO_MATCH,
        MATCH,      ///< the slots are written
        ASK_LIBC,   ///< nothing is known
        ASK_GROUPS  ///< there is a match, and the first slot is written; libc knows the groups
    };

    /// @param pattern up to its NUL
    /// @param flags flags of regcomp
    /// @return null when the pattern is not served
    /// @throws std::bad_alloc
    static std::unique_ptr<Matcher const> of(std::string_view pattern, int flags);

    /// As regexec with REG_STARTEND.
    /// @param subject without NUL, at most 1 GiB
    /// @param slots at least one
    /// @param flags REG_NOTBOL or nothing
    Answer search(std::string_view subject, regmatch_t* slots, std::size_t slotCount,
                  int flags) const noexcept;

    /// Whether it knows the groups.
    bool hasGroups() const noexcept { return !hasTags_ || groups_ || preferredGroups_; }
    bool isUnambiguous() const noexcept { return groups_.has_value(); }
    Automaton const& automaton() const noexcept { return *automaton_; }

private:
    Matcher() = default;

    Automaton::Mode mode_{};
    bool onlyASCII_ = false;
    std::optional<Automaton> automaton_;
    bool hasTags_ = false;  ///< there are groups
    std::optional<Groups> groups_;
    std::optional<PreferredGroups> preferredGroups_;  ///< if the pattern is ambiguous
    std::optional<Positions> positions_;              ///< if the automaton can be too slow
};

}  // namespace ZEBNS2
