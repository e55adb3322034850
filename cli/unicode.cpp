// The commands that convert and repair characters.

#include "Commands.hpp"
#include "Reader.hpp"

#include <OrventoTextOperations.hpp>

#include <zeb/foundation/StringBuffer.hpp>
#include <zeb/foundation/UTF8Utils.hpp>

#include <algorithm>
#include <functional>
#include <iterator>

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
/// are single bytes, which the library can test as code units; the two forbidden non-characters are
/// three bytes each. A character of two code units is kept.
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

/// The same for a text in pieces, none of which may end within a character.
class XmlFixer {
public:
    explicit XmlFixer(Output& out) : out_(out) {
        for (std::size_t byte = 0; byte < std::size(forbidden_); ++byte) {
            forbidden_[byte] = !ZEBNS2::isValidXMLCharacter(static_cast<unsigned short>(byte));
        }
    }

    void add(std::string_view text, bool last) {
        text_ += text;
        // The non-characters are EF BF BE and EF BF BF.
        std::size_t open = 0;
        if (!last && !text_.empty()) {
            bool const two =
                text_.size() > 1 && text_.compare(text_.size() - 2, 2, "\xEF\xBF") == 0;
            open = two ? 2 : text_.back() == '\xEF' ? 1 : 0;
        }
        std::size_t const length = text_.size() - open;
        std::string_view const whole(text_.data(), length);
        bool const sound = whole.find("\xEF\xBF") == std::string_view::npos &&
                           std::none_of(whole.begin(), whole.end(), [this](char byte) {
                               return forbidden_[static_cast<unsigned char>(byte)];
                           });
        if (sound) {
            out_.write(whole);
        } else {
            out_.write(withoutForbiddenCharacters(whole));
        }
        text_.erase(0, length);
    }

private:
    Output& out_;
    bool forbidden_[0x100];
    std::string text_;
};

/// How many bytes of UTF-16 can be converted without those that follow: no unit is split, and none
/// at the end waits for its partner. In a run of high surrogates each takes the next as its
/// partner, so the last of an even number waits for none.
std::size_t completeLength(char const* data, std::size_t size, BOMTypes order) {
    std::size_t const length = size - size % 2;
    auto const isHigh = [data, order](std::size_t unit) {
        char const byte = data[unit + (order == ZEBNS2::BOM_UTF16_LE ? 1 : 0)];
        return (static_cast<unsigned char>(byte) & 0xFCU) == 0xD8;
    };
    std::size_t start = length;
    while (start > 0 && isHigh(start - 2)) {
        start -= 2;
    }
    return (length - start) / 2 % 2 == 0 ? length : length - 2;
}

/// Pieces of a text as the library's converter takes them, in reused memory.
class Pieces {
public:
    Array<char> const& of(char const* data, std::size_t size) {
        if (bytes_.size() < size) {
            bytes_ = Array<char>(size);
        } else {
            bytes_.remove(size, bytes_.size() - size);
        }
        std::copy_n(data, size, bytes_.data());
        return bytes_;
    }

private:
    Array<char> bytes_;
};

/// Reads UTF-16 to its end.
/// @param sink gets the text in UTF-8, piece by piece
void readUtf16(Reader& input, BOMTypes order, std::function<void(String const&)> const& sink) {
    Pieces pieces;
    for (bool first = true;; first = false) {
        std::size_t const size =
            input.atEnd() ? input.size() : completeLength(input.data(), input.size(), order);
        char* begin = input.data();
        if (!first) {
            // The converter would remove a mark at the start of a piece; it removes this one
            // instead.
            begin -= 2;
            begin[order == ZEBNS2::BOM_UTF16_LE ? 0 : 1] = '\xFF';
            begin[order == ZEBNS2::BOM_UTF16_LE ? 1 : 0] = '\xFE';
        }
        auto const length = static_cast<std::size_t>(input.data() + size - begin);
        sink(ZEBNS2::UTF16ToUTF8(pieces.of(begin, length), order));
        input.consume(size);
        if (!input.more()) {
            return;
        }
    }
}

/// Reads at least so many bytes, unless the input has fewer.
void readAtLeast(Reader& input, std::size_t count) {
    while (input.size() < count && input.more()) {
    }
}

/// The byte order that the library finds by the first bytes of the whole text.
BOMTypes orderOf(Reader& input, std::size_t count) {
    readAtLeast(input, count);
    std::size_t const known = std::min(input.size(), count);
    return ZEBNS2::autodetectByteOrder(Array<char>(input.data(), input.data() + known));
}

/// The bytes that decide the order of a text without a mark, and one more, since it must be longer.
constexpr std::size_t JUDGED_BYTES = 11;

}  // namespace

// Two bytes, so that only the mark decides: contents prove nothing in a text whose stray NUL bytes
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

    if (arguments.traced()) {
        // The library logs its work on the whole text.
        bool const traced =
            forEachInput(out, files, [&](std::string const& name, String const& text) {
                Array<char> const bytes = bytesOf(text);
                note(name + ": " + nameOf(ZEBNS2::autodetectByteOrder(bytes)));
                if (!bytes.empty()) {
                    out.write(ZEBNS2::convertToUTF8(bytes));
                }
            });
        return traced ? DONE : FAILED;
    }
    bool const allWell = forEachStream(out, files, [&](std::string const& name, Reader& input) {
        BOMTypes const order = orderOf(input, JUDGED_BYTES);
        note(name + ": " + nameOf(order));
        if (order != ZEBNS2::BOM_UNKNOWN) {
            readUtf16(input, order, [&out](String const& text) { out.write(text); });
            return;
        }
        do {
            out.write({input.data(), input.size()});
            input.consume(input.size());
        } while (input.more());
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

    if (arguments.traced()) {
        bool const traced = forEachInput(out, files, [&](std::string const&, String const& text) {
            out.write(withoutForbiddenCharacters(utf8ByMark(text)));
        });
        return traced ? DONE : FAILED;
    }
    bool const allWell = forEachStream(out, files, [&](std::string const&, Reader& input) {
        XmlFixer fixer(out);
        BOMTypes const order = orderOf(input, /*count=*/2);
        if (order != ZEBNS2::BOM_UNKNOWN) {
            readUtf16(input, order, [&fixer](String const& text) { fixer.add(text, false); });
            fixer.add({}, /*last=*/true);
            return;
        }
        do {
            fixer.add({input.data(), input.size()}, input.atEnd());
            input.consume(input.size());
        } while (input.more());
    });
    return allWell ? DONE : FAILED;
}

}  // namespace zeb::cli
