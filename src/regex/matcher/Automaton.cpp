#include "Automaton.hpp"

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "Subsets.hpp"

namespace ZEBNS2 {

/// The subset construction, then the packing of its states.
class AutomatonBuilder {
public:
    AutomatonBuilder(Positions const& positions, Automaton::Mode mode)
        : positions_(positions), mode_(mode), sets_(positions, Subsets::Direction::FORWARDS) {}

    std::optional<Automaton> build() {
        Number const startOfLine = sets_.add({Positions::START_OF_LINE});
        Number const start = startsAlike() ? startOfLine : sets_.add({Positions::START});
        if (!sets_.complete()) {
            return std::nullopt;
        }
        accepts_.resize(sets_.count());
        for (std::size_t state = Subsets::FIRST; state < sets_.count(); ++state) {
            noteEdges(state);
        }
        pack(startOfLine, start);
        return std::move(result_);
    }

private:
    using Number = Subsets::Number;

    static constexpr unsigned int NON_ASCII = 0x80;

    /// Whether a match at the start of a line is no special case.
    bool startsAlike() const {
        auto const targets = [this](Positions::Index start) {
            std::vector<Positions::Index> found;
            for (auto i = positions_.edgesBegin(start); i < positions_.edgesEnd(start); ++i) {
                found.push_back(positions_.edges()[i].target);
            }
            std::sort(found.begin(), found.end());
            return found;
        };
        return targets(Positions::START_OF_LINE) == targets(Positions::START);
    }

    /// Records whether a state accepts, and whether only libc knows the next state after a
    /// character that is not ASCII.
    void noteEdges(std::size_t state) noexcept {
        for (char16_t const member : sets_[state]) {
            for (auto i = positions_.edgesBegin(member); i < positions_.edgesEnd(member); ++i) {
                Positions::Index const target = positions_.edges()[i].target;
                if (target == Positions::MATCH) {
                    accepts_[state] |= Automaton::ACCEPTS;
                } else if (target == Positions::MATCH_AT_LINE_END) {
                    accepts_[state] |= Automaton::ACCEPTS_AT_LINE_END;
                } else if (positions_.atom(target).beyondASCII && mode_.utf8) {
                    sets_.setNext(state, sets_.column(NON_ASCII), Automaton::UNKNOWN);
                }
            }
        }
    }

    Number rowOf(std::size_t state, unsigned int byte) const noexcept {
        return sets_.next(state, sets_.column(byte));
    }

    /// Bytes that lead from a state to itself, and those that lead elsewhere.
    void findStays() {
        stays_.assign(sets_.count(), false);
        finderOf_.assign(sets_.count(), 0);
        std::unordered_map<ByteSet, std::uint16_t> known;
        for (std::size_t state = Subsets::FIRST; state < sets_.count(); ++state) {
            ByteSet changes;
            for (unsigned int byte = 1; byte < changes.size(); ++byte) {
                changes[byte] = rowOf(state, byte) != state;
            }
            bool const endsInLine =
                mode_.newline && (accepts_[state] & Automaton::ACCEPTS_AT_LINE_END) != 0;
            if (endsInLine || changes.size() - changes.count() < MIN_STAYS) {
                continue;
            }
            auto const [finder, isNew] =
                known.try_emplace(changes, static_cast<std::uint16_t>(result_.changes_.size()));
            if (isNew) {
                ByteFinder const candidate(changes);
                if (!candidate.isFast() || result_.changes_.size() == MAX_FINDERS) {
                    known.erase(finder);
                    continue;
                }
                result_.changes_.push_back(candidate);
            }
            stays_[state] = true;
            finderOf_[state] = finder->second;
        }
    }

    /// A state that stays for fewer bytes is left too soon to pay.
    static constexpr std::size_t MIN_STAYS = 8;
    static constexpr std::size_t MAX_FINDERS = 64;

