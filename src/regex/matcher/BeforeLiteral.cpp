#include "BeforeLiteral.hpp"

#include <cstdint>
#include <vector>

namespace ZEBNS2 {

namespace {

/// Follows the positions from the starts until they have read the literal.
class BytesBefore {
public:
    BytesBefore(Positions const& positions, std::string_view literal)
        : positions_(positions), literal_(literal), seen_(positions.size() * literal.size()) {
        for (std::size_t byte = 0x80; byte < nonASCII_.size(); ++byte) {
            nonASCII_.set(byte);
        }
        for (char const byte : literal) {
            literalBytes_.set(static_cast<unsigned char>(byte));
        }
    }

    /// @return all bytes when it takes too long
    ByteSet find() {
        visit(Positions::START_OF_LINE, 0);  // it has the edges of the other start, too
        for (std::size_t steps = 0; !todo_.empty();) {
            State const state = todo_.back();
            todo_.pop_back();
            std::uint32_t const end = positions_.edgesEnd(state.position);
            for (auto i = positions_.edgesBegin(state.position); i < end; ++i) {
                follow(positions_.edges()[i].target, state.matched);
                if (++steps == MAX_STEPS) {
                    return ByteSet().set();
                }
            }
        }
        return found_;
    }

private:
    static constexpr std::size_t MAX_STEPS = 20000;

    struct State {
        Positions::Index position;
        std::size_t matched;  ///< length of the literal's beginning that was read last
    };

    /// The length after one more byte. It falls back to 1 or 0 only, so it can be too short: then
    /// the set becomes larger, which is safe.
    std::size_t advance(std::size_t matched, char byte) const noexcept {
        if (byte == literal_[matched]) {
            return matched + 1;
        }
        return byte == literal_[0] ? 1 : 0;
    }

    void follow(Positions::Index target, std::size_t matched) {
        if (target < Positions::FIRST) {
            return;  // the end of a match; without the literal it is none
        }
        Atom const& atom = positions_.atom(target);
        ByteSet others = atom.bytes & ~literalBytes_;
        others |= atom.beyondASCII ? nonASCII_ : ByteSet();
        if (others.any()) {
            found_ |= others;
            visit(target, 0);
        }
        for (char const byte : literal_) {
            std::size_t const next = advance(matched, byte);
            if (atom.bytes[static_cast<unsigned char>(byte)] && next < literal_.size()) {
                found_.set(static_cast<unsigned char>(byte));
                visit(target, next);
            }
        }
    }

    void visit(Positions::Index position, std::size_t matched) {
        auto const seen =
            seen_.begin() + static_cast<std::ptrdiff_t>(position * literal_.size() + matched);
        if (!*seen) {
            *seen = true;
            todo_.push_back({position, matched});
        }
    }

    Positions const& positions_;
    std::string_view literal_;
    ByteSet literalBytes_;
    ByteSet nonASCII_;
    ByteSet found_;
    std::vector<bool> seen_;
    std::vector<State> todo_;
};

}  // namespace

BeforeLiteral::BeforeLiteral(Positions const& positions, std::string_view literal) {
    if (!literal.empty()) {
        others_ = ByteFinder(~BytesBefore(positions, literal).find());
    }
}

}  // namespace ZEBNS2
