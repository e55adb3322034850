#pragma once

#include <zeb/foundation/Array.hpp>
#include <zeb/foundation/String.hpp>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zeb::xmltoolkit {

/// A parsed tree in three blocks of memory, so that building and freeing it takes few allocations.
///
/// The records are in document order. An element has one of its own, one for each attribute, then
/// those of its content. For <a x="1">t<b/></a>:
///
///     0  element "a"    position 4 (after its last record)    size 1 (attributes)
///     1  attribute "x"  position, size of "1" in `text`
///     2  text           position, size of "t" in `text`
///     3  element "b"    position 4                            size 0
///
/// The first child is the record after the attributes, the next sibling the record at `position`:
/// walking the tree needs neither pointers nor recursion, and a step costs constant time.
///
/// Invariant: the records of an element are those from its own up to `position`, exclusive, and
/// every element inside ends there or before; between two elements there is at most one text
/// record. The kind of a record follows from its place; in content, `name` is `TEXT` or not. All
/// numbers have 32 bits, which the parser ensures: building and searching cost mainly the memory
/// touched for the first time, so a smaller tree is faster.
struct XMLDocument {
    struct Record {
        /// Index into `names`, or `TEXT`.
        std::uint32_t name;
        std::uint32_t position;
        std::uint32_t size;
    };

    struct Name {
        std::uint32_t position;
        std::uint32_t size;
    };

    static constexpr std::uint32_t TEXT = 0;

    foundation::Array<Record> records;
    /// Each distinct name once, after an empty one at the index `TEXT`.
    foundation::Array<Name> names;
    /// All names, attribute values and character data; a NUL follows each name.
    foundation::String text;

    std::string_view bytes(std::size_t position, std::size_t size) const noexcept {
        return {text.c_str() + position, size};
    }
    std::string_view nameOf(Record const& record) const noexcept {
        Name const name = names.data()[record.name];
        return bytes(name.position, name.size);
    }
    std::string_view valueOf(Record const& record) const noexcept {
        return bytes(record.position, record.size);
    }
    /// Where the content of the element at `index` begins.
    std::uint32_t contentOf(std::uint32_t index) const noexcept {
        return index + 1 + records.data()[index].size;
    }
};

}  // namespace zeb::xmltoolkit
