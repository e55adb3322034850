// Text of unknown encoding into UTF-8, and characters that XML forbids.

#include <OrventoTextOperations.hpp>

#include <iostream>

using ZEBNS2::Array;
using ZEBNS2::String;

int main() {
    // The mark FF FE, then "Grüße" with the low byte of each unit first.
    Array<char> const file{'\xFF', '\xFE', 'G',    '\0', 'r', '\0',
                           '\xFC', '\0',   '\xDF', '\0', 'e', '\0'};
    std::cout << "order " << ZEBNS2::autodetectByteOrder(file) << '\n'
              << ZEBNS2::convertToUTF8(file) << '\n';

    // Eight-bit text is assumed to be UTF-8 and copied.
    std::cout << ZEBNS2::convertToUTF8(Array<char>{'A', 'B', 'C'}) << '\n';

    // A pair of surrogates is one character; half of one becomes U+FFFD.
    for (unsigned int const point :
         ZEBNS2::UTF16ToUTF32(Array<unsigned short>{0xD83D, 0xDE00, 0xDE00, 0x41})) {
        std::cout << "U+" << ZEBNS2::Hexify(point, /*pad=*/false) << '\n';
    }

    Array<unsigned short> units{'a', 0x01, 'b', 0xFFFF};
    ZEBNS2::replaceInvalidXMLCharacters(units, "example: ");
    for (unsigned short const unit : units) {
        std::cout << ZEBNS2::Hexify(unit, /*pad=*/true) << ' ';
    }
    std::cout << '\n';

    // Half a code unit at the end cannot be repaired.
    try {
        static_cast<void>(ZEBNS2::convertToUTF8(Array<char>{'\xFF', '\xFE', 'A'}));
    } catch (std::exception const& exception) {
        std::cout << exception.what() << '\n';
    }
}
