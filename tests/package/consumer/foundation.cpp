// A program outside the tree that uses the foundation and nothing else.
#include <iostream>
#include <zeb/foundation/Array.hpp>
#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/String.hpp>

int main() {
    using namespace zeb::foundation;
    Array<String> const words{"one", "two"};
    std::cout << "foundation: " << Format("%1 of %2", words[1], words.size()).toString() << '\n';
    try {
        std::cout << String("12x").toInt32() << '\n';
    } catch (StringConversionException const& exception) {
        std::cout << exception.type() << ": " << exception.what() << '\n';
    }
}
