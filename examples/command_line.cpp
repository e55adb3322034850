// Splitting a line that a user typed, and showing arguments as one line.

#include <OrventoTextOperations.hpp>

#include <zeb/common/JORLibraryException.hpp>

#include <iostream>

using ZEBNS2::CommandLine;
using ZEBNS2::String;
using ZEBNS2::StringArray;

int main() {
    // Quotes keep blanks together; they stay in the tokens until they are removed.
    String const typed = "  copy \"my file\" to=\"the \\\"new\\\" disk\"";
    StringArray arguments;
    for (String const& token : ZEBNS2::quoted_string_tokenization(typed, " ")) {
        arguments.append(ZEBNS2::remove_quotes(token));
    }
    for (String const& argument : arguments) {
        std::cout << '<' << argument << ">\n";
    }

    // The text between two quotes, and its place.
    unsigned int end = 0;
    String const first = ZEBNS2::find_first_quoted_string(typed, end, /*start=*/0);
    std::cout << first << " ends at byte " << end << '\n';

    // For a log or a screen, not for a shell: a dollar sign, for example, is not quoted.
    std::cout << CommandLine::flatten({"copy", "my file", "$HOME", "say \"hi\""}) << '\n';

    // There is no way back.
    try {
        static_cast<void>(CommandLine::unflatten("copy \"my file\""));
    } catch (zeb::common::JORLibraryException const& exception) {
        std::cout << exception.what() << '\n';
    }
}
