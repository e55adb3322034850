// A program outside the tree that uses the product: it knows the installed headers and libraries
// only.
#include <OrventoCommonRegex.hpp>
#include <OrventoTextOperations.hpp>
#include <OrventoXMLOperations.hpp>
#include <RE.hpp>
#include <iostream>

int main() {
    using namespace ZEBNS2;
    std::cout << "text: " << realSed("user=root", "s/=/ is /", 0) << ", " << get_unit_size("KB")
              << '\n';
    try {
        RegularExpression const expression(String("a(b"), 0u);
    } catch (RegularExpressionException const& exception) {
        // Caught by its own type, so the type information is one and the same on both sides.
        std::cout << exception.type() << ": " << exception.what() << '\n';
    }
    // libexpat is found at run time only; the program does not link it.
    String error;
    std::cout << std::boolalpha << validateXML("<a/>", error) << '\n';
}
