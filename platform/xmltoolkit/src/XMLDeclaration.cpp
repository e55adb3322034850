#include "XMLDeclaration.hpp"

#include <algorithm>

namespace zeb::xmltoolkit {

namespace {

constexpr std::size_t NPOS = std::string_view::npos;
constexpr std::string_view QUOTES = "'\"";

char capital(char byte) noexcept {
    return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
}

bool isBeyondASCII(char byte) noexcept { return static_cast<unsigned char>(byte) >= 0x80; }

/// Compares ignoring the case of `name`.
bool isNamed(std::string_view name, std::string_view capitals) noexcept {
    return std::equal(name.begin(), name.end(), capitals.begin(), capitals.end(),
                      [](char left, char right) { return capital(left) == right; });
}

/// The encoding that the XML declaration names in `xml`, which is not UTF-16; empty when it names
/// none. For a malformed declaration, which libexpat refuses, the result is unspecified.
std::string_view declaredEncoding(std::string_view xml) noexcept {
    constexpr std::string_view START = "<?xml";
    if (xml.substr(0, START.size()) != START ||
        std::string_view(" \t\r\n").find(xml.substr(START.size(), 1)) == NPOS) {
        return {};
    }
    std::string_view declaration = xml.substr(0, xml.find("?>"));
    if (std::any_of(declaration.begin(), declaration.end(), isBeyondASCII)) {
        return {};
    }
    declaration.remove_prefix(std::min(declaration.find("encoding"), declaration.size()));
    std::size_t const quote = declaration.find_first_of(QUOTES);
    if (quote == NPOS) {
        return {};
    }
    declaration.remove_prefix(quote + 1);
    return declaration.substr(0, declaration.find_first_of(QUOTES));
}

}  // namespace

Encoding encodingOf(std::string_view xml) noexcept {
    std::string_view const mark = xml.substr(0, 2);
    if (mark == "\xFE\xFF") {
        return Encoding::UTF16_BE;
    }
    if (mark == "\xFF\xFE") {
        return Encoding::UTF16_LE;
    }
    if (xml.substr(0, 3) == "\xEF\xBB\xBF") {
        return Encoding::MARKED_UTF8;
    }
    return isNamed(declaredEncoding(xml), "ISO-8859-1") ? Encoding::LATIN1 : Encoding::AS_DECLARED;
}

Fit fit(std::string_view name, Encoding encoding) noexcept {
    struct Known {
        std::string_view name;
        bool fits;
    };
    if (encoding == Encoding::AS_DECLARED) {
        return Fit::FITS;
    }
    bool const big = encoding == Encoding::UTF16_BE;
    bool const little = encoding == Encoding::UTF16_LE;
    Known const known[] = {
        {"UTF-8", encoding == Encoding::MARKED_UTF8},
        {"UTF-16", big || little},
        {"UTF-16BE", big},
        {"UTF-16LE", little},
        {"ISO-8859-1", encoding == Encoding::LATIN1},
        {"US-ASCII", false},
    };
    for (Known const& one : known) {
        if (isNamed(name, one.name)) {
            return one.fits ? Fit::FITS : Fit::DIFFERS;
        }
    }
    return Fit::UNKNOWN;
}

bool isVersion(std::string_view version) noexcept {
    return version.size() > 2 && version.substr(0, 2) == "1." &&
           version.find_first_not_of("0123456789", 2) == NPOS;
}

bool isVersionAt(std::string_view xml, std::size_t at) noexcept {
    constexpr std::string_view ALLOWED =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
    std::size_t const quote = xml.find_first_of(QUOTES);
    if (quote == NPOS || at != quote + 1) {
        return false;
    }
    std::size_t const end = xml.find_first_not_of(ALLOWED, at);
    return end != NPOS && xml[end] == xml[quote];
}

std::size_t placeOfEncoding(std::string_view xml) noexcept {
    return xml.find_first_of(QUOTES, xml.find("encoding")) + 1;
}

}  // namespace zeb::xmltoolkit
