// A program outside the tree: it knows the installed headers and libraries only.
#include <OrventoCommonRegex.hpp>
#include <OrventoTextOperations.hpp>
#include <OrventoXMLOperations.hpp>
#include <RE.hpp>
#include <cstdio>
#include <cstring>

int main() {
    try {
        ZEBNS2::RegularExpression expression(ZEBNS2::String("a(b"), 0u);
    } catch (ZEBNS2::RegularExpressionException const& exception) {
        // Caught by its own type, so the type information is one and the same on both sides.
        std::puts(exception.what());
        if (std::strcmp(exception.type(), "RegularExpressionException") != 0) return 1;
        // libexpat is found at run time only; the consumer does not link it.
        ZEBNS2::String error;
        return ZEBNS2::validateXML(ZEBNS2::String("<a/>"), error) ? 0 : 1;
    }
    std::puts("a faulty expression was accepted");
    return 1;
}
