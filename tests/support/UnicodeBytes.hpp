#pragma once

#include <OrventoTextOperations.hpp>

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

/// @file
/// Arrays of bytes and units for the tests of the Unicode conversions.

namespace zeb::test {

inline ZEBNS2::Array<char> arrayOf(std::string_view bytes) {
    return ZEBNS2::Array<char>(bytes.begin(), bytes.end());
}

inline ZEBNS2::Array<unsigned char> unsignedArrayOf(std::string_view bytes) {
    auto const* const first = reinterpret_cast<unsigned char const*>(bytes.data());
    return ZEBNS2::Array<unsigned char>(first, first + bytes.size());
}

inline ZEBNS2::Array<unsigned short> arrayOf(std::u16string_view units) {
    return ZEBNS2::Array<unsigned short>(units.begin(), units.end());
}

/// Units as bytes, the low one first or last.
inline std::string bytesOf(std::u16string_view units, ZEBNS2::BOMTypes order) {
    std::string bytes;
    bytes.reserve(2 * units.size());
    for (char16_t const unit : units) {
        char const low = static_cast<char>(unit & 0xFF);
        char const high = static_cast<char>(unit >> 8);
        bool const lowFirst = order == ZEBNS2::BOM_UTF16_LE;
        bytes += lowFirst ? low : high;
        bytes += lowFirst ? high : low;
    }
    return bytes;
}

/// A decoder that shares nothing with the one under test: it looks ahead instead of keeping pending
/// units.
/// @param[out] malformed when not null, one entry for each sequence replaced: its units, as the
///   messages write them
inline std::u32string decode(std::u16string_view units,
                             std::vector<std::string>* malformed = nullptr) {
    std::u32string points;
    auto const note = [malformed](char const* format, unsigned int first, unsigned int second) {
        if (malformed != nullptr) {
            char text[32];
            std::snprintf(text, sizeof text, format, first, second);
            malformed->emplace_back(text);
        }
    };
    while (!units.empty()) {
        char16_t const first = units[0];
        bool const high = first >= 0xD800 && first <= 0xDBFF;
        bool const low = first >= 0xDC00 && first <= 0xDFFF;
        if (!high) {
            if (low) {
                note("0x%04x", first, 0);
            }
            points += low ? char32_t{0xFFFD} : char32_t{first};
            units.remove_prefix(1);
            continue;
        }
        if (units.size() == 1) {
            break;  // vanishes
        }
        char16_t const second = units[1];
        if (second >= 0xDC00 && second <= 0xDFFF) {
            points += static_cast<char32_t>(0x10000 + (first - 0xD800) * 0x400 + (second - 0xDC00));
        } else {
            note("0x%x 0x%04x", first, second);
            points += char32_t{0xFFFD};
        }
        units.remove_prefix(2);
    }
    return points;
}

/// UTF-8 by division, after the table of RFC 3629.
inline std::string encode(std::u32string_view points) {
    std::string bytes;
    for (char32_t const point : points) {
        auto const put = [&bytes](char32_t byte) { bytes += static_cast<char>(byte); };
        if (point < 0x80) {
            put(point);
        } else if (point < 0x800) {
            put(0xC0 + point / 64);
            put(0x80 + point % 64);
        } else if (point < 0x10000) {
            put(0xE0 + point / 4096);
            put(0x80 + point / 64 % 64);
            put(0x80 + point % 64);
        } else {
            put(0xF0 + point / 262144);
            put(0x80 + point / 4096 % 64);
            put(0x80 + point / 64 % 64);
            put(0x80 + point % 64);
        }
    }
    return bytes;
}

}  // namespace zeb::test
