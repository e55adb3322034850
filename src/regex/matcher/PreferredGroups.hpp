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
/// The groups of a match whose span is known, by glibc's order of preference.
///
/// An ambiguous pattern has several ways to the same match: `(a|ab)(c|bcd)?` on "abcd" has two.
/// glibc computes which positions lead to the end of the match at each byte (sift_states_backward),
/// then walks from the start to the end and takes at each choice the first possibility that does
/// (proceed_next_node): another iteration before leaving a repeat, the first alternative before the
/// second, an empty alternative last.
///
/// Here, an automaton reads the match backwards and records its states, each the set of positions
/// that take a byte and lead to the end; then, for each position, a table has the first edge that
/// leads into such a set. `(a*)(a*)b` on "aab": backwards the states are {end}, {b}, {1st a, 2nd a}
/// twice; forwards, the start leads to the 1st a, that to itself, then to b.
///
/// This is glibc's order, not POSIX's, so it is used only with the releases of glibc that were
/// measured. Anchors in alternatives, and several anchors of a kind, change the order: they are not
/// handled. Neither is a pattern in which two sequences of epsilon steps lead to the same position,
/// see Positions::hasEmptyChoice.
///
/// Cost: linear in the match; memory for states times positions, at most MAX_CELLS.

namespace ZEBNS2 {

class PreferredGroups {
public:
    static constexpr std::size_t MAX_CELLS = 65536;

    /// @return nothing when the order is unknown or the bounds do not suffice
    /// @throws std::bad_alloc
    static std::optional<PreferredGroups> of(Positions const& positions);

    /// Writes the groups of a match.
    /// @param subject that contains it
    /// @param span as the automaton found it
    /// @param atLineStart whether `^` is true at its start
    /// @param atLineEnd whether `$` is true at its end
    /// @param slots from the whole match on; the first is not written; of those that no group fills
    ///   only the first is surely written
    /// @return false when the states change too often to be recorded
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
