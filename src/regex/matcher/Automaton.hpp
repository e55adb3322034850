#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "ByteFinder.hpp"
#include "Positions.hpp"

/// @file
/// The deterministic automaton that finds where the first match starts and ends.
///
/// A state is the set of positions that can have taken the last character. All states are built in
/// advance, within bounds; bytes that no position distinguishes share a column. For "a[a-z]*=",
/// with the positions 2, 3 and 4, the states are {start}, {2}, {3} and {4}; the columns are a, the
/// other letters, = and all others.
///
/// A search runs from each byte at which a match can start until no position is left, and keeps the
/// last end that it passed: POSIX wants the leftmost match, and the longest of these. When a run
/// fails, the starts that it passed need not be tried if the run would have found everything that
/// they could find: `[a-z]+=` on "abcd" fails at the end of the text, so from b, c and d it fails
/// as well. That holds if the automaton is dominating, which follows from the states alone: run
/// from any state q and, one byte or more later, from the start; as long as the second run lives,
/// the first must live, and it must have accepted before or accept whenever the second does. Then
/// each byte is read twice at most. Otherwise the search begins again at the next byte; once it has
/// read far more bytes than it has advanced, it continues with all starts at the same time, in
/// steps that cost the number of positions.
///
/// In a state that most bytes do not change, as in `.*` or `[^ ]+`, a vector search finds the next
/// byte that does.
///
/// In UTF-8 the automaton handles only ASCII. At another byte that some position could take, a
/// search gives up, and libc must search.
///
/// Beyond the bounds of Subsets the pattern is not handled.
///
/// Cost: time linear in the subject, no memory, no lock.

namespace ZEBNS2 {

/// The result of a search.
enum class Found {
    NO,
    YES,
    ASK_LIBC,
    TOO_SLOW,  ///< no match begins before `span.start`; beyond, only Threads are linear
};

/// Start and end of a match, 0-based byte offsets, the end exclusive.
struct Span {
    std::size_t start;
    std::size_t end;
};

/// The states of a run, recorded for the groups.
class Trail {
public:
    static constexpr std::size_t CAPACITY = 512;

    /// The state from an offset on, up to that of the next entry.
    struct Entry {
        std::uint32_t offset;
        std::uint16_t state;
    };

    void clear() noexcept { size_ = 0; }
    /// Whether an entry was lost.
    bool isFull() const noexcept { return size_ == CAPACITY; }
    std::size_t size() const noexcept { return size_; }
    Entry const& operator[](std::size_t i) const noexcept { return entries_[i]; }

    void add(std::size_t offset, std::uint16_t state) noexcept {
        entries_[size_] = {static_cast<std::uint32_t>(offset), state};
        size_ += size_ + 1 < CAPACITY + 1 ? 1 : 0;
    }

    /// Drops the entries beyond an offset.
    void cut(std::size_t offset) noexcept {
        while (size_ != 0 && entries_[size_ - 1].offset > offset) {
            --size_;
        }
    }

private:
    std::size_t size_ = 0;
    Entry entries_[CAPACITY + 1];  // one more, for the entry that is lost
};

class Automaton {
public:
    using State = std::uint16_t;  ///< offset of its row in the table

    /// How subjects are read.
    struct Mode {
        bool utf8;     ///< only ASCII is a character of one byte
        bool newline;  ///< `^` and `$` are true at newlines, too
    };

    /// @return nothing when the bounds do not suffice
    /// @throws std::bad_alloc
    static std::optional<Automaton> of(Positions const& positions, Mode mode);

    /// Finds the first match.
    /// @param subject without NUL, at most 1 GiB
    /// @param start no match begins before this offset
    /// @param notLineStart whether `^` is not true at the subject's start
    /// @param span written after YES and, its start, after TOO_SLOW
    /// @param trail if not null, receives the states of the match
    Found find(std::string_view subject, std::size_t start, bool notLineStart, Span& span,
               Trail* trail) const noexcept;

    /// Runs from the start of a known match, for its trail.
    void trace(std::string_view subject, bool notLineStart, std::size_t start,
               Trail& trail) const noexcept;

    // For the groups.
    std::size_t stateCount() const noexcept { return membersBegin_.size() - 1; }
    std::size_t numberOf(State state) const noexcept { return state >> shift_; }
    /// The positions of a state, ascending.
    std::vector<Positions::Index> const& members() const noexcept { return members_; }
    std::size_t membersBegin(std::size_t number) const noexcept { return membersBegin_[number]; }
    /// Frees the members, which only the construction of the groups needs.
    void dropMembers() noexcept;

    /// Whether the starts that a failed run passed can be skipped.
    bool isDominating() const noexcept { return dominating_; }
    /// Approximate bytes of memory.
    std::size_t size() const noexcept;

private:
    friend class AutomatonBuilder;
    Automaton() = default;

    using Byte = unsigned char;

    // The first rows; the other special states follow, then the ordinary ones.
    static constexpr std::uint16_t DEAD = 0;
    static constexpr std::uint16_t UNKNOWN = 1;  ///< ask libc

    static constexpr std::uint8_t ACCEPTS = 1;
    static constexpr std::uint8_t ACCEPTS_AT_LINE_END = 2;
    static constexpr std::uint8_t STAYS = 4;  ///< has a finder for the byte that changes it

    struct Subject {
        Byte const* begin;
        Byte const* end;
        bool notLineStart;
    };
    struct Run {
        Byte const* matchEnd;  ///< null when there is none
        Byte const* stop;      ///< the byte that could not be read, or the end
        bool unknown;
    };

    template <bool RECORDS>
    Run run(Subject const& subject, Byte const* at, State state, Trail* trail) const noexcept;
    template <bool RECORDS>
    Found search(Subject const& subject, Byte const* at, Span& span, Trail* trail) const noexcept;
    /// The first byte from `at` on at which a match can start, or the end; null when there is none.
    Byte const* nextStart(Subject const& subject, Byte const* at) const noexcept;
    bool isLineStart(Subject const& subject, Byte const* at) const noexcept {
        return at == subject.begin ? !subject.notLineStart : newline_ && at[-1] == '\n';
    }

    State next(State state, Byte byte) const noexcept {
        return table_[state + std::size_t{columns_[byte]}];
    }
    std::uint8_t flags(State state) const noexcept {
        std::size_t const number = state >> shift_;
        return number < flags_.size() ? flags_[number] : std::uint8_t{0};
    }

    std::vector<State> table_;
    std::uint8_t columns_[256] = {};
    std::uint8_t shift_ = 0;
    bool newline_ = false;
    bool dominating_ = false;
    State startOfLine_ = 0;
    State start_ = 0;
    std::uint32_t firstOrdinary_ = 0;
    bool startsAnywhere_ = false;   ///< a match can be empty at any byte
    bool startsAtLineEnd_ = false;  ///< ... at an end of a line
    bool startsAtLineStartOnly_ = false;
    std::vector<std::uint8_t> flags_;     ///< of the special states
    std::vector<ByteFinder> changes_;     ///< of these, those that STAY: the bytes that change them
    std::vector<std::uint16_t> finders_;  ///< of each special state, its index in changes_
    ByteFinder starts_;                   ///< bytes with which a match can start
    std::vector<Positions::Index> members_;
    std::vector<std::uint32_t> membersBegin_;
};

}  // namespace ZEBNS2
