// Editing texts by sed commands.

#include <OrventoCommonRegex.hpp>

#include <iostream>

using ZEBNS2::RegularExpression;
using ZEBNS2::String;

int main() {
    constexpr auto EXTENDED = RegularExpression::EXTENDED_SYNTAX;
    String const text = "# disks\nsda=boot\nsdb=data\nsdc=data\n";

    std::cout << ZEBNS2::realSed(text, "s/([a-z]+)=([a-z]+)/\\2 on \\1/", EXTENDED);
    std::cout << ZEBNS2::realSed(text, "s|a|A|g", EXTENDED);
    std::cout << ZEBNS2::realSed(text, "/^#/d", EXTENDED);
    std::cout << ZEBNS2::realSed(text, "/SDA/,/SDB/d", RegularExpression::CASE_INSENSITIVE);

    // An unknown command gives an empty text: it never throws.
    std::cout << '"' << ZEBNS2::realSed(text, "p", EXTENDED) << "\"\n";

    // The first match in a whole text, with a template in place of sed's replacement.
    std::cout << ZEBNS2::sed("key=value", "([a-z]+)=(.*)", "%2:%1 (100%%)") << '\n';
}
