// Which lines match, what matches in them, and where.

#include <OrventoCommonRegex.hpp>
#include <RE.hpp>

#include <iostream>

using ZEBNS2::Array;
using ZEBNS2::OffsetPair;
using ZEBNS2::RegularExpression;
using ZEBNS2::String;
using ZEBNS2::StringArray;

int main() {
    StringArray const lines{"eth0 up 10.0.0.7/24", "lo up 127.0.0.1/8", "eth1 down"};
    RegularExpression const address("([0-9]+(\\.[0-9]+){3})/([0-9]+)",
                                    RegularExpression::EXTENDED_SYNTAX);

    for (unsigned int const number : address.find_matching_line_numbers(lines)) {
        std::cout << "line " << number << ": " << lines[number] << '\n';
    }

    // The match and its groups: as texts, and as byte offsets.
    for (String const& text : address.all_matching_substrings(lines[0])) {
        std::cout << "group " << text << '\n';
    }
    for (OffsetPair const& range : address.all_matches(lines[0])) {
        std::cout << "bytes " << range.first << " to " << range.second << '\n';
    }

    // Every match along one line.
    RegularExpression const word("[a-z]+", RegularExpression::CASE_INSENSITIVE);
    for (String const& text : word.all_unique_matching_substrings("One TWO 3 four")) {
        std::cout << "word " << text << '\n';
    }

    // Wildcards become expressions, and an invalid expression an exception.
    RegularExpression const interface(ZEBNS2::wild2re("eth# *"),
                                      RegularExpression::EXTENDED_SYNTAX);
    std::cout << "interfaces: " << interface.all_matching_lines(lines).size() << '\n';
    try {
        RegularExpression const faulty("(", RegularExpression::EXTENDED_SYNTAX);
    } catch (ZEBNS2::RegularExpressionException const& exception) {
        std::cout << exception.type() << ": " << exception.what() << '\n';
    }
}
