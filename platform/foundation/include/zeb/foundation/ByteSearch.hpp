#pragma once

#include <zeb/foundation/Export.hpp>

#include <cstddef>
#include <string_view>

/// @file
/// Not API: searches for one text in another, and replaces it.
///
/// Sixty-four places are tested together: only where two of the bytes wanted both occur are all
/// compared. The two are the rarest in usual texts, by a table: for "needle" these are "l" and "d",
/// so places with the frequent "n" and "e" are not compared. (A text of fewer than 512 places is
/// not worth the choice: its pair are the first and the last byte.) After a hit the search
/// continues with the places of the same vectors: dense hits cost a comparison each and almost no
/// search.
///
/// A text may be unusual. When more than one place in 64 is compared in vain, the next bytes of the
/// text are counted, and the pair becomes the byte that is rarest there and the one that differs
/// most often where the first is. In a text of "needlX" only, the pair becomes "n" and the last
/// "e", and nothing is compared any more.
///
/// That costs a third to an eighth of libc's memmem, which also prepares a table of 256 bytes in
/// each call: expensive where hits are dense. But it is not linear: in a text of random "a" and "b"
/// each pair occurs at a quarter of the places. So when failed comparisons have cost more than the
/// search itself, memmem, which is linear, searches the rest.
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
