#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "Positions.hpp"

/// @file
/// The subset construction, forwards and backwards.

namespace ZEBNS2 {

/// Sets of positions, and the set to which each byte leads from each of them. Bytes that no
/// position distinguishes share a column.
class Subsets {
public:
    using Number = std::uint16_t;
    using Set = std::u16string;  ///< ascending; a type that the standard library can hash

    static constexpr Number EMPTY = 0;
    static constexpr Number RESERVED = 1;  ///< for the caller
    static constexpr std::size_t FIRST = 2;

    static constexpr std::size_t MAX_STATES = 2000;
    static constexpr std::size_t MAX_CELLS = 65536;
    static constexpr std::size_t MAX_MEMBERS = 65536;  ///< of all sets together
    static constexpr std::size_t MAX_WORK = 1000000;   ///< steps of the construction

    /// Forwards, a byte leads from a set to the positions after it that take the byte; backwards,
    /// to those before it.
    enum class Direction { FORWARDS, BACKWARDS };

    /// @param positions must outlive the object
    Subsets(Positions const& positions, Direction direction);

    /// The number of a set, which is added if it is new.
    Number add(Set const& set);

    /// Adds all sets that can be reached.
    /// @return false when the bounds do not suffice
    bool complete();

    std::size_t count() const noexcept { return sets_.size(); }
    std::size_t columnCount() const noexcept { return columnCount_; }
    std::uint8_t column(unsigned int byte) const noexcept { return columns_[byte]; }
    Set const& operator[](std::size_t number) const noexcept { return sets_[number]; }

    /// Where a column leads.
    Number next(std::size_t number, std::size_t column) const noexcept {
        return rows_[number * columnCount_ + column];
    }
    void setNext(std::size_t number, std::size_t column, Number next) noexcept {
        rows_[number * columnCount_ + column] = next;
    }

    /// Columns of a table in which the rows begin at multiples of a power of two.
    unsigned int shift() const noexcept;

private:
    void link(Direction direction);
    void makeColumns();
    void refine(ByteSet const& set);
    void expand(std::size_t number);

    Positions const& positions_;
    // The neighbours of each position that take a character.
    std::vector<std::uint32_t> neighboursBegin_;
    std::vector<Positions::Index> neighbours_;
    std::uint8_t columns_[256] = {};
    std::size_t columnCount_ = 1;
    std::vector<std::vector<std::uint8_t>> columnsOf_;  ///< of each position

    std::vector<Set> sets_;
    std::vector<Number> rows_;
    std::unordered_map<Set, Number> numbers_;
    std::size_t memberCount_ = 0;
    std::size_t work_ = 0;
    std::vector<Positions::Index> targets_;
    std::vector<std::size_t> reached_;  ///< the set from which a position was last reached
    std::vector<Set> buckets_;
};

}  // namespace ZEBNS2
