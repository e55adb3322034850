#pragma once

#include <zeb/foundation/String.hpp>

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

/// Properties that are true for every input, one function per grammar. The same functions are
/// fuzzed by libFuzzer and run over the corpus by the ordinary tests.
namespace zeb::fuzz {

/// Thrown when a property is violated.
struct Broken : std::logic_error {
    using std::logic_error::logic_error;
};

inline void require(bool holds, char const* property) {
    if (!holds) {
        throw Broken(property);
    }
}

/// The text before the first newline and the text after it; without a newline all of it and
/// nothing.
inline std::pair<std::string_view, std::string_view> cutLine(std::string_view text) {
    std::size_t const end = text.find('\n');
    return end == std::string_view::npos ? std::pair(text, std::string_view())
                                         : std::pair(text.substr(0, end), text.substr(end + 1));
}

/// What functions of C see of a text.
inline std::string_view upToNul(std::string_view text) { return text.substr(0, text.find('\0')); }

void commandline(std::string_view input);
void dates(std::string_view input);
void environment(std::string_view input);
void expression(std::string_view input);
void numbers(std::string_view input);
void query(std::string_view input);
void sed(std::string_view input);
void tokenizing(std::string_view input);
void utf16(std::string_view input);
void wildcards(std::string_view input);
void xml(std::string_view input);

}  // namespace zeb::fuzz
