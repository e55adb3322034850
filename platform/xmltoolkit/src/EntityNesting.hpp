#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zeb::xmltoolkit {

/// Finds the first reference of a document whose replacement would open more entities at a time
/// than allowed.
///
/// The references that count are those that libexpat would follow in this document: between
/// declarations, in default values of attributes, in content and in values of attributes. What
/// is declared and never followed is of no account, and neither is what lies behind an error that
/// ends the reading before.
/// @param text the document in UTF-8, with or without a mark; malformed ones may give anything
///   behind their first error
/// @param limit how many entities may be open at a time, at least 1
/// @param standalone whether the XML declaration says so
/// @param maximumReplaced how many bytes of replaced entities libexpat takes at most: the reading
///   ends there
/// @return the offset of its "&" or "%" in `text`, npos when there is none. What leads too deep by
///   way of the text of a parameter entity is found at the reference to that in the document.
/// @throws std::bad_alloc
/// @par Complexity linear in the text with its parameter entities replaced, `maximumReplaced` at
/// most. Nothing recurses.
[[nodiscard]] std::size_t findDeepReference(std::string_view text, std::size_t limit,
                                            bool standalone, std::uint64_t maximumReplaced);

/// Whether the replacement text of an entity can refer to another one. As long as fewer than
/// `limit` such entities are declared, `findDeepReference` finds nothing.
[[nodiscard]] bool refersToEntities(std::string_view replacement, bool isParameter) noexcept;

}  // namespace zeb::xmltoolkit
