#pragma once

#include <zeb/foundation/String.hpp>

#include <cstddef>

/// @file
/// UTF-16 in memory as code units, code points and UTF-8.
///
/// Nothing here logs, detects a byte order or knows a byte order mark. What is malformed is
/// repaired, and each repair is reported before anything behind it is read:
/// - a low surrogate that no high one precedes becomes one U+FFFD;
/// - a high surrogate and the unit after it, when that is no low surrogate, become one U+FFFD
///   together; that unit is consumed, whatever it is;
/// - a high surrogate that ends the text vanishes without a report.

namespace ZEBNS2::utf16 {

/// The code point that stands for what is malformed.
constexpr unsigned short REPLACEMENT = 0xFFFD;

/// Which byte of a unit comes first, the low or the high one.
enum class ByteOrder { LITTLE, BIG };

/// Code units as they lie in memory, at any address; borrowed.
struct Units {
    char const* bytes;  ///< two for each unit
    std::size_t count;
    ByteOrder order;
};

/// Receives the repairs, in the order of the text. What it throws reaches the caller of the
/// conversion, whose result is lost then.
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

/// Writes `units.count` units to `out`, in the order of the machine.
void regroup(Units units, unsigned short* out) noexcept;

/// A number of code points that `toUTF32` does not exceed; the true one where nothing is malformed.
std::size_t mostPoints(Units units) noexcept;

/// Writes the code points of `units` to `out`, which has room for `mostPoints(units)` of them.
/// @return how many there are
std::size_t toUTF32(Units units, unsigned int* out, Repairs& repairs);

/// How far an encoder got.
struct Progress {
    std::size_t units;  ///< read
    char* out;          ///< end of what was written
};

/// Encodes units from the first on, for as long as it likes and all is well. It never stops between
/// the units of a pair, and what it leaves is encoded unit by unit.
/// @param out has room for three bytes a unit and `KERNEL_OVERRUN` more, all of which it may write
using Kernel = Progress (*)(Units units, char* out) noexcept;
constexpr std::size_t KERNEL_OVERRUN = 16;

/// The fastest kernel for this processor. Thread-safe.
Kernel bestKernel() noexcept;

/// The text in UTF-8. Memory is taken piece by piece, for what the text needs rather than for the
/// longest encoding of as many units.
/// @param kernel any that this processor can run; the result does not depend on it
/// @throws std::bad_alloc and what `repairs` throws
zeb::foundation::String toUTF8(Units units, Repairs& repairs, Kernel kernel = bestKernel());

}  // namespace ZEBNS2::utf16
