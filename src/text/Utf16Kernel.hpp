#pragma once

#include "Utf16.hpp"

/// @file
/// The kernels of the conversion to UTF-8.
///
/// Eight units at a time, each in a lane of 16 bits. A block of ASCII is packed into bytes. In a
/// block below 0x800 each lane becomes the two bytes of its encoding, or one and a spare one; a
/// shuffle moves the kept bytes together, and a table has one for each combination of lengths. In
/// any other block each lane becomes three bytes, first to third, of which the last one, two or
/// three are its encoding:
///
///     unit               first        second                  third              kept
///     below 0x80         -            -                       unit               1
///     below 0x800        -            C0 | unit >> 6          80 | unit & 3F     2
///     others             E0 | u >> 12 80 | unit >> 6 & 3F     80 | unit & 3F     3
///     high surrogate     -            F0 | high >> 8          80 | high >> 2 & 3F 2
///     low surrogate      -            80 | high << 4 & 30 | unit >> 6 & F   80 | unit & 3F   2
///
/// A pair is two lanes of two bytes each: `high` is the ten bits of the high surrogate plus 0x40,
/// for the 0x10000 that they lack. Its second lane needs two bits of the lane before it.
///
/// Shuffles of four lanes, from a table too, then move the kept bytes together. For "aé€b" the
/// lanes contain --61, -C3A9, E282AC, --62, the lengths are 1, 2, 3, 1, and the shuffle takes the
/// bytes 2 | 5 6 | 8 9 10 | 14 of them, counting four to a lane. It always writes 16 bytes; what is
/// beyond the sum of the lengths is overwritten by the next.
///
/// A high surrogate in the last lane is written like others, and the next block must begin with a
/// low one; so blocks are always eight units apart and do not depend on the previous one. If the
/// next block does not, the two bytes are removed. Cost: about nine instructions a unit, half as
/// many more for pairs, four below 0x800, and two for ASCII.

namespace ZEBNS2::utf16 {

/// By vectors of eight units; for processors with SSSE3. It stops before the last seven units and
/// at most eight units before the first malformed one.
Progress encodeBySSSE3(Units units, char* out) noexcept;

/// Encodes nothing; for processors without SSSE3.
Progress encodeNothing(Units units, char* out) noexcept;

/// Whether this processor has SSSE3, as nearly all since 2006. Thread-safe.
bool hasSSSE3() noexcept;

}  // namespace ZEBNS2::utf16
