#pragma once

#include <zeb/foundation/Export.hpp>
#include <zeb/foundation/String.hpp>

/// @file
/// Operations on texts: substrings, quoting, layout, numbers, encodings.

namespace ZEBNS2 {

using zeb::foundation::Array;
using zeb::foundation::String;
using zeb::foundation::StringArray;

/// The elements of `parts` in order, with `separator` between neighbours and not after the last.
/// @return the joined text; empty for no elements
/// @throws std::bad_alloc
/// @par Complexity linear in the result; one allocation. @par Thread safety reentrant.
///   untokenize({"a", "b"}, ", ") == "a, b"      untokenize({"a"}, ", ") == "a"
[[nodiscard]] ZEB_EXPORT String untokenize(StringArray const& parts, String const& separator);

}  // namespace ZEBNS2
