// A program outside the tree that uses the common library and its dependencies.
#include <iostream>
#include <zeb/common/JORLibraryException.hpp>

int main() {
    try {
        throw zeb::common::JORLibraryException("common.cpp", 7, "out of paper", -1, nullptr, -1);
    } catch (zeb::foundation::Exception const& exception) {
        std::cout << "common: " << exception.type() << ": " << exception.getMessage() << '\n';
    }
}