    /// Renumbers the states, the special ones first, and writes the table.
    void pack(Number startOfLine, Number start) {
        findStays();
        std::vector<Number> order = {Automaton::DEAD, Automaton::UNKNOWN};
        auto const isSpecial = [this](std::size_t state) {
            return accepts_[state] != 0 || stays_[state];
        };
        for (bool const special : {true, false}) {
            for (std::size_t state = Subsets::FIRST; state < sets_.count(); ++state) {
                if (isSpecial(state) == special) {
                    order.push_back(static_cast<Number>(state));
                }
            }
            if (special) {
                result_.flags_.resize(order.size());
                result_.finders_.resize(order.size());
            }
        }
        std::vector<Number> numbers(order.size());
        for (std::size_t i = 0; i < order.size(); ++i) {
            numbers[order[i]] = static_cast<Number>(i);
        }
        result_.shift_ = static_cast<std::uint8_t>(sets_.shift());
        for (unsigned int byte = 0; byte < 256; ++byte) {
            result_.columns_[byte] = sets_.column(byte);
        }
        auto const place = [&](Number state) {
            return static_cast<Automaton::State>(numbers[state] << result_.shift_);
        };
        result_.table_.assign(order.size() << result_.shift_, 0);
        result_.membersBegin_.reserve(order.size() + 1);
        for (std::size_t i = 0; i < order.size(); ++i) {
            Subsets::Set const& set = sets_[order[i]];
            result_.membersBegin_.push_back(static_cast<std::uint32_t>(result_.members_.size()));
            result_.members_.insert(result_.members_.end(), set.begin(), set.end());
            for (std::size_t column = 0; column < sets_.columnCount(); ++column) {
                result_.table_[(i << result_.shift_) + column] =
                    place(sets_.next(order[i], column));
            }
            if (i < result_.flags_.size()) {
                result_.flags_[i] = static_cast<std::uint8_t>(
                    accepts_[order[i]] | (stays_[order[i]] ? Automaton::STAYS : 0));
                result_.finders_[i] = finderOf_[order[i]];
            }
        }
        result_.membersBegin_.push_back(static_cast<std::uint32_t>(result_.members_.size()));
        result_.firstOrdinary_ =
            static_cast<std::uint32_t>(result_.flags_.size() << result_.shift_);
        result_.newline_ = mode_.newline;
        result_.startOfLine_ = place(startOfLine);
        result_.start_ = place(start);
        noteStarts(startOfLine, start);
        result_.dominating_ = isDominating(startOfLine, start);
    }

    void noteStarts(Number startOfLine, Number start) {
        bool const elsewhere = mode_.newline && startOfLine != start;
        ByteSet bytes;
        bool never = accepts_[start] == 0;
        for (unsigned int byte = 1; byte < bytes.size(); ++byte) {
            bytes[byte] = rowOf(start, byte) != Automaton::DEAD;
            never = never && !bytes[byte];
        }
        result_.startsAtLineStartOnly_ = never && startOfLine != start;
        if (elsewhere) {
            for (unsigned int byte = 1; byte < bytes.size(); ++byte) {
                bytes[byte] = bytes[byte] || rowOf(startOfLine, byte) != Automaton::DEAD;
            }
        }
        result_.startsAnywhere_ = (accepts_[start] & Automaton::ACCEPTS) != 0 ||
                                  (elsewhere && accepts_[startOfLine] != 0);
        result_.startsAtLineEnd_ = (accepts_[start] & Automaton::ACCEPTS_AT_LINE_END) != 0;
        bytes['\n'] = bytes['\n'] || (mode_.newline && result_.startsAtLineEnd_);
        result_.starts_ = ByteFinder(bytes);
    }

    // ---------------------------------------------------------------------------- domination

    static constexpr std::size_t MAX_PAIRS = 20000;

    /// Whether a run finds everything that a later start can find.
    bool isDominating(Number startOfLine, Number start) {
        Number const later = mode_.newline ? startOfLine : start;
        if (mode_.newline && accepts_[later] != 0) {
            return false;
        }
        pairs_.clear();
        todo_.clear();
        for (std::size_t state = Subsets::FIRST; state < sets_.count(); ++state) {
            if (state == startOfLine || state == start) {
                continue;
            }
            for (std::size_t column = 0; column < sets_.columnCount(); ++column) {
                Number const run = sets_.next(state, column);
                // The search continues where the run ends.
                if (run != Automaton::DEAD && !addPair(sets_.next(later, column), run)) {
                    return false;
                }
            }
        }
        while (!todo_.empty()) {
            auto const [challenger, run] = todo_.back();
            todo_.pop_back();
            for (std::size_t column = 0; column < sets_.columnCount(); ++column) {
                if (!addPair(sets_.next(challenger, column), sets_.next(run, column))) {
                    return false;
                }
            }
        }
        return true;
    }

    /// @return false when the later start gets further than the run, or deciding takes too long
    bool addPair(Number challenger, Number run) {
        if (challenger == run || challenger == Automaton::DEAD || run == Automaton::UNKNOWN ||
            (accepts_[run] & Automaton::ACCEPTS) != 0) {
            return true;
        }
        if (run == Automaton::DEAD || challenger == Automaton::UNKNOWN ||
            (accepts_[challenger] & ~accepts_[run]) != 0) {
            return false;
        }
        if (pairs_.insert(std::uint32_t{challenger} << 16 | run).second) {
            todo_.emplace_back(challenger, run);
        }
        return pairs_.size() <= MAX_PAIRS;
    }

