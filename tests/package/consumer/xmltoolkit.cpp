// A program outside the tree that uses the XML toolkit and its dependencies.
#include <iostream>
#include <zeb/xmltoolkit/XMLParserDOM.hpp>

int main() {
    using namespace zeb::xmltoolkit;
    std::cout << "xmltoolkit: " << XMLParserDOM::parse("<a b='1'><c/></a>").toString() << '\n';
    try {
        std::cout << XMLParserDOM::parse("<a><b></a>").getName() << '\n';
    } catch (DOMException const& exception) {
        std::cout << exception.type() << ": " << exception.what() << '\n';
    }
}
