#pragma once

#include <zeb/foundation/Export.hpp>

#include <cstddef>
#include <string_view>

/// @file
/// Not API: the search for a text in another, and its replacement.
/// @par Thread safety reentrant.

namespace zeb::foundation {

class StringBuffer;

namespace detail {

/// @param wanted not empty
/// @return the offset of the first occurrence of `wanted` in `text`; npos when there is none
/// @par Complexity linear in both.
[[nodiscard]] std::size_t findBytes(std::string_view text, std::string_view wanted) noexcept;

/// Appends `text` with each occurrence of `wanted` replaced, from left to right and without
/// overlaps. What is inserted is not searched.
/// @param out holds none of the texts
/// @param wanted not empty
/// @return whether there was one; if not, nothing is appended
/// @throws std::bad_alloc, with a part of it appended
/// @par Complexity linear in the texts and in what is appended.
[[nodiscard]] ZEB_EXPORT bool appendReplaced(StringBuffer& out, std::string_view text,
                                             std::string_view wanted, std::string_view replacement);

}  // namespace detail

}  // namespace zeb::foundation
