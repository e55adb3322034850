#pragma once

#include <zeb/foundation/Array.hpp>
#include <zeb/foundation/String.hpp>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zeb::xmltoolkit {

/// A parsed tree in three blocks of memory, so that building and freeing it costs few allocations.
///
/// The records of an element follow each other in document order: its own, one for each attribute,
/// then those of its content. For <a x="1">t<b/></a>:
///
///     0  element "a"    position 4 (behind its last record)   size 1 (attributes)
///     1  attribute "x"  position, size of "1" in `text`
///     2  text           position, size of "t" in `text`
///     3  element "b"    position 4                            size 0
///
/// The kind of a record follows from where it stands; in content `name` tells it. A record has 16
/// bytes, 12 on 32-bit machines. libexpat's lengths are `int`, so 32 bits hold the size of a value
/// and the number of attributes; a text that is too long for one record goes on in the next.
struct XMLDocument {
    struct Record {
        /// Index into `names`, or `TEXT`.
        std::uint32_t name;
        std::uint32_t size;
        std::size_t position;
    };

    struct Name {
        std::size_t position;
        std::size_t size;
    };

    static constexpr std::uint32_t TEXT = 0;

    foundation::Array<Record> records;
    /// Each distinct name once, behind an empty one that has the index of `TEXT`.
    foundation::Array<Name> names;
    /// All names, attribute values and character data; behind each name is a NUL.
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
    std::size_t contentOf(std::size_t index) const noexcept {
        return index + 1 + records.data()[index].size;
    }
};

}  // namespace zeb::xmltoolkit
