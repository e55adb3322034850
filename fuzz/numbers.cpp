// Numbers in five bases and of every type, against the conversions of C.

#include <OrventoTextOperations.hpp>
#include <zeb/foundation/String.hpp>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <optional>

#include "Property.hpp"

#include <zeb/foundation/Exception.hpp>

namespace {

using zeb::fuzz::require;
using ZEBNS2::String;

template <typename T>
std::optional<T> converted(String const& text, int base) {
    try {
        return ZEBNS2::string_to_number<T>(text, base);
    } catch (zeb::foundation::Exception const&) {
        return std::nullopt;
    }
}

/// C skips leading white space, which no number of ours may have.
bool beginsLikeANumber(std::string const& text) {
    return !text.empty() && std::string_view(" \t\n\v\f\r").find(text[0]) == std::string_view::npos;
}

template <typename T>
std::optional<T> expectedInteger(std::string const& text, int base) {
    if (!beginsLikeANumber(text) || (std::is_unsigned_v<T> && text[0] == '-')) {
        return std::nullopt;
    }
    char* end = nullptr;
    errno = 0;
    std::optional<T> result;
    if constexpr (std::is_unsigned_v<T>) {
        unsigned long long const value = std::strtoull(text.c_str(), &end, base);
        if (value <= std::numeric_limits<T>::max()) {
            result = static_cast<T>(value);
        }
    } else {
        long long const value = std::strtoll(text.c_str(), &end, base);
        if (value >= std::numeric_limits<T>::min() && value <= std::numeric_limits<T>::max()) {
            result = static_cast<T>(value);
        }
    }
    bool const whole = end == text.c_str() + text.size();
    return errno == 0 && whole ? result : std::nullopt;
}

template <typename T>
void compareInteger(std::string const& text, int base) {
    require(converted<T>(text, base) == expectedInteger<T>(text, base), "reads an integer");
}

template <typename T>
void compareReal(std::string const& text, T (*convert)(char const*, char**)) {
    std::optional<T> expected;
    // Neither hexadecimal digits nor the payload of a NaN are numbers of ours.
    bool const foreign = text.find_first_of("xX(") != std::string::npos;
    if (beginsLikeANumber(text) && !foreign) {
        char* end = nullptr;
        errno = 0;
        T const value = convert(text.c_str(), &end);
        bool const lost = errno == ERANGE && (value == 0 || std::isinf(value));
        if (!lost && end == text.c_str() + text.size()) {
            expected = value;
        }
    }
    std::optional<T> const result = converted<T>(text, 10);
    bool const bothNan = result && expected && std::isnan(*result) && std::isnan(*expected);
    require(bothNan || result == expected, "reads a real");
}

}  // namespace

void zeb::fuzz::numbers(std::string_view input) {
    std::string const text(input);
    for (int const base : {2, 8, 10, 16, 36}) {
        compareInteger<signed char>(text, base);
        compareInteger<short>(text, base);
        compareInteger<int>(text, base);
        compareInteger<long long>(text, base);
        compareInteger<unsigned char>(text, base);
        compareInteger<unsigned short>(text, base);
        compareInteger<unsigned int>(text, base);
        compareInteger<unsigned long long>(text, base);
    }
    compareReal<double>(text, std::strtod);
    compareReal<float>(text, std::strtof);
}
