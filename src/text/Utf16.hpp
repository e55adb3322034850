#pragma once

#include <zeb/foundation/String.hpp>

#include <cstddef>

/// @file
/// The transcoder: UTF-16 in memory as code units, code points and UTF-8.
///
/// One pass leads from the units in memory to the result; a conversion to UTF-8 stores neither the
/// regrouped units nor the code points. A kernel encodes as many units as it can and stops before
/// the first malformed one. After that, blocks of eight units are tested first: all ASCII, or
/// without surrogates, they are written without a decision for each unit. Everything else goes
/// through `decode`, the only function that knows what is malformed:
/// - a low surrogate that no high one precedes becomes one U+FFFD;
/// - a high surrogate and the unit after it, when that is no low surrogate, become one U+FFFD
///   together; that unit is lost even if it is an ordinary character;
/// - a high surrogate that ends the text vanishes without a report.
///
/// The units of "ab", D83D DE00, DC00, "c" give the code points 61, 62, 1F600, FFFD, 63 and one
/// report, for DC00.
///
/// Invariants: each repair is reported before any later unit is decoded. UTF-8 takes at most three
/// bytes for each unit (a pair takes four for two), so a piece of 4,096 units needs little room; a
/// pair may reach one unit into the next piece, which `SPARE` allows for. Both byte orders share
/// all code: units are swapped as they are loaded, or not. Cost: linear, two to nine instructions
/// for each unit in the kernel. Nothing here logs, detects a byte order or handles its mark.

namespace ZEBNS2::utf16 {

/// The code point that replaces malformed units.
constexpr unsigned short REPLACEMENT = 0xFFFD;

/// Which byte of a unit comes first, the low or the high one.
enum class ByteOrder { LITTLE, BIG };

/// Code units in memory, at any address; borrowed.
struct Units {
    char const* bytes;  ///< two for each unit
    std::size_t count;
    ByteOrder order;
};

/// Receives the repairs, in the order of the text. Its exceptions reach the caller of the
/// conversion, whose result is then lost.
class Repairs {
public:
    Repairs() = default;
    Repairs(Repairs const&) = delete;
    Repairs& operator=(Repairs const&) = delete;

    /// `unit` is a low surrogate without a high one before it.
    virtual void loneSurrogate(unsigned short unit) = 0;
    /// `next`, which follows the high surrogate `high`, is no low one.
    virtual void brokenPair(unsigned short high, unsigned short next) = 0;

protected:
    ~Repairs() = default;
};

/// Writes `units.count` units to `out`, in the machine's byte order.
void regroup(Units units, unsigned short* out) noexcept;

/// An upper bound of the code points of `toUTF32`; exact if nothing is malformed.
std::size_t mostPoints(Units units) noexcept;

/// Writes the code points of `units` to `out`, which has room for `mostPoints(units)` of them.
/// @return how many there are
std::size_t toUTF32(Units units, unsigned int* out, Repairs& repairs);

/// Result of an encoder.
struct Progress {
    std::size_t units;  ///< read
    char* out;          ///< end of the output
};

/// Encodes units from the first on; it may stop anywhere, but never between the units of a pair,
/// and stops before a malformed unit. The rest is encoded unit by unit.
/// @param out has room for three bytes a unit and `KERNEL_OVERRUN` more, all of which it may write
using Kernel = Progress (*)(Units units, char* out) noexcept;
constexpr std::size_t KERNEL_OVERRUN = 16;

/// The fastest kernel for this processor. Thread-safe.
Kernel bestKernel() noexcept;

/// The text in UTF-8. Memory is allocated piece by piece, for the text's actual encoding rather
/// than the longest possible.
/// @param kernel any that this processor can run; the result does not depend on it
/// @throws std::bad_alloc and what `repairs` throws
zeb::foundation::String toUTF8(Units units, Repairs& repairs, Kernel kernel = bestKernel());

}  // namespace ZEBNS2::utf16
