// Bytes in UTF-16 of either order, against a plain decoder.

#include <OrventoTextOperations.hpp>
#include <zeb/foundation/Exception.hpp>

#include "Property.hpp"
#include "UnicodeBytes.hpp"

namespace {

using ZEBNS2::Array;
using ZEBNS2::BOMTypes;

using zeb::test::arrayOf;

/// The text of whole units.
std::string decoded(std::string_view bytes, BOMTypes order) {
    std::u16string units;
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        auto const first = static_cast<unsigned char>(bytes[i]);
        auto const second = static_cast<unsigned char>(bytes[i + 1]);
        units += static_cast<char16_t>(order == ZEBNS2::BOM_UTF16_LE ? first + second * 256
                                                                     : first * 256 + second);
    }
    if (!units.empty() && units[0] == 0xFEFF) {
        units.erase(0, 1);
    }
    return zeb::test::encode(zeb::test::decode(units));
}

}  // namespace

void zeb::fuzz::utf16(std::string_view input) {
    Array<char> const data = arrayOf(input);
    for (BOMTypes const order : {ZEBNS2::BOM_UTF16_LE, ZEBNS2::BOM_UTF16_BE}) {
        bool refused = false;
        ZEBNS2::String text;
        try {
            text = ZEBNS2::UTF16ToUTF8(data, order);
        } catch (zeb::foundation::Exception const&) {
            refused = true;
        }
        require(refused == (input.size() % 2 != 0), "refuses half a unit and nothing else");
        require(refused || text == decoded(input, order), "decodes every unit");
        if (!refused && !input.empty() && ZEBNS2::autodetectByteOrder(data) == order) {
            require(ZEBNS2::convertToUTF8(data) == text, "converts by the order that it detects");
        }
    }
}
