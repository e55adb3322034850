#include "OrventoTextOperations.hpp"

#include <zeb/common/JORLibraryException.hpp>
#include <zeb/foundation/DateTime.hpp>
#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/Logger.hpp>
#include <zeb/foundation/StringBuffer.hpp>
#include <zeb/foundation/UTF8Utils.hpp>
#include <zeb/xmltoolkit/CIMDateTime.hpp>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <istream>
#include <new>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

#include "OrventoCommonRegex.hpp"

namespace ZEBNS2 {

using zeb::common::JORLibraryException;
using zeb::foundation::DateTime;
using zeb::foundation::Exception;
using zeb::foundation::Format;
using zeb::foundation::LazyGlobal;
using zeb::foundation::Logger;
using zeb::foundation::StringBuffer;
using zeb::xmltoolkit::CIMDateTime;

LazyGlobal<String> TextOperations::COMPONENT_NAME = {"zeb.common.TextOperations", nullptr, 0,
                                                     PTHREAD_MUTEX_INITIALIZER};

namespace {

constexpr char UNIT[] = "OrventoTextOperations";

constexpr char QUOTE = '"';

Logger makeLogger() { return Logger(TextOperations::COMPONENT_NAME.get()); }

[[noreturn]] void throwLibraryException(int line, String const& message) {
    throw JORLibraryException(UNIT, line, message.c_str(), Exception::NO_CODE, nullptr,
                              Exception::NO_CODE);
}

std::string_view orEmpty(char const* text) {
    return text == nullptr ? std::string_view() : std::string_view(text);
}

/// An offset as the interfaces have it that return -1 for "none".
int toIndex(std::size_t offset) { return static_cast<int>(std::min<std::size_t>(offset, INT_MAX)); }

String after(String const& text, std::size_t index, std::size_t separatorLength) {
    return index == String::npos ? String() : text.substring(index + separatorLength);
}

String before(String const& text, std::size_t index) {
    return index == String::npos ? String() : text.substring(0, index);
}

/// Index of the first byte of `text` that is one of `set`; -1 when there is none.
int indexOfSet(char const* text, char const* set) {
    if (text == nullptr || set == nullptr) {
        return -1;
    }
    std::size_t const index = std::strcspn(text, set);
    return text[index] == '\0' ? -1 : toIndex(index);
}

/// Moves `pos` from a double quote onto the next one that no backslash precedes, or onto the last
/// one of all.
/// @return whether a closing quote was found
bool skipQuoted(std::string_view text, std::size_t& pos) {
    for (std::size_t next = text.find(QUOTE, pos + 1); next != std::string_view::npos;
         next = text.find(QUOTE, pos + 1)) {
        pos = next;
        if (text[next - 1] != '\\') {
            return true;
        }
    }
    return false;
}

/// The bytes that make an argument need quotes; LF stands twice, to no harm.
constexpr char QUOTING_SET[] = " \t\n\r\v\n\"";

bool needsQuotes(String const& argument) { return indexOfSet(argument.c_str(), QUOTING_SET) != -1; }

void appendQuoted(StringBuffer& out, std::string_view argument) {
    out.append(QUOTE);
    std::size_t start = 0;
    for (std::size_t quote = argument.find(QUOTE); quote != std::string_view::npos;
         quote = argument.find(QUOTE, start)) {
        out.append(argument.substr(start, quote - start)).append("\\\"");
        start = quote + 1;
    }
    out.append(argument.substr(start)).append(QUOTE);
}

struct SizeUnit {
    std::string_view word;
    unsigned int power;  ///< of two, in bytes
};

constexpr SizeUnit SIZE_UNITS[] = {
    {"kb", 10},        {"K", 10},         {"mb", 20},        {"M", 20},         {"gb", 30},
    {"G", 30},         {"tb", 40},        {"T", 40},         {"pb", 50},        {"P", 50},
    {"kbyte", 10},     {"kbytes", 10},    {"mbyte", 20},     {"mbytes", 20},    {"gbyte", 30},
    {"gbytes", 30},    {"tbyte", 40},     {"tbytes", 40},    {"pbyte", 50},     {"pbytes", 50},
    {"kilobyte", 10},  {"kilobytes", 10}, {"megabyte", 20},  {"megabytes", 20}, {"gigabyte", 30},
    {"gigabytes", 30}, {"terabyte", 40},  {"terabytes", 40}, {"petabyte", 50},  {"petabytes", 50},
    {"byte", 0},       {"bytes", 0},
};

/// What finds the word of a unit in a longer text, in the order of trying.
constexpr char const* SIZE_UNIT_EXPRESSIONS[] = {
    "((kilo|mega|giga|peta|tera)(byte|bytes|b))",
    "([kmgpt](byte|bytes|b))",
    "(byte|bytes)",
};

/// How many bytes `text` is short of `width`.
std::size_t missing(String const& text, unsigned int width) {
    return text.length() < width ? width - text.length() : 0;
}

String padded(std::size_t before, String const& text, std::size_t after, char fill) {
    if (before == 0 && after == 0) {
        return text;
    }
    std::size_t const length = before + text.length() + after;
    StringBuffer line(length);
    char* const start = line.prepare(length);
    // One fill, also of what the text then covers: two of a few bytes take longer.
    std::memset(start, fill, length);
    std::memcpy(start + before, text.c_str(), text.length());
    line.commit(length);
    return line.releaseString();
}

template <typename T>
String toHexadecimal(T value, bool pad) {
    static constexpr char DIGITS[] = "0123456789abcdef";
    static constexpr std::size_t WIDTH = 2 * sizeof(T);
    char digits[WIDTH];
    std::size_t start = WIDTH;
    auto rest = static_cast<std::make_unsigned_t<T>>(value);
    do {
        digits[--start] = DIGITS[rest % 16];
        rest = static_cast<std::make_unsigned_t<T>>(rest / 16);
    } while (start != 0 && (pad || rest != 0));
    return String(digits + start, WIDTH - start);
}

/// The value of `name` in a block of entries; none where `extractEnv` leaves its result alone.
std::optional<std::string_view> findValue(std::string_view environment, char const* name,
                                          char separator) {
    std::string key(orEmpty(name));
    key += separator;
    if (environment.empty()) {
        return std::nullopt;
    }
    // memmem is linear whatever the texts are, which std::string_view::find is not.
    void const* const hit =
        ::memmem(environment.data(), environment.size(), key.data(), key.size());
    if (hit == nullptr) {
        return std::nullopt;
    }
    auto const entry = static_cast<std::size_t>(static_cast<char const*>(hit) - environment.data());
    std::size_t const start = environment.find(separator, entry) + 1;
    if (start == environment.size()) {
        return std::nullopt;
    }
    return environment.substr(start, environment.find('\0', start) - start);
}

// UTF-16 is converted by one loop, whose parts know nothing of each other: something to index that
// gives units (bytes in one of the two orders, or units already regrouped), `nextCodePoint`, which
// combines and repairs them, and what becomes of the code points. So the conversion of bytes to
// UTF-8 holds neither units nor code points in memory, and yet says and yields what its documented
// steps do one after the other.

constexpr unsigned short BYTE_ORDER_MARK = 0xFEFF;
constexpr unsigned short REPLACEMENT = 0xFFFD;

bool isHighSurrogate(unsigned short unit) { return (unit & 0xFC00) == 0xD800; }
bool isLowSurrogate(unsigned short unit) { return (unit & 0xFC00) == 0xDC00; }
bool isSurrogate(unsigned short unit) { return (unit & 0xF800) == 0xD800; }

/// Four units in one word, one in each 16 bits.
using Word = std::uint64_t;
constexpr std::size_t WORD_UNITS = sizeof(Word) / sizeof(unsigned short);
/// A word that holds `unit` four times.
constexpr Word repeat(unsigned short unit) { return unit * Word{0x0001'0001'0001'0001}; }

/// Bytes as units.
/// @tparam SWAPPED whether the bytes of each unit stand the other way round than in memory
template <bool SWAPPED>
struct ByteUnits {
    char const* bytes;

    unsigned short operator[](std::size_t index) const {
        unsigned short unit = 0;
        std::memcpy(&unit, bytes + 2 * index, sizeof unit);
        return SWAPPED ? __builtin_bswap16(unit) : unit;
    }
    Word word(std::size_t index) const {
        Word word = 0;
        std::memcpy(&word, bytes + 2 * index, sizeof word);
        return SWAPPED ? (word & repeat(0x00FF)) << 8 | (word >> 8 & repeat(0x00FF)) : word;
    }
};

constexpr bool HOST_IS_LITTLE_ENDIAN = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;

/// What a value of `BOMTypes` that is no member makes of bytes.
struct ZeroUnits {
    unsigned short operator[](std::size_t) const { return 0; }
    Word word(std::size_t) const { return 0; }
};

/// The code point that a pair stands for.
unsigned int combine(unsigned short high, unsigned short low) {
    return ((high & 0x3FFU) << 10 | (low & 0x3FFU)) + 0x10000;
}

// The steps that others take too log in the name of the function that is the step.
constexpr char AUTODETECT_BYTE_ORDER[] =
    "ZEBNS2::BOMTypes ZEBNS2::autodetectByteOrder(const ZEBNS2::Array<char>&)";
constexpr char UTF16_TO_UTF32[] =
    "ZEBNS2::Array<unsigned int> ZEBNS2::UTF16ToUTF32(const ZEBNS2::Array<unsigned short>&)";

void logLoneSurrogate(Logger const& logger, unsigned short unit) {
    ZEB_LOG_AS(logger, DEBUG, UNIT, UTF16_TO_UTF32,
               Format("UTF16ToUTF32: Found out-of-range character 0x%1.  Replacing with 0xFFFD.",
                      Hexify<unsigned short>(unit, true)));
}

void logBrokenPair(Logger const& logger, unsigned short high, unsigned short unit) {
    ZEB_LOG_AS(logger, DEBUG, UNIT, UTF16_TO_UTF32,
               Format("UTF16ToUTF32: Found invalid surragate character 0x%1 0x%2.  Replacing "
                      "with 0xFFFD.",
                      Hexify<unsigned int>(high, false), Hexify<unsigned short>(unit, true)));
}

/// Takes the next code point from `units` and moves `index`, which is less than `count`, behind it.
/// @return false when there was nothing but a high surrogate at the end
template <typename Units>
bool nextCodePoint(Units units, std::size_t count, std::size_t& index, unsigned int& point,
                   Logger const& logger) {
    unsigned short const unit = units[index++];
    if (!isSurrogate(unit)) {
        point = unit;
        return true;
    }
    if (isLowSurrogate(unit)) {
        logLoneSurrogate(logger, unit);
        point = REPLACEMENT;
        return true;
    }
    if (index == count) {
        return false;
    }
    // The unit behind a high surrogate is consumed with it, whatever it is.
    unsigned short const next = units[index++];
    if (isLowSurrogate(next)) {
        point = combine(unit, next);
    } else {
        logBrokenPair(logger, unit, next);
        point = REPLACEMENT;
    }
    return true;
}

/// Units that are looked at together.
constexpr std::size_t BLOCK = 2 * WORD_UNITS;

/// Whether a unit of `word` is zero.
bool hasZero(Word word) {
    // The lowest 16 bits that are zero borrow from no other, so their highest bit is set here.
    return ((word - repeat(1)) & ~word & repeat(0x8000)) != 0;
}

bool hasSurrogate(Word word) { return hasZero((word & repeat(0xF800)) ^ repeat(0xD800)); }

template <typename Units>
bool isASCIIBlock(Units units, std::size_t index) {
    return ((units.word(index) | units.word(index + WORD_UNITS)) & repeat(0xFF80)) == 0;
}

/// Whether each unit of a block without surrogates takes three bytes.
template <typename Units>
bool isLongBlock(Units units, std::size_t index) {
    return !hasZero(units.word(index) & repeat(0xF800)) &&
           !hasZero(units.word(index + WORD_UNITS) & repeat(0xF800));
}

/// Goes from unit `begin` to `end`, and one unit further for a pair across that border: calls
/// `block(index)` for whole blocks without surrogates, and elsewhere `step(index)`, which moves
/// `index` itself.
/// @return where it stopped
template <typename Units, typename Block, typename Step>
std::size_t walk(Units units, std::size_t begin, std::size_t end, Block const& block,
                 Step const& step) {
    std::size_t index = begin;
    while (index < end) {
        std::size_t const blockEnd = index + std::min(end - index, BLOCK);
        if (blockEnd - index == BLOCK && !hasSurrogate(units.word(index)) &&
            !hasSurrogate(units.word(index + WORD_UNITS))) {
            block(index);
            index = blockEnd;
        }
        while (index < blockEnd) {
            step(index);
        }
    }
    return index;
}

/// How many code points `nextCodePoint` finds.
template <typename Units>
std::size_t countCodePoints(Units units, std::size_t count) {
    std::size_t points = 0;
    walk(
        units, 0, count, [&](std::size_t) { points += BLOCK; },
        [&](std::size_t& index) {
            if (isHighSurrogate(units[index++])) {
                if (index == count) {
                    return;
                }
                ++index;
            }
            ++points;
        });
    return points;
}

/// Encodes a unit that is no surrogate. Needs room for three bytes, even if it uses fewer.
///
/// One or two bytes are told apart without a branch, which text of letters and blanks would make a
/// processor mispredict all the time.
char* encodeUnit(unsigned int unit, char* out) {
    unsigned int const last = 0x80 | (unit & 0x3F);
    if (unit >= 0x800) {
        out[0] = static_cast<char>(0xE0 | unit >> 12);
        out[1] = static_cast<char>(0x80 | (unit >> 6 & 0x3F));
        out[2] = static_cast<char>(last);
        return out + 3;
    }
    unsigned int const isLong = unit >= 0x80;
    out[0] = static_cast<char>(0xC0 * isLong | unit >> 6 * isLong);
    out[1] = static_cast<char>(last);
    return out + 1 + isLong;
}

/// Encodes a code point above 0xFFFF.
char* encodePair(unsigned int point, char* out) {
    unsigned int const code = 0x808080F0 | point >> 18 | (point >> 4 & 0x3F00) |
                              (point << 10 & 0x3F0000) | (point << 24 & 0x3F000000);
    std::memcpy(out, &code, sizeof code);
    return out + sizeof code;
}

/// Whether the processor built for has vectors; in ordinary registers they would be slower than
/// unit by unit.
#ifdef __SSE2__
constexpr bool HAS_VECTORS = true;
#else
constexpr bool HAS_VECTORS = false;
#endif

/// Encodes four units that take three bytes each. Needs room for two bytes more.
///
/// In vectors that takes a quarter less time than unit by unit.
char* encodeLongWord(Word word, char* out) {
    using Units = unsigned short __attribute__((vector_size(8)));
    using Codes = unsigned int __attribute__((vector_size(16)));
    using Pairs = std::uint64_t __attribute__((vector_size(16)));
    static_assert(HOST_IS_LITTLE_ENDIAN, "the first byte of a code is its lowest");
    Units units;
    std::memcpy(&units, &word, sizeof units);
    Codes const unit = __builtin_convertvector(units, Codes);
    Codes const codes = 0x8080E0 | unit >> 12 | (unit << 2 & 0x3F00) | (unit << 16 & 0x3F0000);
    Pairs pairs;
    std::memcpy(&pairs, &codes, sizeof pairs);
    pairs = (pairs & 0xFFFFFF) | (pairs >> 8 & 0xFFFFFF000000);
    for (std::size_t i = 0; i < 2; ++i) {
        std::uint64_t const bytes = pairs[i];
        std::memcpy(out + 6 * i, &bytes, sizeof bytes);
    }
    return out + 12;
}

template <typename Units>
String encodeUTF8(Units units, std::size_t count, Logger const& logger) {
    // Room is made piece by piece for the longest encoding, three bytes for a unit, and two bytes
    // more for a pair across the border and for what `encodeLongWord` writes beyond its end. Asking
    // for all of it at once would take three times the memory that mostly ASCII text needs.
    static constexpr std::size_t PIECE = 4096;
    static constexpr std::size_t SPARE = 2;
    StringBuffer text(count + 2 * std::min(count, PIECE) + SPARE);
    for (std::size_t index = 0; index < count;) {
        std::size_t const pieceEnd = index + std::min(count - index, PIECE);
        char* const start = text.prepare(3 * (pieceEnd - index) + SPARE);
        char* out = start;
        index = walk(
            units, index, pieceEnd,
            [&](std::size_t block) {
                if (isASCIIBlock(units, block)) {
                    for (std::size_t i = 0; i < BLOCK; ++i) {
                        out[i] = static_cast<char>(units[block + i]);
                    }
                    out += BLOCK;
                    return;
                }
                if (HAS_VECTORS && isLongBlock(units, block)) {
                    out = encodeLongWord(units.word(block), out);
                    out = encodeLongWord(units.word(block + WORD_UNITS), out);
                    return;
                }
                for (std::size_t i = 0; i < BLOCK; ++i) {
                    out = encodeUnit(units[block + i], out);
                }
            },
            [&](std::size_t& next) {
                // Pairs come in runs. What is no pair, and one across the border, is left to
                // `nextCodePoint`.
                while (next + 1 < pieceEnd && isHighSurrogate(units[next]) &&
                       isLowSurrogate(units[next + 1])) {
                    out = encodePair(combine(units[next], units[next + 1]), out);
                    next += 2;
                }
                unsigned int point = 0;
                if (next < pieceEnd && nextCodePoint(units, count, next, point, logger)) {
                    out = zeb::foundation::UTF8Utils::encode(point, out);
                }
            });
        text.commit(static_cast<std::size_t>(out - start));
    }
    return text.releaseString();
}

BOMTypes detectByteOrder(std::string_view bytes, Logger const& logger) {
    auto const startsWith = [bytes](char const* mark) { return bytes.substr(0, 2) == mark; };
    if (startsWith("\xFF\xFE")) {
        return BOM_UTF16_LE;
    }
    if (startsWith("\xFE\xFF")) {
        return BOM_UTF16_BE;
    }
    ZEB_LOG_AS(logger, DEBUG, UNIT, AUTODETECT_BYTE_ORDER,
               "autodetectByteOrder: Did not find explict byte order mark.  Checking content.");
    static constexpr std::size_t EXAMINED = 10;
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

/// Regroups `bytes`, in the byte order `bom` or the one detected, and calls `use(units, count)`.
template <typename Use>
auto withUnits(std::string_view bytes, BOMTypes bom, Logger const& logger, Use const& use) {
    BOMTypes const order = bom == BOM_UNKNOWN ? detectByteOrder(bytes, logger) : bom;
    if (order == BOM_UNKNOWN) {
        throwLibraryException(__LINE__, "Cannot autodetect bom type for given data.");
    }
    if (bytes.size() % 2 != 0) {
        // A byte of 0x80 and above is negative here, and is shown with all the bits of an `int`.
        throwLibraryException(
            __LINE__, Format("An odd character (0x%1) was left after regrouping UTF16 bytes.",
                             Hexify<int>(static_cast<signed char>(bytes.back()), true)));
    }
    std::size_t const count = bytes.size() / 2;
    if (order != BOM_UTF16_LE && order != BOM_UTF16_BE) {
        return use(ZeroUnits(), count);
    }
    auto const withoutMark = [&](auto units) {
        if (count == 0 || units[0] != BYTE_ORDER_MARK) {
            return use(units, count);
        }
        units.bytes += 2;
        return use(units, count - 1);
    };
    if ((order == BOM_UTF16_LE) == HOST_IS_LITTLE_ENDIAN) {
        return withoutMark(ByteUnits</*SWAPPED=*/false>{bytes.data()});
    }
    return withoutMark(ByteUnits</*SWAPPED=*/true>{bytes.data()});
}

String convertUTF16(std::string_view bytes, BOMTypes bom, Logger const& logger) {
    return withUnits(bytes, bom, logger, [&logger](auto units, std::size_t count) {
        return encodeUTF8(units, count, logger);
    });
}

std::string_view viewOf(Array<char> const& data) { return {data.data(), data.size()}; }

struct CharacterRange {
    unsigned short low;
    unsigned short high;  ///< inclusive
};

/// The UTF-16 code units that XML forbids. 000C is not among them here, unlike in XML 1.0.
constexpr CharacterRange invalidXMLCharacters[] = {
    {0x0000, 0x0008}, {0x000B, 0x000B}, {0x000E, 0x001F}, {0xD800, 0xDFFF}, {0xFFFE, 0xFFFF},
};

/// Bytes that the stream functions ask for at once.
constexpr unsigned int CHUNK = 2048;

}  // namespace

// ------------------------------------------------------------------------------------ Substrings

String substringAfter(String const& text, char separator) {
    return after(text, text.indexOf(separator), 1);
}

String substringAfter(String const& text, char const* separator) {
    std::string_view const wanted = orEmpty(separator);
    return after(text, text.indexOf(wanted), wanted.size());
}

String substringAfter(String const& text, String const& separator) {
    return after(text, text.indexOf(separator), separator.length());
}

String substringBefore(String const& text, char separator) {
    return before(text, text.indexOf(separator));
}

String substringBefore(String const& text, char const* separator) {
    return before(text, text.indexOf(orEmpty(separator)));
}

String substringBefore(String const& text, String const& separator) {
    return substringBefore(text, separator.c_str());
}

String substringAfterLast(String const& text, char separator) {
    return after(text, text.lastIndexOf(separator), 1);
}

String substringAfterLast(String const& text, char const* separator) {
    std::string_view const wanted = orEmpty(separator);
    return after(text, text.lastIndexOf(wanted), wanted.size());
}

String substringAfterLast(String const& text, String const& separator) {
    return after(text, text.lastIndexOf(separator), separator.length());
}

// ------------------------------------------------------------------------------------ Predicates

bool is_substring(String needle, String haystack) {
    return haystack.indexOf(needle) != String::npos;
}

bool is_substring_ignorecase(String needle, String haystack) {
    std::string_view const text = haystack;
    for (std::size_t pos = 0; needle.length() <= text.size() - pos; ++pos) {
        if (needle.equalsIgnoreCase(text.substr(pos, needle.length()))) {
            return true;
        }
    }
    return false;
}

bool equals_ignorecase(String a, String b) { return a.equalsIgnoreCase(b); }

bool is_regex_match(String pattern, String text) {
    return RegularExpression(pattern, RegularExpression::EXTENDED_SYNTAX).matches(text);
}

// ------------------------------------------------------------------------- Quoting and tokenizing

String remove_quotes(String const& text) {
    if (text.empty() || text[0] != QUOTE || text[text.length() - 1] != QUOTE) {
        return text;
    }
    return text.length() < 2 ? String() : text.substring(1, text.length() - 2);
}

String find_first_quoted_string(String const& text, unsigned int& endPos, unsigned int start) {
    std::size_t const open = text.indexOf(QUOTE, start);
    if (open == String::npos) {
        return String();
    }
    std::size_t const close = text.indexOf(QUOTE, open + 1);
    if (close == String::npos || close > UINT_MAX) {
        return String();
    }
    String quoted = text.substring(open + 1, close - open - 1);
    endPos = static_cast<unsigned int>(close);
    return quoted;
}

StringArray quoted_string_tokenization(String const& text, char const* delimiters) {
    if (text.empty()) {
        return {};
    }
    if (delimiters == nullptr) {
        return {text};
    }
    std::array<bool, UCHAR_MAX + 1> isDelimiter{};
    for (char const delimiter : std::string_view(delimiters)) {
        isDelimiter[static_cast<unsigned char>(delimiter)] = true;
    }
    std::string_view const bytes = text;
    StringArray tokens;
    std::size_t tokenStart = 0;
    auto const appendUpTo = [&](std::size_t end) {
        if (tokenStart < end) {
            tokens.append(text.substring(tokenStart, end - tokenStart));
        }
    };
    for (std::size_t pos = 0; pos < bytes.size(); ++pos) {
        char const byte = bytes[pos];
        // Where no closing quote is found, `pos` may have moved, but `byte` is still the quote.
        if (byte == QUOTE && skipQuoted(bytes, pos)) {
            continue;
        }
        if (isDelimiter[static_cast<unsigned char>(byte)]) {
            appendUpTo(pos);
            tokenStart = pos + 1;
        }
    }
    appendUpTo(bytes.size());
    return tokens;
}

String untokenize(StringArray const& parts, String const& separator) {
    if (parts.size() < 2) {
        return parts.empty() ? String() : parts[0];
    }
    std::size_t length = 0;
    bool overflow = __builtin_mul_overflow(separator.length(), parts.size() - 1, &length);
    for (String const& part : parts) {
        overflow |= __builtin_add_overflow(length, part.length(), &length);
    }
    if (overflow) {              // COVERAGE: only 32-bit programs can hold so many parts
        throw std::bad_alloc();  // COVERAGE: the same parts
    }
    StringBuffer joined(length);
    char* out = joined.prepare(length);
    auto const put = [&out](std::string_view bytes) {
        out = std::copy(bytes.begin(), bytes.end(), out);
    };
    put(parts[0]);
    for (std::size_t i = 1; i < parts.size(); ++i) {
        put(separator);
        put(parts[i]);
    }
    joined.commit(length);
    return joined.releaseString();
}

StringArray remove_empty_strings(StringArray const& parts) {
    StringArray kept;
    for (String const& part : parts) {
        if (!part.empty()) {
            kept.append(part);
        }
    }
    return kept;
}

StringArray find_exact_matches(String const& needle, StringArray const& candidates) {
    StringArray matches;
    for (String const& candidate : candidates) {
        // Containment is what this operation means by a match.
        if (candidate.indexOf(needle) != String::npos) {
            matches.append(candidate);
        }
    }
    return matches;
}

int non_matching_index(String const& a, String const& b) {
    std::string_view const first = a;
    std::string_view const second = b;
    std::size_t const shorter = std::min(first.size(), second.size());
    std::size_t index = 0;
    while (index < shorter && first[index] == second[index]) {
        ++index;
    }
    return index == std::max(first.size(), second.size()) ? -1 : toIndex(index);
}

String removeRedundantSeparators(String const& text, char separator) {
    StringBuffer kept(text.length());
    bool afterSeparator = false;
    for (char const byte : std::string_view(text)) {
        bool const isSeparator = byte == separator;
        if (!isSeparator || !afterSeparator) {
            kept.append(byte);
        }
        afterSeparator = isSeparator;
    }
    return kept.releaseString();
}

// --------------------------------------------------------------------------------- Command lines

String CommandLine::escapeArgument(String const& argument) {
    if (!needsQuotes(argument)) {
        return argument;
    }
    StringBuffer escaped(argument.length() + 2);
    appendQuoted(escaped, argument);
    return escaped.releaseString();
}

String CommandLine::flatten(StringArray const& arguments) {
    StringBuffer line;
    for (String const& argument : arguments) {
        // By this rule an empty argument leaves a blank, but not at the front.
        if (!line.empty()) {
            line.append(' ');
        }
        if (needsQuotes(argument)) {
            appendQuoted(line, argument);
        } else {
            line.append(argument);
        }
    }
    return line.releaseString();
}

String CommandLine::unescapeArgument(String const&) {
    throwLibraryException(__LINE__, "Not implemented: unescapeArgument");
}

StringArray CommandLine::unflatten(String const&) {
    throwLibraryException(__LINE__, "Not implemented: unflatten");
}

// -------------------------------------------------------------------------- Dates and size units

String getCurrentCIMDateTime() {
    DateTime now;
    now.setToCurrent();
    return CIMDateTime(now).toString();
}

String extractGenericDate(String const& text) {
    static constexpr char WEEKDAY[] = "((Mon)|(Tue)|(Wed)|(Thu)|(Fri)|(Sat)|(Sun))";
    static constexpr char MONTH[] =
        "((Jan)|(Feb)|(Mar)|(Apr)|(May)|(Jun)|(Jul)|(Aug)|(Sep)|(Oct)|(Nov)|(Dec))";
    static constexpr char DAY[] = "(([0-9])|([0-9][0-9]))";
    static constexpr char TIME[] = "((([0-9][0-9])|([0-9])):[0-9][0-9]:[0-9][0-9])";
    static constexpr char YEAR[] = "([0-9][0-9][0-9][0-9])";
    static constexpr char ZONE[] = "([A-Za-z][A-Za-z][A-Za-z])";
    // One blank between two fields: a day padded with a second one is no date here.
    String const start = Format("%1 %2 %3 %4", WEEKDAY, MONTH, DAY, TIME);
    String const pattern = Format("((%1 %3)|(%1 %2 %3))", start, ZONE, YEAR);
    return RegularExpression(pattern, RegularExpression::EXTENDED_SYNTAX).matching_substring(text);
}

String extractGenericDate(char const* text) { return extractGenericDate(String(text)); }

std::uint64_t get_unit_size(String const& unit) {
    String word;
    for (char const* const expression : SIZE_UNIT_EXPRESSIONS) {
        word = RegularExpression(expression, RegularExpression::CASE_INSENSITIVE)
                   .matching_substring(unit);
        if (!word.empty()) {
            break;
        }
    }
    if (word.empty()) {
        word = unit;
    }
    for (SizeUnit const& known : SIZE_UNITS) {
        if (word.equalsIgnoreCase(known.word)) {
            return std::uint64_t{1} << known.power;
        }
    }
    return 0;
}

// ---------------------------------------------------------------------------------------- Layout

String leftText(String const& text, unsigned int width, char fill) {
    return padded(0, text, missing(text, width), fill);
}

String rightText(String const& text, unsigned int width, char fill) {
    return padded(missing(text, width), text, 0, fill);
}

String centerText(String const& text, unsigned int width, char fill) {
    std::size_t const total = missing(text, width);
    return padded(total / 2, text, total - total / 2, fill);
}

// --------------------------------------------------------------------------------------- Numbers

template <>
double string_to_number<double>(String const& text, int) {
    return text.toReal64();
}
template <>
float string_to_number<float>(String const& text, int) {
    return text.toReal32();
}
template <>
signed char string_to_number<signed char>(String const& text, int base) {
    return text.toInt8(base);
}
template <>
short string_to_number<short>(String const& text, int base) {
    return text.toInt16(base);
}
template <>
int string_to_number<int>(String const& text, int base) {
    return text.toInt32(base);
}
template <>
long long string_to_number<long long>(String const& text, int base) {
    return text.toInt64(base);
}
template <>
unsigned char string_to_number<unsigned char>(String const& text, int base) {
    return text.toUInt8(base);
}
template <>
unsigned short string_to_number<unsigned short>(String const& text, int base) {
    return text.toUInt16(base);
}
template <>
unsigned int string_to_number<unsigned int>(String const& text, int base) {
    return text.toUInt32(base);
}
template <>
unsigned long long string_to_number<unsigned long long>(String const& text, int base) {
    return text.toUInt64(base);
}

template <>
String Hexify<unsigned short>(unsigned short const& value, bool pad) {
    return toHexadecimal(value, pad);
}
template <>
String Hexify<unsigned int>(unsigned int const& value, bool pad) {
    return toHexadecimal(value, pad);
}
template <>
String Hexify<int>(int const& value, bool pad) {
    return toHexadecimal(value, pad);
}

// ----------------------------------------------------------------------------------- Environment

void extractEnv(std::vector<char> const& environment, char const* name, std::vector<char>& out,
                char separator) {
    auto const value = findValue({environment.data(), environment.size()}, name, separator);
    if (value) {
        // Not assigned in place: `out` may be the environment.
        out = std::vector<char>(value->begin(), value->end());
    }
}

void extractEnv(String const& environment, char const* name, String& out, char separator) {
    auto const value = findValue(environment, name, separator);
    if (value) {
        out = String(*value);
    }
}

void extractPath(std::vector<char> const& environment, std::vector<char>& out) {
    extractEnv(environment, "PATH", out, '=');
}

// ------------------------------------------------------------------------ Byte order and Unicode

BOMTypes autodetectByteOrder(Array<char> const& data) {
    return detectByteOrder(viewOf(data), makeLogger());
}

Array<unsigned short> regroupUTF16(Array<char> const& data, BOMTypes bom) {
    Logger const logger = makeLogger();
    return withUnits(viewOf(data), bom, logger, [](auto bytes, std::size_t count) {
        Array<unsigned short> units(count);
        unsigned short* const out = units.data();
        for (std::size_t i = 0; i < count; ++i) {
            out[i] = bytes[i];
        }
        return units;
    });
}

Array<unsigned int> UTF16ToUTF32(Array<unsigned short> const& units) {
    Logger const logger = makeLogger();
    std::size_t const count = units.size();
    ByteUnits</*SWAPPED=*/false> const in{reinterpret_cast<char const*>(units.data())};
    Array<unsigned int> points(countCodePoints(in, count));
    unsigned int* out = points.data();
    walk(
        in, 0, count,
        [&](std::size_t block) {
            for (std::size_t i = 0; i < BLOCK; ++i) {
                out[i] = in[block + i];
            }
            out += BLOCK;
        },
        [&](std::size_t& index) {
            unsigned int point = 0;
            if (nextCodePoint(in, count, index, point, logger)) {
                *out++ = point;
            }
        });
    return points;
}

String UTF16ToUTF8(Array<char> data, BOMTypes bom) {
    return convertUTF16(viewOf(data), bom, makeLogger());
}

String UTF16ToUTF8(Array<unsigned char> const& data) {
    auto const* const bytes = reinterpret_cast<char const*>(&data[0]);
    return convertUTF16({bytes, data.size()}, BOM_UNKNOWN, makeLogger());
}

String convertToUTF8(Array<char> const& data) {
    Logger const logger = makeLogger();
    std::string_view const bytes = viewOf(data);
    BOMTypes const bom = detectByteOrder(bytes, logger);
    ZEB_LOG_DEBUG(logger, UNIT,
                  Format("convertToUTF8: Autodetected BOM type is %1", static_cast<int>(bom)));
    if (bom == BOM_UNKNOWN) {
        return String(&data[0], data.size());
    }
    return convertUTF16(bytes, bom, logger);
}

// ----------------------------------------------------------------------------- Characters of XML

bool isValidXMLCharacter(unsigned short unit) noexcept {
    // Nearly all text stands here and need not be compared with each range.
    if (unit >= 0x20 && unit < 0xD800) {
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
    for (unsigned short& unit : units) {
        if (isValidXMLCharacter(unit)) {
            continue;
        }
        unsigned short const old = unit;
        unit = REPLACEMENT;
        ZEB_LOG_DEBUG(
            logger, UNIT,
            Format("XML Fixup: %1Replaced invalid XML character 0x%2 with 0x%3", prefix,
                   Hexify<unsigned short>(old, false), Hexify<unsigned short>(unit, false)));
    }
}

// ----------------------------------------------------------------------- Replacing and streaming

String search_replace(String const& text, String const& search, String const& replacement) {
    Logger const logger = makeLogger();
    ZEB_LOG_DEBUG(
        logger, UNIT,
        Format("search_replace: Replacing '%1' with '%2' in '%3' .", search, replacement, text));
    std::string_view const bytes = text;
    StringBuffer replaced(bytes.size());
    std::size_t pos = 0;
    while (pos < bytes.size()) {
        std::size_t const index = text.indexOf(search, pos);
        if (index == String::npos) {
            break;
        }
        // Only here, behind the search: an empty text gets no such message.
        if (search.empty()) {
            ZEB_LOG_DEBUG(logger, UNIT, "search_replace: search string empty, exiting.");
            return text;
        }
        replaced.append(bytes.substr(pos, index - pos)).append(replacement);
        pos = index + search.length();
    }
    // Without a hit the text itself is returned, which copies nothing.
    String const result = pos == 0 ? text : replaced.append(bytes.substr(pos)).releaseString();
    ZEB_LOG_DEBUG(logger, UNIT, Format("search_replace: Transformed '%1' to '%2'", text, result));
    return result;
}

std::size_t copy_stream(std::ostream& destination, std::istream& source) {
    Logger const logger = makeLogger();
    ZEB_LOG_DEBUG3(logger, UNIT, "Copy Stream: Copy from source to dest.");
    std::size_t total = 0;
    while (source.good() && destination.good()) {
        ZEB_LOG_DEBUG3(
            logger, UNIT,
            Format("Copy Stream: Attempting to read %1 bytes from source stream.", CHUNK));
        char chunk[CHUNK];
        source.read(chunk, CHUNK);
        std::streamsize const count = source.gcount();
        ZEB_LOG_DEBUG3(logger, UNIT,
                       Format("Copy Stream: Actually read %1 bytes from source stream.", count));
        destination.write(chunk, count);
        ZEB_LOG_DEBUG3(logger, UNIT,
                       Format("Copy Stream: Attempted to write %1 bytes to dest stream.", count));
        total += static_cast<std::size_t>(count);
    }
    ZEB_LOG_DEBUG3(logger, UNIT,
                   Format("Copy Stream: Copied a total of %1 bytes from source to dest.", total));
    return total;
}

std::vector<char> read_from_stream(IFileStream& stream, unsigned int limit) {
    static constexpr unsigned int NO_LIMIT = 0xFFFFFFFF;
    std::vector<char> bytes;
    unsigned int remaining = limit;
    while (remaining != 0 && stream.good()) {
        char chunk[CHUNK];
        stream.read(chunk, CHUNK);
        bytes.insert(bytes.end(), chunk, chunk + stream.gcount());
        // A whole chunk is asked for whatever remains, so this may wrap around; reading then goes
        // on to the end of the stream.
        if (limit != NO_LIMIT) {
            remaining -= static_cast<unsigned int>(stream.gcount());
        }
    }
    return bytes;
}

}  // namespace ZEBNS2
