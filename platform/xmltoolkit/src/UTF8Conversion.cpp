// libexpat's tables for UTF-16 and ISO-8859-1 differ from those for UTF-8: it accepts letters in
// names that XML forbids, and up to 2.5.0 a high surrogate consumes any next unit. So it gets only
// UTF-8, and answers the same in every encoding.

#include "UTF8Conversion.hpp"

#include <cstddef>
#include <cstring>

namespace zeb::xmltoolkit {

namespace {

bool isHighSurrogate(std::uint32_t unit) noexcept { return (unit & 0xFC00) == 0xD800; }
bool isLowSurrogate(std::uint32_t unit) noexcept { return (unit & 0xFC00) == 0xDC00; }

/// @tparam HIGH index of a unit's high byte
template <std::size_t HIGH>
char* convertUTF16(std::string_view text, char* out) noexcept {
    std::size_t const size = text.size() & ~std::size_t{1};
    auto const unitAt = [text](std::size_t at) {
        return std::uint32_t{static_cast<unsigned char>(text[at + HIGH])} << 8 |
               static_cast<unsigned char>(text[at + 1 - HIGH]);
    };
    for (std::size_t at = 0; at < size; at += 2) {
        std::uint32_t const unit = unitAt(at);
        if (unit < 0x80) {
            *out++ = static_cast<char>(unit);
            continue;
        }
        if (!isHighSurrogate(unit)) {
            out = putUTF8(out, unit);
            continue;
        }
        std::uint32_t const above = 0x10000 + ((unit & 0x3FF) << 10);
        if (at + 2 == size) {
            *out++ = static_cast<char>(0xF0 | (above >> 18));
        } else if (std::uint32_t const low = unitAt(at + 2); isLowSurrogate(low)) {
            out = putUTF8(out, above | (low & 0x3FF));
            at += 2;
        } else {
            out = putUTF8(out, unit);
        }
    }
    return out;
}

}  // namespace

void appendUTF16(std::string_view text, foundation::StringBuffer& converted) {
    char* const start = converted.prepare(text.size() / 2 * 3);
    char* const end =
        text[0] == '\xFE' ? convertUTF16<0>(text, start) : convertUTF16<1>(text, start);
    converted.commit(static_cast<std::size_t>(end - start));
}

void appendLatin1(std::string_view text, foundation::StringBuffer& converted) {
    char* const start = converted.prepare(text.size() * 2);
    char* out = start;
    for (char const byte : text) {
        out = putUTF8(out, static_cast<unsigned char>(byte));
    }
    converted.commit(static_cast<std::size_t>(out - start));
}

}  // namespace zeb::xmltoolkit
