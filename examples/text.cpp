// Cutting, joining, formatting and reading texts.

#include <OrventoTextOperations.hpp>

#include <iostream>

using ZEBNS2::String;
using ZEBNS2::StringArray;

int main() {
    String const setting = "path=/usr//local/bin";
    std::cout << ZEBNS2::substringBefore(setting, '=') << '\n'
              << ZEBNS2::substringAfterLast(setting, '/') << '\n'
              << ZEBNS2::removeRedundantSeparators(setting, '/') << '\n';

    // Quotes protect delimiters and stay until they are removed.
    for (String const& token : ZEBNS2::quoted_string_tokenization("copy \"my file\" there", " ")) {
        std::cout << '<' << ZEBNS2::remove_quotes(token) << '>';
    }
    std::cout << '\n' << ZEBNS2::CommandLine::flatten({"copy", "my file", "there"}) << '\n';
    std::cout << ZEBNS2::untokenize({"a", "b", "c"}, ", ") << '\n';
    std::cout << ZEBNS2::search_replace("1.2.3", ".", "..") << '\n';

    // Columns.
    std::cout << ZEBNS2::leftText("disk", 8, '.') << ZEBNS2::rightText("480", 6, '.') << '\n'
              << ZEBNS2::centerText("end", 14, '-') << '\n';

    // Numbers, units, dates; a text that is not a number throws.
    std::cout << ZEBNS2::string_to_number<int>("ff", 16) << ' '
              << ZEBNS2::Hexify<unsigned short>(0x0b, /*pad=*/true) << ' '
              << ZEBNS2::get_unit_size("10GB") << '\n';
    std::cout << ZEBNS2::extractGenericDate("up since Tue Mar 14 09:26:53 2023, idle") << '\n';
    try {
        static_cast<void>(ZEBNS2::string_to_number<int>("12 apples", 10));
    } catch (std::exception const& exception) {
        std::cout << exception.what() << '\n';
    }

    String home = "(unknown)";
    ZEBNS2::extractEnv(String("USER=root\0HOME=/root", 20), "HOME", home, '=');
    std::cout << home << '\n';
}
