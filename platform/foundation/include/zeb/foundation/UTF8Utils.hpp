#pragma once

#include <zeb/foundation/Export.hpp>
#include <zeb/foundation/StringBuffer.hpp>

namespace zeb::foundation::UTF8Utils {

/// Bytes of the longest encoding.
inline constexpr unsigned int MAX_LENGTH = 4;

/// Writes the UTF-8 encoding (RFC 3629, 1 to 4 bytes) of `codePoint` at `out`, which has room for
/// `MAX_LENGTH` bytes. A surrogate and a value above 0x10FFFF are no characters: EF BF BD, the
/// encoding of U+FFFD, is written for them. U+0000 becomes one NUL byte. The locale has no
/// influence.
/// @return the end of what was written
/// @par Complexity constant. @par Thread safety reentrant.
inline char* encode(unsigned int codePoint, char* out) noexcept {
    auto const put = [&out](unsigned int byte) { *out++ = static_cast<char>(byte); };
    if (codePoint < 0x80) {
        put(codePoint);
    } else if (codePoint < 0x800) {
        put(0xC0 | codePoint >> 6);
        put(0x80 | (codePoint & 0x3F));
    } else if (codePoint >= 0x10000 && codePoint <= 0x10FFFF) {
        put(0xF0 | codePoint >> 18);
        put(0x80 | (codePoint >> 12 & 0x3F));
        put(0x80 | (codePoint >> 6 & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    } else {
        bool const character = codePoint <= 0xFFFF && (codePoint < 0xD800 || codePoint > 0xDFFF);
        unsigned int const point = character ? codePoint : 0xFFFD;
        put(0xE0 | point >> 12);
        put(0x80 | (point >> 6 & 0x3F));
        put(0x80 | (point & 0x3F));
    }
    return out;
}

/// Appends what `encode` writes to `out`.
/// @throws std::bad_alloc; `out` is unchanged then
/// @par Complexity amortised constant. @par Thread safety `out` needs exclusive access.
/// ```cpp
/// StringBuffer out;
/// UTF8Utils::UCS4toUTF8(0x20AC, out);
/// UTF8Utils::UCS4toUTF8(0xD800, out);
/// out.toString() == "\xE2\x82\xAC\xEF\xBF\xBD"
/// ```
ZEB_EXPORT void UCS4toUTF8(unsigned int codePoint, StringBuffer& out);

}  // namespace zeb::foundation::UTF8Utils
