#pragma once

#include <zeb/foundation/Export.hpp>

#include <cstddef>
#include <string_view>

/// @file
/// Not API: searches for one text in another, and replaces it.
///
/// Sixteen places are tested together: only where the first and the last byte wanted both occur are
/// the bytes between them compared. For "needle" in "a needle", of the places 0 to 2 only place 2
/// has "n" there and "e" five bytes later, so one comparison is made. After a hit the search
/// continues with the places of the same vectors: dense hits cost a comparison each and almost no
/// search.
///
/// That costs a quarter of libc's memmem, which also prepares a table of 256 bytes in each call:
/// expensive where hits are dense. But it is not linear: "ab...b" in a text of only "b" and "a" can
/// fail late at every place. So failed comparisons are counted, and once they have cost more than
/// the search itself, memmem, which is linear, searches the rest.
/// @par Thread safety reentrant.

namespace zeb::foundation {

class StringBuffer;

namespace detail {

/// @param wanted not empty
/// @return the offset of the first occurrence of `wanted` in `text`; npos when there is none
/// @par Complexity linear in both.
[[nodiscard]] std::size_t findBytes(std::string_view text, std::string_view wanted) noexcept;

/// Appends `text` with each occurrence of `wanted` replaced, from left to right and without
/// overlaps. Replacements are not searched.
/// @param out contains none of the texts
/// @param wanted not empty
/// @return whether there was one; if not, nothing is appended
/// @throws std::bad_alloc, with a part of the result appended
/// @par Complexity linear in the texts and the result.
[[nodiscard]] ZEB_EXPORT bool appendReplaced(StringBuffer& out, std::string_view text,
                                             std::string_view wanted, std::string_view replacement);

}  // namespace detail

}  // namespace zeb::foundation
