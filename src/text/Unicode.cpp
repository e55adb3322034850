// Byte order, Unicode and the characters of XML: one source unit with OrventoTextOperations.cpp.

#include "OrventoTextOperations.hpp"

#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/Logger.hpp>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "TextUnit.hpp"
#include "Utf16.hpp"

namespace ZEBNS2 {

using zeb::foundation::Format;
using zeb::foundation::Logger;
using zeb::foundation::detail::UnwrittenArray;
using namespace textunit;

namespace {

/// The byte order of longer texts is detected in this many bytes.
constexpr std::size_t EXAMINED = 10;

std::string_view viewOf(Array<char> const& data) { return {data.data(), data.size()}; }

/// Logs each repair under the signature and with the logger of `UTF16ToUTF32`, the step that
/// repairs.
class LoggedRepairs final : public utf16::Repairs {
public:
    /// @param function signature of the step
    explicit LoggedRepairs(char const* function) : function_(function) {}

    void loneSurrogate(unsigned short unit) override {
        ZEB_LOG_AS(logger_, DEBUG, UNIT, function_,
                   Format("UTF16ToUTF32: Found out-of-range character 0x%1.  Replacing with "
                          "0xFFFD.",
                          Hexify<unsigned short>(unit, true)));
    }

    void brokenPair(unsigned short high, unsigned short next) override {
        ZEB_LOG_AS(logger_, DEBUG, UNIT, function_,
                   Format("UTF16ToUTF32: Found invalid surragate character 0x%1 0x%2.  Replacing "
                          "with 0xFFFD.",
                          Hexify<unsigned int>(high, false), Hexify<unsigned short>(next, true)));
    }

private:
    Logger const logger_ = makeLogger();
    char const* const function_;
};

/// The signature of `UTF16ToUTF32`, as the compiler writes it, for conversions that repair without
/// calling it.
#ifdef __clang__
constexpr char UTF16_TO_UTF32[] =
    "Array<unsigned int> ZEBNS2::UTF16ToUTF32(const Array<unsigned short> &)";
#else
constexpr char UTF16_TO_UTF32[] =
    "zeb::foundation::Array<unsigned int> ZEBNS2::UTF16ToUTF32(const zeb::foundation::Array<short "
    "unsigned int>&)";
#endif

/// `bom`, or the order detected in `data` when it is unknown.
BOMTypes knownOrder(Array<char> const& data, BOMTypes bom) {
    BOMTypes const order = bom == BOM_UNKNOWN ? autodetectByteOrder(data) : bom;
    if (order == BOM_UNKNOWN) {
        throwLibraryException(__LINE__, "Cannot autodetect bom type for given data.");
    }
    return order;
}

/// The number of units in `bytes`.
std::size_t countUnits(std::string_view bytes) {
    if (bytes.size() % 2 != 0) {
        // A byte of 0x80 and above is negative and is rendered sign-extended to an `int`.
        throwLibraryException(
            __LINE__, Format("An odd character (0x%1) was left after regrouping UTF16 bytes.",
                             Hexify<int>(static_cast<signed char>(bytes.back()), true)));
    }
    return bytes.size() / 2;
}

/// Whether `order` is not a member of its type, which makes all units zero.
bool isNoOrder(BOMTypes order) { return order != BOM_UTF16_LE && order != BOM_UTF16_BE; }

/// The units in `bytes`, an even number, without the mark.
utf16::Units unitsOf(std::string_view bytes, BOMTypes order) {
    bool const little = order == BOM_UTF16_LE;
    if (bytes.substr(0, 2) == (little ? "\xFF\xFE" : "\xFE\xFF")) {
        bytes.remove_prefix(2);
    }
    return {bytes.data(), bytes.size() / 2,
            little ? utf16::ByteOrder::LITTLE : utf16::ByteOrder::BIG};
}

/// `bytes`, in the byte order `order`, in UTF-8.
String convertUTF16(std::string_view bytes, BOMTypes order) {
    LoggedRepairs repairs(UTF16_TO_UTF32);
    std::size_t const count = countUnits(bytes);
    if (isNoOrder(order)) {
        return String(std::string(count, '\0'));
    }
    return utf16::toUTF8(unitsOf(bytes, order), repairs);
}

struct CharacterRange {
    unsigned short low;
    unsigned short high;  ///< inclusive
};

/// The UTF-16 code units that XML forbids. 000C is not among them here, unlike in XML 1.0.
constexpr CharacterRange invalidXMLCharacters[] = {
    {0x0000, 0x0008}, {0x000B, 0x000B}, {0x000E, 0x001F}, {0xD800, 0xDFFF}, {0xFFFE, 0xFFFF},
};

/// Whether `unit` is in the range of nearly all text, which needs no look-up of the forbidden
/// ranges.
bool isPlain(unsigned short unit) { return static_cast<unsigned short>(unit - 0x20) < 0xD7E0; }

/// Units tested together.
constexpr std::size_t BLOCK = 16;

/// Whether a whole block is plain; written so that the compiler vectorises it.
bool isPlainBlock(unsigned short const* units) {
    unsigned int others = 0;
    for (std::size_t i = 0; i < BLOCK; ++i) {
        others |= isPlain(units[i]) ? 0U : 1U;
    }
    return others == 0;
}

}  // namespace

// ------------------------------------------------------------------------ Byte order and Unicode

BOMTypes autodetectByteOrder(Array<char> const& data) {
    Logger const logger = makeLogger();
    std::string_view const bytes = viewOf(data);
    if (bytes.substr(0, 2) == "\xFF\xFE") {
        return BOM_UTF16_LE;
    }
    if (bytes.substr(0, 2) == "\xFE\xFF") {
        return BOM_UTF16_BE;
    }
    ZEB_LOG_DEBUG(logger, UNIT,
                  "autodetectByteOrder: Did not find explict byte order mark.  Checking content.");
    if (bytes.size() <= EXAMINED) {
        return BOM_UNKNOWN;
    }
    int evenZeros = 0;
    int oddZeros = 0;
    for (std::size_t i = 0; i < EXAMINED; i += 2) {
        evenZeros += bytes[i] == '\0';
        oddZeros += bytes[i + 1] == '\0';
    }
    if (evenZeros == oddZeros) {
        return BOM_UNKNOWN;
    }
    return evenZeros < oddZeros ? BOM_UTF16_LE : BOM_UTF16_BE;
}

Array<unsigned short> regroupUTF16(Array<char> const& data, BOMTypes bom) {
    // It logs nothing itself, but like the others it creates the component's name.
    [[maybe_unused]] Logger const logger = makeLogger();
    BOMTypes const order = knownOrder(data, bom);
    std::size_t const count = countUnits(viewOf(data));
    if (isNoOrder(order)) {
        return Array<unsigned short>(count);
    }
    utf16::Units const units = unitsOf(viewOf(data), order);
    auto regrouped = UnwrittenArray::make<unsigned short>(units.count);
    utf16::regroup(units, regrouped.data());
    return regrouped;
}

Array<unsigned int> UTF16ToUTF32(Array<unsigned short> const& units) {
    LoggedRepairs repairs(__PRETTY_FUNCTION__);
    utf16::Units const text{reinterpret_cast<char const*>(units.data()), units.size(),
                            utf16::ByteOrder::LITTLE};
    auto points = UnwrittenArray::make<unsigned int>(utf16::mostPoints(text));
    std::size_t const count = utf16::toUTF32(text, points.data(), repairs);
    points.remove(count, points.size() - count);
    return points;
}

String UTF16ToUTF8(Array<char> data, BOMTypes bom) {
    return convertUTF16(viewOf(data), knownOrder(data, bom));
}

String UTF16ToUTF8(Array<unsigned char> const& data) {
    auto const* const bytes = reinterpret_cast<char const*>(&data[0]);
    // The first bytes and the total size determine the order, so no more is copied.
    Array<char> const start(bytes, bytes + std::min(data.size(), EXAMINED + 1));
    return convertUTF16({bytes, data.size()}, knownOrder(start, BOM_UNKNOWN));
}

String convertToUTF8(Array<char> const& data) {
    Logger const logger = makeLogger();
    BOMTypes const bom = autodetectByteOrder(data);
    ZEB_LOG_DEBUG(logger, UNIT,
                  Format("convertToUTF8: Autodetected BOM type is %1", static_cast<int>(bom)));
    if (bom == BOM_UNKNOWN) {
        return String(&data[0], data.size());
    }
    return convertUTF16(viewOf(data), bom);
}

// ----------------------------------------------------------------------------- Characters of XML

bool isValidXMLCharacter(unsigned short unit) noexcept {
    if (isPlain(unit)) {
        return true;
    }
    for (CharacterRange const& range : invalidXMLCharacters) {
        if (range.low <= unit && unit <= range.high) {
            return false;
        }
    }
    return true;
}

void replaceInvalidXMLCharacters(Array<unsigned short>& units, String const& prefix) {
    Logger const logger = makeLogger();
    unsigned short* const begin = units.data();
    unsigned short* const end = begin + units.size();
    for (unsigned short* unit = begin; unit != end;) {
        if (static_cast<std::size_t>(end - unit) >= BLOCK && isPlainBlock(unit)) {
            unit += BLOCK;
            continue;
        }
        if (!isValidXMLCharacter(*unit)) {
            unsigned short const old = std::exchange(*unit, utf16::REPLACEMENT);
            ZEB_LOG_DEBUG(
                logger, UNIT,
                Format("XML Fixup: %1Replaced invalid XML character 0x%2 with 0x%3", prefix,
                       Hexify<unsigned short>(old, false), Hexify<unsigned short>(*unit, false)));
        }
        ++unit;
    }
}

}  // namespace ZEBNS2
