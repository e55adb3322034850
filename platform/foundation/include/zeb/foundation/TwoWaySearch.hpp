#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

/// @file
/// Not API: the first occurrence of one sequence of bytes in another, in linear time and constant
/// memory, for any way of reading them: from the end, or ignoring the case of letters. Pure,
/// reentrant, and throws nothing.
///
/// This is the two-way algorithm of Crochemore and Perrin. The wanted sequence is cut at a critical
/// position, where a local repetition is as long as the period of the whole. What is after the cut
/// is compared first, away from it: a mismatch at its k-th byte rules out the next k places. Then
/// what is before the cut is compared, towards the start: a mismatch there rules out as many places
/// as the period has bytes, and when the sequence repeats itself from its start, the bytes that
/// still match after such a step are not compared again.
///
/// Looking for "baa" in "bababaa": the cut is after "b". At place 0 "a" matches and "b" does not
/// match the second "a", which rules out two places; so the search continues at 2, and at 4 all
/// bytes match.
///
/// Each byte of the text is compared at most twice, each wanted one a few times before.

namespace zeb::foundation::detail {

/// Bytes read from the last to the first.
class Reversed {
public:
    explicit Reversed(std::string_view bytes) noexcept : end_(bytes.data() + bytes.size()) {}
    /// Byte `index` from the end.
    unsigned char operator[](std::ptrdiff_t index) const noexcept {
        return static_cast<unsigned char>(*(end_ - 1 - index));
    }

private:
    char const* end_;
};

/// Bytes with ASCII letters in lower case.
class Folded {
public:
    explicit Folded(std::string_view bytes) noexcept : bytes_(bytes.data()) {}
    /// Byte `index`.
    unsigned char operator[](std::ptrdiff_t index) const noexcept {
        auto const byte = static_cast<unsigned char>(bytes_[index]);
        return static_cast<unsigned char>(byte >= 'A' && byte <= 'Z' ? byte | 0x20 : byte);
    }

private:
    char const* bytes_;
};

/// Where a sequence is cut in two, and its period, as far as it shows after the cut.
struct Cut {
    std::ptrdiff_t position;  ///< index of the first byte after the cut
    std::ptrdiff_t period;
};

/// The cut before the greatest suffix in the order of bytes, or in the opposite order.
template <typename Bytes>
Cut cutBeforeGreatestSuffix(Bytes wanted, std::ptrdiff_t length, bool opposite) noexcept {
    Cut cut{0, 1};
    std::ptrdiff_t rival = 1;  // start of the suffix that is compared with the greatest so far
    std::ptrdiff_t same = 0;   // bytes in which both agree, less whole periods
    while (rival + same < length) {
        unsigned char const best = wanted[cut.position + same];
        unsigned char const byte = wanted[rival + same];
        if (byte == best) {
            if (++same == cut.period) {
                rival += cut.period;
                same = 0;
            }
        } else if ((byte < best) != opposite) {
            rival += same + 1;
            same = 0;
            cut.period = rival - cut.position;
        } else {
            cut = {rival, 1};
            ++rival;
            same = 0;
        }
    }
    return cut;
}

/// @param length bytes of `wanted`, at least 1
/// @param textLength bytes of `text`
/// @return the index of the first place where `wanted` occurs; -1 when there is none
template <typename Bytes>
std::ptrdiff_t firstOccurrence(Bytes text, std::ptrdiff_t textLength, Bytes wanted,
                               std::ptrdiff_t length) noexcept {
    Cut const one = cutBeforeGreatestSuffix(wanted, length, /*opposite=*/false);
    Cut const other = cutBeforeGreatestSuffix(wanted, length, /*opposite=*/true);
    auto const [cut, period] = one.position > other.position ? one : other;
    bool repeats = cut + period <= length;
    for (std::ptrdiff_t i = 0; repeats && i < cut; ++i) {
        repeats = wanted[i] == wanted[i + period];
    }
    std::ptrdiff_t const step = repeats ? period : std::max(cut, length - cut) + 1;
    std::ptrdiff_t known = 0;  // first bytes that match at `place` from the step before
    for (std::ptrdiff_t place = 0; place <= textLength - length;) {
        std::ptrdiff_t index = std::max(cut, known);
        while (index < length && wanted[index] == text[place + index]) {
            ++index;
        }
        if (index < length) {
            place += index - cut + 1;
            known = 0;
            continue;
        }
        index = cut;
        while (index > known && wanted[index - 1] == text[place + index - 1]) {
            --index;
        }
        if (index <= known) {
            return place;
        }
        place += step;
        known = repeats ? length - period : 0;
    }
    return -1;
}

}  // namespace zeb::foundation::detail
