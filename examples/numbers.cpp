// Dates, size units and numbers in a line of a report.

#include <OrventoCommonRegex.hpp>
#include <OrventoTextOperations.hpp>

#include <iostream>

using ZEBNS2::RegularExpression;
using ZEBNS2::String;
using ZEBNS2::StringArray;

int main() {
    String const line = "backup of Tue Mar 14 09:26:53 UTC 2023: 12 GB in 0x1f files";
    std::cout << ZEBNS2::extractGenericDate(line) << '\n';

    // The unit's bytes; the caller reads the number before it.
    RegularExpression const size("([0-9]+) ([kmgtp]?b)", RegularExpression::CASE_INSENSITIVE);
    StringArray const groups = size.all_matching_substrings(line);
    auto const count = ZEBNS2::string_to_number<unsigned long long>(groups[1], 10);
    std::cout << count * ZEBNS2::get_unit_size(groups[2]) << " bytes\n";

    int const files = ZEBNS2::string_to_number<int>("0x1f", 16);
    std::cout << files << " files, " << ZEBNS2::Hexify(files, /*pad=*/true) << '\n';
    std::cout << ZEBNS2::string_to_number<double>("2.5e3", 10) << '\n';

    // A text that is not a number, or too large for the type, throws.
    for (char const* const text : {"12 GB", "70000"}) {
        try {
            std::cout << ZEBNS2::string_to_number<short>(text, 10) << '\n';
        } catch (std::exception const& exception) {
            std::cout << exception.what() << '\n';
        }
    }

    // The current time, in UTC: always 25 bytes.
    String const now = ZEBNS2::getCurrentCIMDateTime();
    std::cout << now.length() << " bytes, " << now.substring(21) << '\n';
}
