#pragma once

#include <cstddef>
#include <string_view>

#include "ByteFinder.hpp"
#include "Positions.hpp"

/// @file
/// Where a match can start, by the first occurrence of the literal that every match contains.
///
/// A match that starts before this occurrence contains all bytes up to it. Only some bytes can
/// precede the literal in a match: for "([a-z]+)=(.*)" with the literal "=" they are the letters.
/// Any other byte rules out all starts up to and including it: on "Mar 14 id=5", with the = at 9,
/// the last such byte is the blank at 6, and the search begins at 7.
///
/// The set is found by following the positions together with how much of the literal's beginning
/// the bytes read last spell, and by stopping where the literal is complete. It may be too large,
/// never too small: of a literal that repeats its beginning, like "aab", the length is only a lower
/// bound, and the literal's own first bytes are in the set.
///
/// Cost: the bytes from the occurrence back to that start are read once, 16 at a time.

namespace ZEBNS2 {

class BeforeLiteral {
public:
    /// No literal is known: a match can start anywhere.
    BeforeLiteral() = default;

    /// @param literal ASCII text that every match contains
    /// @throws std::bad_alloc
    BeforeLiteral(Positions const& positions, std::string_view literal);

    /// An offset before which no match starts.
    /// @param at offset of the first occurrence of the literal
    std::size_t start(std::string_view subject, std::size_t at) const noexcept {
        auto const* const begin = reinterpret_cast<unsigned char const*>(subject.data());
        return static_cast<std::size_t>(others_.findLast(begin, begin + at) - begin);
    }

private:
    ByteFinder others_;  ///< bytes that cannot be read before the literal
};

}  // namespace ZEBNS2
