#pragma once

#include <zeb/foundation/StringBuffer.hpp>

#include <cstdint>
#include <string_view>

namespace zeb::xmltoolkit {

/// Appends the UTF-8 form of a UTF-16 text that begins with its mark, the mark included. Malformed
/// units stay recognisable, so that libexpat refuses them at their place: a lone surrogate becomes
/// the three bytes that the scheme of UTF-8 would give it; a high surrogate at the end of the text
/// becomes the first byte of a character. Half a unit at the end is left out.
/// @throws std::bad_alloc
void appendUTF16(std::string_view text, foundation::StringBuffer& converted);

/// Appends a text in ISO-8859-1, in UTF-8.
/// @throws std::bad_alloc
void appendLatin1(std::string_view text, foundation::StringBuffer& converted);

/// Writes a character, or a surrogate as if it were one, and returns the end, at most 4 bytes
/// later.
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
