#pragma once

#include <zeb/foundation/Export.hpp>
#include <zeb/foundation/String.hpp>
#include <zeb/xmltoolkit/DOMException.hpp>
#include <zeb/xmltoolkit/XMLNode.hpp>

#include <cstddef>

namespace zeb::xmltoolkit {

/// The parser that turns a text into a tree.
class ZEB_EXPORT XMLParserDOM {
public:
    XMLParserDOM() = delete;

    /// The greatest allowed nesting of elements; the top element counts as 1.
    static constexpr std::size_t MAXIMUM_DEPTH = 10000;

    /// The greatest allowed nesting of entities; one whose text refers to no other counts as 1.
    static constexpr std::size_t MAXIMUM_ENTITY_DEPTH = 100;

    /// Parses a whole XML 1.0 document.
    ///
    /// The parser does not validate and reads only `xml`. The internal subset of a document type
    /// declaration takes effect: its entities, parameter entities included, are replaced and its
    /// default attributes added. An external subset and external entities are never fetched: a
    /// reference to such an entity in an element's content yields nothing, in an attribute it is an
    /// error. Where there is an external subset or a reference to a parameter entity, an entity may
    /// be declared where nothing is read: unless the document is standalone, a reference to one
    /// that is not declared yields nothing, in an attribute too; and after a reference to a
    /// parameter entity that is external or not declared, declarations of entities and attributes
    /// have no effect. Names keep their namespace prefixes, which have no meaning here.
    /// ```cpp
    /// XMLParserDOM::parse("<!DOCTYPE a SYSTEM 's'><a x='[&u;]'/>").toString() == "<a x=\"[]\"/>"
    /// ```
    ///
    /// @param xml UTF-8 (with or without a mark), UTF-16 with its mark, or ISO-8859-1 or US-ASCII
    ///   as its XML declaration says; the locale has no influence
    /// @return the top element, its names and texts in UTF-8; the tree does not refer to `xml`
    /// @throws DOMException
    ///   - when `xml` is not well-formed; empty texts and texts with a NUL character are not
    ///   - when its declaration names a version other than "1." and digits, an encoding other than
    ///     those above, or one that contradicts the mark
    ///   - when elements are nested deeper than `MAXIMUM_DEPTH`
    ///   - when a reference leads to entities nested deeper than `MAXIMUM_ENTITY_DEPTH`, parameter
    ///     entities included; what is declared but never referred to does not count
    ///   - when entities or default attributes make the text more than 100 times as long, and the
    ///     surplus exceeds 8 MiB
    ///   - when its names, values and texts exceed 4 GiB, or its elements, attributes and texts
    ///     2^32
    /// @throws std::bad_alloc when memory is exhausted, or libexpat needs more of it than is
    ///   plausible for the text
    /// @par Complexity linear in the text with its entities replaced; nothing recurses.
    /// @par Thread safety reentrant.
    [[nodiscard]] static XMLNode parse(foundation::String const& xml);
};

}  // namespace zeb::xmltoolkit
