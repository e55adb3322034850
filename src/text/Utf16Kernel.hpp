#pragma once

#include "Utf16.hpp"

/// @file
/// The kernels of the conversion to UTF-8.

namespace ZEBNS2::utf16 {

/// By vectors of eight units; for processors with SSSE3. It stops in front of the last seven units
/// and at most eight units in front of what is malformed.
Progress encodeBySSSE3(Units units, char* out) noexcept;

/// Encodes nothing; for processors without a better one.
Progress encodeNothing(Units units, char* out) noexcept;

/// Whether this processor has SSSE3, as nearly all since 2006 have. Thread-safe.
bool hasSSSE3() noexcept;

}  // namespace ZEBNS2::utf16
