#include "Subsets.hpp"

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace ZEBNS2 {

Subsets::Subsets(Positions const& positions, Direction direction) : positions_(positions) {
    link(direction);
    makeColumns();
    sets_.resize(FIRST);
    rows_.resize(FIRST * columnCount_);
    reached_.resize(positions.size());
    buckets_.resize(columnCount_);
}

void Subsets::link(Direction direction) {
    std::vector<std::vector<Positions::Index>> lists(positions_.size());
    for (Positions::Edge const& edge : positions_.edges()) {
        bool const forwards = direction == Direction::FORWARDS;
        Positions::Index const to = forwards ? edge.target : edge.source;
        if (to >= Positions::FIRST) {
            lists[forwards ? edge.source : edge.target].push_back(to);
        }
    }
    for (std::vector<Positions::Index> const& list : lists) {
        neighboursBegin_.push_back(static_cast<std::uint32_t>(neighbours_.size()));
        neighbours_.insert(neighbours_.end(), list.begin(), list.end());
    }
    neighboursBegin_.push_back(static_cast<std::uint32_t>(neighbours_.size()));
}

void Subsets::makeColumns() {
    ByteSet nonASCII;
    for (std::size_t byte = 0x80; byte < nonASCII.size(); ++byte) {
        nonASCII.set(byte);
    }
    refine(nonASCII);
    std::unordered_set<ByteSet> known;
    for (std::size_t i = Positions::FIRST; i < positions_.size(); ++i) {
        ByteSet const& bytes = positions_.atom(static_cast<Positions::Index>(i)).bytes;
        if (known.insert(bytes).second) {
            refine(bytes);
        }
    }
    columnsOf_.resize(positions_.size());
    std::vector<bool> listed;
    for (std::size_t i = Positions::FIRST; i < positions_.size(); ++i) {
        ByteSet const& bytes = positions_.atom(static_cast<Positions::Index>(i)).bytes;
        listed.assign(columnCount_, false);
        for (std::size_t byte = 0; byte < bytes.size(); ++byte) {
            std::uint8_t const column = columns_[byte];
            if (bytes[byte] && !listed[column]) {
                listed[column] = true;
                columnsOf_[i].push_back(column);
            }
        }
    }
}

/// Separates the bytes in `set` from the others.
void Subsets::refine(ByteSet const& set) {
    constexpr int NONE = -1;
    int inside[256];
    bool outside[256] = {};
    std::fill(std::begin(inside), std::end(inside), NONE);
    for (std::size_t byte = 0; byte < set.size(); ++byte) {
        outside[columns_[byte]] |= !set[byte];
    }
    for (std::size_t byte = 0; byte < set.size(); ++byte) {
        std::uint8_t& column = columns_[byte];
        if (!set[byte] || !outside[column]) {
            continue;
        }
        int& fresh = inside[column];
        if (fresh == NONE) {
            fresh = static_cast<int>(columnCount_++);
        }
        column = static_cast<std::uint8_t>(fresh);
    }
}

Subsets::Number Subsets::add(Set const& set) {
    if (set.empty()) {
        return EMPTY;
    }
    auto const [known, isNew] = numbers_.try_emplace(set, static_cast<Number>(sets_.size()));
    if (isNew) {
        memberCount_ += set.size();
        sets_.push_back(set);
        rows_.resize(sets_.size() * columnCount_);
    }
    return known->second;
}

bool Subsets::complete() {
    for (std::size_t number = FIRST; number < sets_.size(); ++number) {
        expand(number);
        if (sets_.size() > MAX_STATES || sets_.size() << shift() > MAX_CELLS ||
            memberCount_ > MAX_MEMBERS || work_ > MAX_WORK) {
            return false;
        }
    }
    return true;
}

/// Makes the row of a set.
void Subsets::expand(std::size_t number) {
    targets_.clear();
    for (char16_t const member : sets_[number]) {
        for (auto i = neighboursBegin_[member]; i < neighboursBegin_[member + 1U]; ++i) {
            Positions::Index const target = neighbours_[i];
            if (std::exchange(reached_[target], number) != number) {
                targets_.push_back(target);
            }
        }
        work_ += neighboursBegin_[member + 1U] - neighboursBegin_[member];
    }
    std::sort(targets_.begin(), targets_.end());
    for (Set& bucket : buckets_) {
        bucket.clear();
    }
    for (Positions::Index const target : targets_) {
        for (std::uint8_t const column : columnsOf_[target]) {
            buckets_[column].push_back(target);
        }
        work_ += columnsOf_[target].size();
    }
    for (std::size_t column = 0; column < columnCount_; ++column) {
        Number const next = add(buckets_[column]);
        setNext(number, column, next);
    }
    work_ += columnCount_;
}

unsigned int Subsets::shift() const noexcept {
    unsigned int shift = 0;
    while ((std::size_t{1} << shift) < columnCount_) {
        ++shift;
    }
    return shift;
}

}  // namespace ZEBNS2
