#pragma once

#include <OrventoCommonRegex.hpp>

#include <locale.h>

#include <string_view>

/// @file
/// What the properties of expressions and of sed commands have in common.

namespace zeb::fuzz {

/// The options of an expression and the locale for it, from the first byte of an input: '0' to '7'
/// are options in the locale C, the next eight characters of ASCII are the same in UTF-8.
class Settings {
public:
    static bool areIn(std::string_view head) {
        return !head.empty() && head[0] >= '0' && head[0] < '0' + 16;
    }

    /// The locale is that of the thread until the end of the object.
    explicit Settings(std::string_view head)
        : code_(static_cast<unsigned int>(head[0] - '0')),
          before_(uselocale(code_ < 8 ? LC_GLOBAL_LOCALE : unicode())) {}
    ~Settings() { uselocale(before_); }
    Settings(Settings const&) = delete;
    Settings& operator=(Settings const&) = delete;

    unsigned int options() const { return code_ % 8; }

private:
    static locale_t unicode() {
        static locale_t const locale = newlocale(LC_ALL_MASK, "C.UTF-8", nullptr);
        return locale;
    }

    unsigned int code_;
    locale_t before_;
};

/// Whether an expression was refused because libc would not survive it.
inline bool isHazard(ZEBNS2::RegularExpressionException const& exception) {
    static constexpr std::string_view MESSAGE =
        "Error creating regular expression: Memory exhausted";
    return std::string_view(exception.getMessage()).substr(0, MESSAGE.size()) == MESSAGE;
}

}  // namespace zeb::fuzz
