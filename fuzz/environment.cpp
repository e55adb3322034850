// The separator, the name up to the newline, then the block.

#include <OrventoTextOperations.hpp>

#include <vector>

#include "Property.hpp"

void zeb::fuzz::environment(std::string_view input) {
    auto const [head, block] = cutLine(input);
    if (head.empty()) {
        return;
    }
    char const separator = head[0];
    std::string const name(upToNul(head.substr(1)));

    std::string expected = "as it was";
    std::size_t const entry = block.find(name + separator);
    if (entry != std::string_view::npos) {
        std::size_t const value = block.find(separator, entry) + 1;
        if (value < block.size()) {
            expected = upToNul(block.substr(value));
        }
    }

    ZEBNS2::String text = "as it was";
    ZEBNS2::extractEnv(ZEBNS2::String(block), name.c_str(), text, separator);
    require(text == expected, "finds the value in a String");

    std::string const before = "as it was";
    std::vector<char> bytes(before.begin(), before.end());
    std::vector<char> const environment(block.begin(), block.end());
    ZEBNS2::extractEnv(environment, name.c_str(), bytes, separator);
    require(std::string(bytes.begin(), bytes.end()) == expected, "finds the value in a vector");
}
