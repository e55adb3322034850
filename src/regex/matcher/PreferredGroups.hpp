#pragma once

#include <regex.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "Automaton.hpp"
#include "Positions.hpp"
#include "Subsets.hpp"

/// @file
/// The groups of a match whose span is known, by the order in which glibc prefers.
///
/// An ambiguous pattern has several ways to the same match: `(a|ab)(c|bcd)?` on "abcd" has two.
/// glibc finds out which places of the pattern lead to the end of the match at each byte (its
/// sift_states_backward), then goes from the start to the end and takes at each choice the first
/// possibility that does (its proceed_next_node): what a repeat repeats before what follows it, the
/// first alternative before the second, an empty alternative last.
///
/// Here, an automaton reads the match backwards and notes its states, each the set of positions
/// that take a byte and lead to the end; then for each position, a table has the first edge that
/// leads into such a set. `(a*)(a*)b` on "aab": backwards the states are {end}, {b}, {1st a, 2nd a}
/// twice; forwards, the start leads to the 1st a, that to itself, then to b.
///
/// This is glibc's order and nothing that POSIX says, so it serves the releases of glibc only with
/// which it was measured. Anchors in alternatives change the order, and so do several of a kind:
/// they are not served. Neither is a pattern in which two sequences of empty steps lead to the same
/// place, see Positions::hasEmptyChoice.
///
/// Cost: linear in the match; memory for states times positions, at most MAX_CELLS.

namespace ZEBNS2 {

class PreferredGroups {
public:
    static constexpr std::size_t MAX_CELLS = 65536;

    /// @return nothing when the order is not known or the bounds do not suffice
    /// @throws std::bad_alloc
    static std::optional<PreferredGroups> of(Positions const& positions);

    /// Writes the groups of a match.
    /// @param subject in which it is
    /// @param span as the automaton found it
    /// @param atLineStart whether `^` is true at its start
    /// @param atLineEnd whether `$` is true at its end
    /// @param slots from the whole match on; the first is left alone; those that no group fills may
    ///   be left alone from the second of them on
    /// @return whether they are known; otherwise the states change too often
    bool find(std::string_view subject, Span const& span, bool atLineStart, bool atLineEnd,
              regmatch_t* slots, std::size_t slotCount) const noexcept;

private:
    PreferredGroups() = default;

    using State = Subsets::Number;

    bool readBackwards(std::string_view match, std::size_t start, State state,
                       Trail& trail) const noexcept;

    std::vector<State> table_;  ///< by state and column
    std::uint8_t columns_[256] = {};
    unsigned int shift_ = 0;
    State atEnd_ = 0;                     ///< at the end of the match
    State atLineEnd_ = 0;                 ///< ... where `$` is true
    std::vector<std::uint16_t> choices_;  ///< by state and position, index of an edge
    std::size_t positionCount_ = 0;
    std::vector<Positions::Edge> edges_;
    std::vector<Positions::Tag> tags_;
    std::size_t groupCount_ = 0;
};

}  // namespace ZEBNS2
