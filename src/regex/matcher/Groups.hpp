#pragma once

#include <regex.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "Automaton.hpp"
#include "Positions.hpp"

/// @file
/// The groups of a match whose span is known.
///
/// It handles unambiguous patterns: those in which every match is found in one way only, so that no
/// order of preference matters. A pattern is unambiguous when in each state of the automaton, each
/// position that can come next, and the end of the match, has at most one predecessor. (If there
/// were two ways, consider where they last differ: both positions are in the state and have the
/// same successor. The reverse is true as well, since each position can be reached and left.)
///
/// So the way is followed from its end, along the states that the automaton recorded:
/// `([a-z]+)=([0-9]*)` on "ab=7" ends in the state {4}, whose only position 4 took the 7; before it
/// was {3}, the =, before that {2} twice. The edges record which groups start and end at each step;
/// of a repeated group the last iteration counts, which comes first here. A run of bytes in which
/// neither the state nor the position changes is one step.
///
/// Cost: the number of changes of state; memory for states times positions, at most MAX_CELLS.

namespace ZEBNS2 {

class Groups {
public:
    static constexpr std::size_t MAX_CELLS = 65536;

    /// @return nothing when the pattern is ambiguous or the bounds do not suffice
    /// @throws std::bad_alloc
    static std::optional<Groups> of(Positions const& positions, Automaton const& automaton);

    /// Writes the groups of a match.
    /// @param trail of its states; it must be complete
    /// @param end where the match ends
    /// @param slots from the whole match on; the first is not written; of those that no group fills
    ///   only the first is surely written
    void find(Automaton const& automaton, Trail& trail, std::size_t end, regmatch_t* slots,
              std::size_t slotCount) const noexcept;

private:
    Groups() = default;

    using Cell = std::uint16_t;  ///< index of an edge

    /// The edge to a position, from the one of a state's positions that it can follow.
    Positions::Edge const& edgeTo(Positions::Index target, std::size_t state) const noexcept {
        return edges_[cells_[state * positionCount_ + target]];
    }

    std::vector<Positions::Edge> edges_;
    std::vector<Positions::Tag> tags_;
    std::vector<Cell> cells_;
    std::size_t positionCount_ = 0;
    std::size_t groupCount_ = 0;
};

}  // namespace ZEBNS2