    Positions const& positions_;
    Automaton::Mode mode_;
    Subsets sets_;
    Automaton result_;
    std::vector<std::uint8_t> accepts_;
    std::vector<bool> stays_;
    std::vector<std::uint16_t> finderOf_;
    std::unordered_set<std::uint32_t> pairs_;
    std::vector<std::pair<Number, Number>> todo_;
};

std::optional<Automaton> Automaton::of(Positions const& positions, Mode mode) {
    return AutomatonBuilder(positions, mode).build();
}

template <bool RECORDS>
Automaton::Run Automaton::run(Subject const& subject, Byte const* at, State state,
                              Trail* trail) const noexcept {
    State const* const table = table_.data();
    std::uint32_t const firstOrdinary = firstOrdinary_;
    Byte const* const end = subject.end;
    Byte const* matchEnd = nullptr;
    if constexpr (RECORDS) {
        trail->clear();
        trail->add(static_cast<std::size_t>(at - subject.begin), state);
    }
    for (;;) {
        if (state < firstOrdinary) {
            std::size_t const number = state >> shift_;
            std::uint8_t const flags = flags_[number];
            if ((flags & STAYS) != 0) {
                at = changes_[finders_[number]].find(subject.begin, at, end);
            }
            if ((flags & ACCEPTS) != 0 ||
                ((flags & ACCEPTS_AT_LINE_END) != 0 && (at == end || (newline_ && *at == '\n')))) {
                matchEnd = at;
            }
        }
        if (at == end) {
            return {matchEnd, at, false};
        }
        State const next = table[state + std::size_t{columns_[*at]}];
        if (next >> shift_ <= UNKNOWN) {
            return {matchEnd, at, next != DEAD};
        }
        ++at;
        if constexpr (RECORDS) {
            if (next != state) {
                trail->add(static_cast<std::size_t>(at - subject.begin), next);
            }
        }
        state = next;
    }
}

Automaton::Byte const* Automaton::nextStart(Subject const& subject, Byte const* at) const noexcept {
    if (startsAnywhere_) {
        return at;
    }
    if (startsAtLineStartOnly_) {
        if (!newline_) {
            return nullptr;
        }
        void const* const newline =
            std::memchr(at - 1, '\n', static_cast<std::size_t>(subject.end - at) + 1);
        return newline != nullptr ? static_cast<Byte const*>(newline) + 1 : nullptr;
    }
    Byte const* const found = starts_.find(subject.begin, at, subject.end);
    return found != subject.end || startsAtLineEnd_ ? found : nullptr;
}

template <bool RECORDS>
Found Automaton::search(Subject const& subject, Byte const* at, Span& span,
                        Trail* trail) const noexcept {
    // The bytes that may be read in vain for each byte advanced, and in addition.
    constexpr std::size_t PATIENCE = 8;
    constexpr std::size_t CREDIT = 512;
    std::size_t wasted = 0;
    for (;;) {
        Run const found =
            run<RECORDS>(subject, at, isLineStart(subject, at) ? startOfLine_ : start_, trail);
        if (found.unknown) {
            return Found::ASK_LIBC;
        }
        if (found.matchEnd != nullptr) {
            span = {static_cast<std::size_t>(at - subject.begin),
                    static_cast<std::size_t>(found.matchEnd - subject.begin)};
            return Found::YES;
        }
        if (at == subject.end) {
            return Found::NO;
        }
        wasted += static_cast<std::size_t>(found.stop - at);
        at = nextStart(subject, dominating_ && found.stop > at ? found.stop : at + 1);
        if (at == nullptr) {
            return Found::NO;
        }
        auto const advanced = static_cast<std::size_t>(at - subject.begin);
        if (!dominating_ && wasted > PATIENCE * advanced + CREDIT) {
            span.start = advanced;
            return Found::TOO_SLOW;
        }
    }
}

Found Automaton::find(std::string_view subject, std::size_t start, bool notLineStart, Span& span,
                      Trail* trail) const noexcept {
    auto const* const begin = reinterpret_cast<Byte const*>(subject.data());
    Subject const bytes = {begin, begin + subject.size(), notLineStart};
    return trail != nullptr ? search<true>(bytes, begin + start, span, trail)
                            : search<false>(bytes, begin + start, span, trail);
}

void Automaton::trace(std::string_view subject, bool notLineStart, std::size_t start,
                      Trail& trail) const noexcept {
    auto const* const begin = reinterpret_cast<Byte const*>(subject.data());
    Subject const bytes = {begin, begin + subject.size(), notLineStart};
    Byte const* const at = begin + start;
    run<true>(bytes, at, isLineStart(bytes, at) ? startOfLine_ : start_, &trail);
}

void Automaton::dropMembers() noexcept {
    std::vector<Positions::Index>().swap(members_);
    std::vector<std::uint32_t>().swap(membersBegin_);
}

std::size_t Automaton::size() const noexcept {
    return sizeof *this + table_.size() * sizeof table_[0] + changes_.size() * sizeof changes_[0] +
           members_.size() * sizeof members_[0] + membersBegin_.size() * sizeof membersBegin_[0];
}

}  // namespace ZEBNS2
