// Which names match a user's input: a wildcard, or a literal text.

#include <OrventoCommonRegex.hpp>
#include <RE.hpp>

#include <iostream>

using ZEBNS2::RegularExpression;
using ZEBNS2::String;
using ZEBNS2::StringArray;

namespace {

void list(char const* typed, String const& expression, StringArray const& names) {
    RegularExpression const filter(expression, RegularExpression::EXTENDED_SYNTAX);
    std::cout << typed << " as " << expression << ':';
    for (String const& name : filter.all_matching_lines(names)) {
        std::cout << " <" << name << '>';
    }
    std::cout << '\n';
}

}  // namespace

int main() {
    constexpr auto EXTENDED = RegularExpression::EXTENDED_SYNTAX;
    StringArray const names{"disk7", "disk12", "disk", "logs\\a.txt", "logs\\atxt", "50% (a.b)"};

    // `#` is one digit, `?` one character, `*` any text; the whole name must match.
    list("disk#", ZEBNS2::wild2re("disk#"), names);
    list("disk*", ZEBNS2::wild2re("disk*"), names);

    // The variant in which a backslash separates folders.
    list("logs\\*.txt", RegularExpression::convertWin32WildcardExpression("logs\\*.txt", EXTENDED),
         names);

    // Literally, anywhere in the name.
    list("(a.b)", RegularExpression::escapeRegexSpecialCharacters("(a.b)", EXTENDED), names);
}
