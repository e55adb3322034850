#include "Json.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>

namespace zeb::cli {

namespace {

using nlohmann::ordered_json;

/// Bytes of the character at the start of `text`, which is not ASCII; 0 when it is malformed.
std::size_t utf8Length(std::string_view text) {
    auto const byteAt = [text](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    unsigned const first = byteAt(0);
    std::size_t const length = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    // The first byte bounds the second one, so that there are no overlong forms, no surrogates and
    // nothing above U+10FFFF.
    unsigned const least = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    unsigned const most = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (length == 0 || first > 0xF4 || byteAt(1) < least || byteAt(1) > most) {
        return 0;
    }
    for (std::size_t i = 2; i < length; ++i) {
        if ((byteAt(i) & 0xC0U) != 0x80) {
            return 0;
        }
    }
    return length;
}

/// Whether a byte needs an escape in a string of JSON.
bool needsEscape(char byte) {
    return static_cast<unsigned char>(byte) < 0x20 || byte == '"' || byte == '\\';
}

void appendEscaped(std::string& json, char byte) {
    constexpr char NAMED[] = "\b\f\n\r\t\"\\";
    constexpr char LETTERS[] = "bfnrt\"\\";
    constexpr char DIGITS[] = "0123456789abcdef";
    std::size_t const named = std::string_view(NAMED).find(byte);
    json += '\\';
    if (named != std::string_view::npos) {
        json += LETTERS[named];
        return;
    }
    auto const value = static_cast<unsigned char>(byte);
    json += "u00";
    json += DIGITS[value >> 4U];
    json += DIGITS[value & 0xFU];
}

}  // namespace

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        auto const* const begin = text.data();
        auto const* const end = begin + text.size();
        auto const* const other = std::find_if(
            begin, end, [](char byte) { return static_cast<unsigned char>(byte) >= 0x80; });
        text.remove_prefix(static_cast<std::size_t>(other - begin));
        if (text.empty()) {
            return true;
        }
        std::size_t const length = utf8Length(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

void appendJson(std::string& json, std::string_view text) {
    if (!isUtf8(text)) {
        json += ordered_json(text).dump(/*indent=*/-1, /*indent_char=*/' ', /*ensure_ascii=*/false,
                                        ordered_json::error_handler_t::replace);
        return;
    }
    json += '"';
    while (!text.empty()) {
        auto const* const begin = text.data();
        auto const* const end = begin + text.size();
        auto const* const other = std::find_if(begin, end, needsEscape);
        json.append(begin, other);
        text.remove_prefix(static_cast<std::size_t>(other - begin));
        if (!text.empty()) {
            appendEscaped(json, text.front());
            text.remove_prefix(1);
        }
    }
    json += '"';
}

void appendJsonMember(std::string& json, char const* name, std::string_view text) {
    json += '"';
    json += name;
    json += "\":";
    appendJson(json, text);
    if (!isUtf8(text)) {
        json += ",\"";
        json += name;
        json += "Base64\":\"" + base64(text) + '"';
    }
}

std::string base64(std::string_view bytes) {
    constexpr char DIGITS[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string result;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        std::size_t const count = std::min<std::size_t>(3, bytes.size() - i);
        for (std::size_t k = 0; k < 3; ++k) {
            group = group << 8U | (k < count ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            result += k <= count ? DIGITS[group >> (18 - 6 * k) & 0x3FU] : '=';
        }
    }
    return result;
}

}  // namespace zeb::cli
