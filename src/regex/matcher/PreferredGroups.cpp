#include "PreferredGroups.hpp"

#include <algorithm>

namespace ZEBNS2 {

std::optional<PreferredGroups> PreferredGroups::of(Positions const& positions) {
    constexpr std::uint16_t NONE = UINT16_MAX;
    if (positions.hasEmptyChoice() || positions.edges().size() >= NONE) {
        return std::nullopt;
    }
    Subsets sets(positions, Subsets::Direction::BACKWARDS);
    PreferredGroups groups;
    groups.atEnd_ = sets.add({Positions::MATCH});
    groups.atLineEnd_ = sets.add({Positions::MATCH, Positions::MATCH_AT_LINE_END});
    if (!sets.complete() || sets.count() * positions.size() > MAX_CELLS) {
        return std::nullopt;
    }
    groups.shift_ = sets.shift();
    groups.table_.assign(sets.count() << groups.shift_, 0);
    groups.positionCount_ = positions.size();
    groups.choices_.assign(sets.count() * positions.size(), NONE);
    for (unsigned int byte = 0; byte < 256; ++byte) {
        groups.columns_[byte] = sets.column(byte);
    }
    std::vector<bool> isMember;
    for (std::size_t state = Subsets::FIRST; state < sets.count(); ++state) {
        for (std::size_t column = 0; column < sets.columnCount(); ++column) {
            groups.table_[(state << groups.shift_) + column] = sets.next(state, column);
        }
        isMember.assign(positions.size(), false);
        for (char16_t const member : sets[state]) {
            isMember[member] = true;
        }
        std::uint16_t* const row = groups.choices_.data() + state * positions.size();
        for (std::size_t edge = positions.edges().size(); edge > 0; --edge) {
            Positions::Edge const& candidate = positions.edges()[edge - 1];
            if (isMember[candidate.target]) {
                row[candidate.source] = static_cast<std::uint16_t>(edge - 1);
            }
        }
    }
    groups.edges_ = positions.edges();
    groups.tags_ = positions.tags();
    for (Positions::Tag const& tag : groups.tags_) {
        groups.groupCount_ = std::max<std::size_t>(groups.groupCount_, tag.group);
    }
    return groups;
}

/// Records the states from the end of a match to its start.
bool PreferredGroups::readBackwards(std::string_view match, std::size_t start, State state,
                                    Trail& trail) const noexcept {
    trail.add(start + match.size(), state);
    for (std::size_t at = match.size(); at > 0; --at) {
        std::uint8_t const column = columns_[static_cast<unsigned char>(match[at - 1])];
        State const before = table_[(std::size_t{state} << shift_) + column];
        if (before != state) {
            trail.add(start + at - 1, before);
            state = before;
        }
    }
    return !trail.isFull();
}

bool PreferredGroups::find(std::string_view subject, Span const& span, bool atLineStart,
                           bool atLineEnd, regmatch_t* slots,
                           std::size_t slotCount) const noexcept {
    Trail trail;
    if (!readBackwards(subject.substr(span.start, span.end - span.start), span.start,
                       atLineEnd ? atLineEnd_ : atEnd_, trail)) {
        return false;
    }
    for (std::size_t i = 1; i < std::min(slotCount, groupCount_ + 2); ++i) {
        slots[i] = {-1, -1};
    }
    Positions::Index position = atLineStart ? Positions::START_OF_LINE : Positions::START;
    std::size_t entry = trail.size() - 1;
    for (std::size_t offset = span.start;; ++offset) {
        entry -= offset > trail[entry].offset ? 1 : 0;
        Trail::Entry const& stretch = trail[entry];
        std::uint16_t const choice = choices_[stretch.state * positionCount_ + position];
        Positions::Edge const& edge = edges_[choice];
        for (std::uint32_t i = 0; i < edge.tagCount; ++i) {
            Positions::Tag const& tag = tags_[edge.tags + i];
            if (tag.group < slotCount) {
                (tag.isEnd ? slots[tag.group].rm_eo : slots[tag.group].rm_so) =
                    static_cast<regoff_t>(offset);
            }
        }
        if (edge.target < Positions::FIRST) {
            return true;
        }
        // As long as the state stays, a position that follows itself stays too.
        if (edge.target == position && edge.tagCount == 0) {
            offset = stretch.offset;
        }
        position = edge.target;
    }
}

}  // namespace ZEBNS2
