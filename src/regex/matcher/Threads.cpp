#include "Threads.hpp"

#include <cstdint>
#include <utility>

namespace ZEBNS2 {

namespace {

class Threads {
public:
    Threads(Positions const& positions, Automaton::Mode mode, std::string_view subject,
            bool notLineStart) noexcept
        : positions_(positions), mode_(mode), subject_(subject), notLineStart_(notLineStart) {}

    Found find(std::size_t from, Span& span) noexcept {
        for (std::size_t at = from;; ++at) {
            if (!found_) {
                add({isLineStart(at) ? Positions::START_OF_LINE : Positions::START,
                     static_cast<std::uint32_t>(at)});
            }
            bool const atEnd = at == subject_.size();
            std::swap(now_, next_);
            next_->count = 0;
            if (!step(at, atEnd)) {
                return Found::ASK_LIBC;
            }
            if (atEnd || (found_ && next_->count == 0)) {
                break;
            }
        }
        span = span_;
        return found_ ? Found::YES : Found::NO;
    }

private:
    struct Thread {
        Positions::Index position;
        std::uint32_t start;
    };
    /// Added, and so sorted, in the order of their starts.
    struct List {
        std::size_t count = 0;
        Thread threads[Positions::MAX_POSITIONS + 1];
    };

    bool isLineStart(std::size_t at) const noexcept {
        return at == 0 ? !notLineStart_ : mode_.newline && subject_[at - 1] == '\n';
    }
    bool isLineEnd(std::size_t at) const noexcept {
        return at == subject_.size() || (mode_.newline && subject_[at] == '\n');
    }

    void add(Thread thread) noexcept { next_->threads[next_->count++] = thread; }

    /// Lets the threads of `now_` take the byte at an offset. @return false when libc must search
    bool step(std::size_t at, bool atEnd) noexcept {
        std::uint32_t const round = ++round_;
        for (std::size_t i = 0; i < now_->count; ++i) {
            Thread const& thread = now_->threads[i];
            if (found_ && thread.start > span_.start) {
                return true;  // and so are all that follow
            }
            auto const edgesEnd = positions_.edgesEnd(thread.position);
            for (auto e = positions_.edgesBegin(thread.position); e < edgesEnd; ++e) {
                Positions::Index const target = positions_.edges()[e].target;
                if (target < Positions::FIRST) {
                    if (target == Positions::MATCH || isLineEnd(at)) {
                        found_ = true;
                        span_ = {thread.start, at};
                    }
                } else if (!atEnd && reached_[target] != round) {
                    auto const byte = static_cast<unsigned char>(subject_[at]);
                    Atom const& atom = positions_.atom(target);
                    if (mode_.utf8 && byte >= 0x80 && atom.beyondASCII) {
                        return false;
                    }
                    if (atom.bytes[byte]) {
                        reached_[target] = round;
                        add({target, thread.start});
                    }
                }
            }
        }
        return true;
    }

    Positions const& positions_;
    Automaton::Mode mode_;
    std::string_view subject_;
    bool notLineStart_;
    bool found_ = false;
    Span span_{0, 0};
    List lists_[2] = {};
    List* now_ = &lists_[0];
    List* next_ = &lists_[1];
    std::uint32_t round_ = 0;
    std::uint32_t reached_[Positions::MAX_POSITIONS] = {};
};

}  // namespace

Found findByThreads(Positions const& positions, Automaton::Mode mode, std::string_view subject,
                    std::size_t from, bool notLineStart, Span& span) noexcept {
    return Threads(positions, mode, subject, notLineStart).find(from, span);
}

}  // namespace ZEBNS2
