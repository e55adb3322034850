#include "Json.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <cstring>

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
    // The first byte limits the second one, which excludes overlong forms, surrogates and
    // everything above U+10FFFF.
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

/// The number of ASCII bytes at the start of `text` that need no escape in a string of JSON.
std::size_t plainLength(std::string_view text) {
    constexpr std::uint64_t ONES = 0x0101010101010101;
    std::size_t length = 0;
    for (; text.size() - length >= sizeof ONES; length += sizeof ONES) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, text.data() + length, sizeof eight);
        // A byte of each term has its high bit when the byte is not ASCII, below the blank, a quote
        // or a backslash; bytes above such a one may have it wrongly.
        std::uint64_t const special = eight | (eight - 0x20 * ONES) |
                                      ((eight ^ '"' * ONES) - ONES) |
                                      ((eight ^ '\\' * ONES) - ONES);
        if ((special & (0x80 * ONES)) != 0) {
            break;
        }
    }
    auto const isPlain = [](char byte) {
        return static_cast<unsigned char>(byte) < 0x80 && !needsEscape(byte);
    };
    while (length < text.size() && isPlain(text[length])) {
        ++length;
    }
    return length;
}

void appendName(std::string& json, std::string_view name) {
    json += '"';
    json += name;
    json += "\":";
}

}  // namespace

bool appendJson(std::string& json, std::string_view text) {
    std::size_t const begin = json.size();
    json += '"';
    for (std::string_view rest = text;;) {
        std::size_t const plain = plainLength(rest);
        json.append(rest.data(), plain);
        rest.remove_prefix(plain);
        if (rest.empty()) {
            json += '"';
            return true;
        }
        if (needsEscape(rest.front())) {
            appendEscaped(json, rest.front());
            rest.remove_prefix(1);
            continue;
        }
        std::size_t const length = utf8Length(rest);
        if (length == 0) {
            break;
        }
        json.append(rest.data(), length);
        rest.remove_prefix(length);
    }
    json.resize(begin);
    json += ordered_json(text).dump(/*indent=*/-1, /*indent_char=*/' ', /*ensure_ascii=*/false,
                                    ordered_json::error_handler_t::replace);
    return false;
}

void appendJsonMember(std::string& json, std::string_view name, std::string_view text) {
    appendName(json, name);
    if (!appendJson(json, text)) {
        json += ",\"";
        json += name;
        json += "Base64\":\"" + base64(text) + '"';
    }
}

JsonObject& JsonObject::add(std::string_view name, std::string_view text) {
    separate();
    appendJsonMember(json_, name, text);
    return *this;
}

JsonObject& JsonObject::addJson(std::string_view name, std::string_view json) {
    separate();
    appendName(json_, name);
    json_ += json;
    return *this;
}

void JsonObject::separate() {
    if (json_.size() > 1) {
        json_ += ',';
    }
}

std::string jsonNumber(std::string const& number) {
    ordered_json const value = ordered_json::parse(number, nullptr, /*allow_exceptions=*/false);
    if (value.is_number()) {
        return value.dump();
    }
    return number == "-nan" ? "\"nan\"" : '"' + number + '"';  // the sign of nan has no meaning
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
