#pragma once

#include <zeb/foundation/StringBuffer.hpp>

#include <cstdint>
#include <string_view>

namespace zeb::xmltoolkit {

/// Appends a text in UTF-16 that begins with its mark, in UTF-8, the mark included. What is no
/// character stays recognisable, so that libexpat refuses it at its place: a lone surrogate becomes
/// the three bytes that UTF-8 would have for it if it had any; the first surrogate of a pair that
/// the end of the text cuts becomes the first byte of a character. Half a unit at the end is left
/// out.
/// @throws std::bad_alloc
void appendUTF16(std::string_view text, foundation::StringBuffer& converted);

/// Appends a text in ISO-8859-1, in UTF-8.
/// @throws std::bad_alloc
void appendLatin1(std::string_view text, foundation::StringBuffer& converted);

/// Writes a character, or a surrogate as if it were one, and returns the place behind it, at most 4
/// bytes further.
inline char* putUTF8(char* out, std::uint32_t character) noexcept {
    auto const put = [&out](std::uint32_t byte) { *out++ = static_cast<char>(byte); };
    if (character < 0x80) {
        put(character);
        return out;
    }
    if (character < 0x800) {
        put(0xC0 | (character >> 6));
    } else {
        if (character < 0x10000) {
            put(0xE0 | (character >> 12));
        } else {
            put(0xF0 | ((character >> 18) & 7));
            put(0x80 | ((character >> 12) & 0x3F));
        }
        put(0x80 | ((character >> 6) & 0x3F));
    }
    put(0x80 | (character & 0x3F));
    return out;
}

}  // namespace zeb::xmltoolkit
