// The commands that convert and repair characters.

#include "Commands.hpp"

#include <OrventoTextOperations.hpp>

#include <zeb/foundation/StringBuffer.hpp>
#include <zeb/foundation/UTF8Utils.hpp>

namespace zeb::cli {

using foundation::StringBuffer;
using ZEBNS2::Array;
using ZEBNS2::BOMTypes;
using ZEBNS2::String;

namespace {

Array<char> bytesOf(String const& text) { return {text.c_str(), text.c_str() + text.length()}; }

char const* nameOf(BOMTypes order) {
    switch (order) {
        case ZEBNS2::BOM_UTF16_LE:
            return "UTF-16, little-endian";
        case ZEBNS2::BOM_UTF16_BE:
            return "UTF-16, big-endian";
        case ZEBNS2::BOM_UNKNOWN:
            break;
    }
    return "8-bit text";
}

/// UTF-8 with U+FFFD for each character that XML forbids. In UTF-8 the forbidden control characters
/// are single bytes, which the library judges as code units as well as any; the two forbidden
/// non-characters are three bytes each. A character that takes two code units is left alone.
String withoutForbiddenCharacters(String const& text) {
    Array<unsigned short> units;
    units.reserve(text.length());
    for (char const byte : std::string_view(text)) {
        units.append(static_cast<unsigned char>(byte));
    }
    ZEBNS2::replaceInvalidXMLCharacters(units, "");

    StringBuffer repaired(text.length());
    for (unsigned short const unit : std::as_const(units)) {
        if (unit > 0xFF) {
            foundation::UTF8Utils::UCS4toUTF8(unit, repaired);
        } else {
            repaired.append(static_cast<char>(unit));
        }
    }
    String const replacement("\xEF\xBF\xBD");
    return ZEBNS2::search_replace(
        ZEBNS2::search_replace(repaired.releaseString(), "\xEF\xBF\xBE", replacement),
        "\xEF\xBF\xBF", replacement);
}

}  // namespace

// A text of two bytes is judged by its mark alone: the contents prove nothing where stray NUL bytes
// are to be repaired.
String utf8ByMark(String const& text) {
    BOMTypes const order = ZEBNS2::autodetectByteOrder(bytesOf(text.substring(0, 2)));
    return order == ZEBNS2::BOM_UNKNOWN ? text : ZEBNS2::UTF16ToUTF8(bytesOf(text), order);
}

Status toUtf8(Words const& words, Output& out) {
    Arguments arguments("utf8",
                        "Prints text as UTF-8 and says on standard error how it was encoded: in "
                        "UTF-16,\nwhich is converted, or in 8-bit characters, which stay as they "
                        "are.",
                        "  zeb-text utf8 export.reg >export.txt\n");
    Words files;
    arguments.rest("FILE", files, "Files to read; without one, standard input");
    arguments.parse(words);

    bool const allWell = forEachInput(out, files, [&](std::string const& name, String const& text) {
        Array<char> const bytes = bytesOf(text);
        note(name + ": " + nameOf(ZEBNS2::autodetectByteOrder(bytes)));
        if (!bytes.empty()) {
            out.write(ZEBNS2::convertToUTF8(bytes));
        }
    });
    return allWell ? DONE : FAILED;
}

Status xmlFix(Words const& words, Output& out) {
    Arguments arguments(
        "xml-fix",
        "Prints text as UTF-8 with U+FFFD in place of each character that XML "
        "forbids,\nthe form feed excepted. UTF-16 with its mark is converted first.",
        "  zeb-text xml-fix report.xml | zeb-text xml check\n");
    Words files;
    arguments.rest("FILE", files, "Files to read; without one, standard input");
    arguments.parse(words);

    bool const allWell = forEachInput(out, files, [&](std::string const&, String const& text) {
        out.write(withoutForbiddenCharacters(utf8ByMark(text)));
    });
    return allWell ? DONE : FAILED;
}

}  // namespace zeb::cli
