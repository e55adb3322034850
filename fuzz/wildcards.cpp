// The three conversions to expressions, against their tables.

#include <OrventoCommonRegex.hpp>
#include <RE.hpp>

#include "Property.hpp"

namespace {

bool isIn(char byte, std::string_view set) { return set.find(byte) != std::string_view::npos; }

}  // namespace

void zeb::fuzz::wildcards(std::string_view input) {
    using ZEBNS2::RegularExpression;
    for (unsigned int const options : {0U, 1U, 2U, 5U}) {
        bool const basic = (options & RegularExpression::BASIC_SYNTAX) != 0;
        std::string literal;
        std::string wildcard = "^";
        for (char const byte : input) {
            bool const escape = byte == '\\' || (!basic && isIn(byte, "$()+,.[]^{|}"));
            literal += escape || (!basic && isIn(byte, "*?")) ? "\\" : "";
            literal += byte;
            wildcard += byte == '*' ? "." : escape ? "\\" : "";
            wildcard += byte == '?' ? '.' : byte;
        }
        require(RegularExpression::escapeRegexSpecialCharacters(input, options) == literal,
                "makes a text literal");
        require(RegularExpression::convertWin32WildcardExpression(input, options) == wildcard + "$",
                "converts a wildcard");
    }

    std::string expected = "^";
    for (std::size_t i = 0; i < input.size(); ++i) {
        char const byte = input[i];
        if (byte == '\\') {
            bool const last = i + 1 == input.size();
            expected += byte;
            expected += last ? byte : input[++i];
        } else if (byte == '#') {
            expected += "[[:digit:]]";
        } else if (byte == '*') {
            expected += ".*";
        } else if (byte == '?') {
            expected += '.';
        } else {
            expected += isIn(byte, "$()+.[]^{|}") ? "\\" : "";
            expected += byte;
        }
    }
    require(ZEBNS2::wild2re(input) == expected + "$", "converts a wildcard with digits");
}
