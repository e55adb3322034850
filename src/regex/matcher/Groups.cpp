#include "Groups.hpp"

#include <algorithm>

namespace ZEBNS2 {

std::optional<Groups> Groups::of(Positions const& positions, Automaton const& automaton) {
    constexpr Cell NONE = UINT16_MAX;
    std::size_t const stateCount = automaton.stateCount();
    if (positions.hasEmptyChoice() || stateCount * positions.size() > MAX_CELLS ||
        positions.edges().size() >= NONE) {
        return std::nullopt;
    }
    Groups groups;
    groups.positionCount_ = positions.size();
    groups.cells_.assign(stateCount * positions.size(), NONE);
    for (std::size_t state = 0; state < stateCount; ++state) {
        Cell* const row = groups.cells_.data() + state * positions.size();
        for (auto i = automaton.membersBegin(state); i < automaton.membersBegin(state + 1); ++i) {
            Positions::Index const member = automaton.members()[i];
            for (auto edge = positions.edgesBegin(member); edge < positions.edgesEnd(member);
                 ++edge) {
                Cell& cell = row[positions.edges()[edge].target];
                if (cell != NONE) {
                    return std::nullopt;
                }
                cell = static_cast<Cell>(edge);
            }
        }
        // The end of the match is one target, whether or not it is also the end of a line.
        if (row[Positions::MATCH_AT_LINE_END] != NONE) {
            if (row[Positions::MATCH] != NONE) {
                return std::nullopt;
            }
            row[Positions::MATCH] = row[Positions::MATCH_AT_LINE_END];
        }
    }
    groups.edges_ = positions.edges();
    groups.tags_ = positions.tags();
    for (Positions::Tag const& tag : groups.tags_) {
        groups.groupCount_ = std::max<std::size_t>(groups.groupCount_, tag.group);
    }
    return groups;
}

void Groups::find(Automaton const& automaton, Trail& trail, std::size_t end, regmatch_t* slots,
                  std::size_t slotCount) const noexcept {
    for (std::size_t i = 1; i < std::min(slotCount, groupCount_ + 2); ++i) {
        slots[i] = {-1, -1};
    }
    std::size_t missing = 2 * std::min(groupCount_, slotCount - 1);
    trail.cut(end);
    std::size_t entry = trail.size() - 1;
    Positions::Index target = Positions::MATCH;
    for (std::size_t offset = end; missing != 0;) {
        Trail::Entry const& stretch = trail[entry];
        Positions::Edge const& edge = edgeTo(target, automaton.numberOf(stretch.state));
        for (std::uint32_t i = edge.tagCount; i > 0; --i) {
            Positions::Tag const& tag = tags_[edge.tags + i - 1];
            if (tag.group < slotCount) {
                regoff_t& side = tag.isEnd ? slots[tag.group].rm_eo : slots[tag.group].rm_so;
                missing -= side < 0 ? 1 : 0;
                side = side < 0 ? static_cast<regoff_t>(offset) : side;
            }
        }
        if (edge.source < Positions::FIRST) {
            return;
        }
        // The source took the byte before the offset and, as long as it follows itself, those
        // before that.
        bool const repeats = edge.source == target && edge.tagCount == 0;
        target = edge.source;
        offset = (repeats ? stretch.offset : offset) - 1;
        entry -= offset < stretch.offset ? 1 : 0;
    }
}

}  // namespace ZEBNS2
