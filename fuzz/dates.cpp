// The first date of a text, and its unit of size, against plain scans.

#include <OrventoTextOperations.hpp>

#include <cctype>

#include "Property.hpp"

namespace {

/// Whether `text` begins with the form: 9 means a digit, a means a letter, others for themselves.
bool hasForm(std::string_view text, std::string_view form) {
    if (text.size() < form.size()) {
        return false;
    }
    for (std::size_t i = 0; i < form.size(); ++i) {
        auto const byte = static_cast<unsigned char>(text[i]);
        bool const fits = form[i] == '9'   ? std::isdigit(byte) != 0
                          : form[i] == 'a' ? std::isalpha(byte) != 0
                                           : text[i] == form[i];
        if (!fits) {
            return false;
        }
    }
    return true;
}

bool isOneOf(std::string_view names, std::string_view name) {
    std::size_t const at = names.find(name);
    return at != std::string_view::npos && at % 3 == 0;
}

std::string_view expectedDate(std::string_view text) {
    for (std::size_t i = 0; i + 8 <= text.size(); ++i) {
        std::string_view const rest = text.substr(i);
        if (!hasForm(rest, "aaa aaa ") || !isOneOf("MonTueWedThuFriSatSun", rest.substr(0, 3)) ||
            !isOneOf("JanFebMarAprMayJunJulAugSepOctNovDec", rest.substr(4, 3))) {
            continue;
        }
        for (std::string_view const day : {"9 ", "99 "}) {
            for (std::string_view const hour : {"9", "99"}) {
                for (std::string_view const end : {":99:99 9999", ":99:99 aaa 9999"}) {
                    std::string const form = std::string(day).append(hour).append(end);
                    if (hasForm(rest.substr(8), form)) {
                        return rest.substr(0, 8 + form.size());
                    }
                }
            }
        }
    }
    return {};
}

constexpr int NONE = -1;
constexpr int UNKNOWN = -2;

/// The power of two at the first prefix followed by "byte" or "b", or NONE. A long prefix with a
/// mere "b" is found, but is no unit.
int powerBehind(std::string_view text, std::initializer_list<std::string_view> prefixes) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        int power = 0;
        for (std::string_view const prefix : prefixes) {
            power += 10;
            std::string_view const rest = text.substr(i);
            if (rest.substr(0, prefix.size()) == prefix && rest.size() > prefix.size() &&
                rest[prefix.size()] == 'b') {
                bool const whole = prefix.size() == 1 || rest.substr(prefix.size(), 4) == "byte";
                return whole ? power : UNKNOWN;
            }
        }
    }
    return NONE;
}

std::uint64_t expectedUnit(std::string_view unit) {
    std::string text;
    for (char const byte : zeb::fuzz::upToNul(unit)) {
        text += byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
    }
    int power = powerBehind(text, {"kilo", "mega", "giga", "tera", "peta"});
    if (power == NONE) {
        power = powerBehind(text, {"k", "m", "g", "t", "p"});
    }
    if (power == NONE && text.find("byte") != std::string::npos) {
        power = 0;
    }
    if (power == NONE && unit.size() == 1 && text.size() == 1) {
        std::size_t const letter = std::string_view("kmgtp").find(text[0]);
        power = letter == std::string_view::npos ? NONE : static_cast<int>(10 * (letter + 1));
    }
    return power < 0 ? 0 : std::uint64_t{1} << power;
}

}  // namespace

void zeb::fuzz::dates(std::string_view input) {
    require(ZEBNS2::extractGenericDate(ZEBNS2::String(input)) == expectedDate(upToNul(input)),
            "finds the first date");
    require(ZEBNS2::get_unit_size(input) == expectedUnit(input), "knows the unit");
}
