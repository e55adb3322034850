#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// @file
/// Finds how deep the entities of a document are nested, without expanding them.
///
/// Some releases of libexpat recurse once for each entity that is open: a chain of e1 = "&e0;", e2
/// =
/// "&e1;", ... exhausts the stack as soon as its end is referred to. No handler is called before
/// that, so references that are too deep must be found before libexpat gets the text.
///
/// The reader follows the references in the same order as libexpat, but builds nothing: it
/// reads the internal subset, entering each parameter entity where it is referred to; records the
/// entities declared; and follows the references in default values, content and values of
/// attributes. It stops at the first reference that opens one entity too many, and where libexpat
/// refuses the document anyway. For example, with a limit of 2:
///
///     <!DOCTYPE a [<!ENTITY e0 "x"> <!ENTITY e1 "&e0;"> <!ENTITY e2 "&e1;">]>
///     <a v="&e1;">&e2;</a>
///
/// &e1; opens e1, then e0, and closes both: e0 has the height 1, e1 the height 2. &e2; opens e2, in
/// which &e1;, of height 2, would bring the total to 3: the reference found is &e2;.
///
/// Invariants: never more than `limit` entities are open, which bounds every stack here. Once an
/// entity is closed its height is known, and it is not entered again unless new entities are
/// declared: following is linear. (An entity that leads to a cycle never closes: libexpat refuses
/// the first reference to it, so the reading ends.) Only parameter entities are entered each time,
/// since their declarations may differ; their bytes are counted, and the reading ends when they
/// exceed what libexpat accepts.

namespace zeb::xmltoolkit {

/// Finds the first reference in a document whose replacement would open more entities at a time
/// than allowed.
///
/// Only references that libexpat would follow in this document count: between declarations, in
/// default values of attributes, in content and in values of attributes. Declarations that are
/// never used do not count, nor does anything after an error that ends the parsing.
/// @param text the document in UTF-8, with or without a mark; after the first error of a malformed
///   one the result is unspecified
/// @param limit how many entities may be open at a time, at least 1
/// @param standalone whether the XML declaration says that the document is standalone
/// @param maximumReplaced the most bytes of replaced entities that libexpat accepts: the reading
///   ends there
/// @return the offset of its "&" or "%" in `text`; npos when there is none. For a reference inside
///   a parameter entity's text, the offset of the reference to that entity in the document.
/// @throws std::bad_alloc
/// @par Complexity linear in the text with its parameter entities replaced, `maximumReplaced` at
/// most. Nothing recurses.
[[nodiscard]] std::size_t findDeepReference(std::string_view text, std::size_t limit,
                                            bool standalone, std::uint64_t maximumReplaced);

/// Whether the replacement text of an entity can refer to another one. As long as fewer than
/// `limit` such entities are declared, `findDeepReference` finds nothing.
[[nodiscard]] bool refersToEntities(std::string_view replacement, bool isParameter) noexcept;

}  // namespace zeb::xmltoolkit
