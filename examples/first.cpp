#include <OrventoCommonRegex.hpp>
#include <iostream>

int main() {
    ZEBNS2::String const settings = "user=root\nport=8080\n";
    std::cout << ZEBNS2::realSed(settings, "s/([a-z]+)=(.*)/\\2 is the \\1/",
                                 ZEBNS2::RegularExpression::EXTENDED_SYNTAX);
}
