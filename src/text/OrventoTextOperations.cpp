#include "OrventoTextOperations.hpp"

#include <zeb/foundation/ByteSearch.hpp>
#include <zeb/foundation/DateTime.hpp>
#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/Logger.hpp>
#include <zeb/foundation/StringBuffer.hpp>
#include <zeb/foundation/TwoWaySearch.hpp>
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
#include "TextUnit.hpp"

namespace ZEBNS2 {

using zeb::foundation::DateTime;
using zeb::foundation::Format;
using zeb::foundation::LazyGlobal;
using zeb::foundation::Logger;
using zeb::foundation::StringBuffer;
using zeb::foundation::detail::appendReplaced;
using zeb::foundation::detail::firstOccurrence;
using zeb::foundation::detail::Folded;
using zeb::xmltoolkit::CIMDateTime;
using namespace textunit;

LazyGlobal<String> TextOperations::COMPONENT_NAME = {"zeb.common.TextOperations", nullptr, 0,
                                                     PTHREAD_MUTEX_INITIALIZER};

namespace {

constexpr char QUOTE = '"';

std::string_view orEmpty(char const* text) {
    return text == nullptr ? std::string_view() : std::string_view(text);
}

String after(String const& text, std::size_t index, std::size_t separatorLength) {
    return index == String::npos ? String() : text.substring(index + separatorLength);
}

String before(String const& text, std::size_t index) {
    return index == String::npos ? String() : text.substring(0, index);
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

bool needsQuotes(String const& argument) { return indexOfSet(argument.c_str(), QUOTING_SET) != -1; }

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

/// The expressions that find a unit's word in a longer text, in the order of trying.
constexpr char const* SIZE_UNIT_EXPRESSIONS[] = {
    "((kilo|mega|giga|peta|tera)(byte|bytes|b))",
    "([kmgpt](byte|bytes|b))",
    "(byte|bytes)",
};

/// The number of bytes that `text` lacks to `width`.
std::size_t missing(String const& text, unsigned int width) {
    return text.length() < width ? width - text.length() : 0;
}

/// `text` between two runs of `fill`.
String padded(std::size_t before, String const& text, std::size_t after, char fill) {
    if (before == 0 && after == 0) {
        return text;
    }
    std::size_t const length = before + text.length() + after;
    StringBuffer line(length);
    char* const start = line.prepare(length);
    // One fill, including the bytes that the text then overwrites: two short fills take longer.
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

/// The value of `name` in a block of entries; none where `extractEnv` does not change its result.
std::optional<std::string_view> findValue(std::string_view environment, char const* name,
                                          char separator) {
    std::string key(orEmpty(name));
    key += separator;
    if (environment.empty()) {
        return std::nullopt;
    }
    // memmem is linear for all texts; std::string_view::find is not.
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

/// Bytes that the stream functions read at once.
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

bool is_substring(String needle, String haystack) noexcept {
    return haystack.indexOf(needle) != String::npos;
}

bool is_substring_ignorecase(String needle, String haystack) noexcept {
    return needle.empty() ||
           firstOccurrence(Folded(haystack), static_cast<std::ptrdiff_t>(haystack.length()),
                           Folded(needle), static_cast<std::ptrdiff_t>(needle.length())) >= 0;
}

bool equals_ignorecase(String a, String b) noexcept { return a.equalsIgnoreCase(b); }

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
        // When no closing quote is found, `pos` may have moved, but `byte` is still the quote.
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
    // Initial room only; if the sum has wrapped around, the buffer grows.
    std::size_t room = separator.length() * (parts.size() - 1);
    for (String const& part : parts) {
        room += part.length();
    }
    StringBuffer joined(room);
    for (String const& part : parts) {
        if (&part != parts.begin()) {
            joined.append(separator);
        }
        joined.append(part);
    }
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
        // This operation defines a match as containment.
        if (candidate.indexOf(needle) != String::npos) {
            matches.append(candidate);
        }
    }
    return matches;
}

int non_matching_index(String const& a, String const& b) noexcept {
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
    // One blank between two fields: a day padded with a second blank is not a date here.
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
        // Not assigned in place, because `out` may be `environment`.
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

// ----------------------------------------------------------------------- Replacing and streaming

String search_replace(String const& text, String const& search, String const& replacement) {
    Logger const logger = makeLogger();
    ZEB_LOG_DEBUG(
        logger, UNIT,
        Format("search_replace: Replacing '%1' with '%2' in '%3' .", search, replacement, text));
    // An empty text is not searched, so it logs no such message.
    if (search.empty() && !text.empty()) {
        ZEB_LOG_DEBUG(logger, UNIT, "search_replace: search string empty, exiting.");
        return text;
    }
    // Enough for a short text with some longer replacements.
    static constexpr std::size_t SURPLUS = 64;
    StringBuffer replaced(text.length() + SURPLUS);
    bool const found = !search.empty() && appendReplaced(replaced, text, search, replacement);
    // Without a hit, return the text itself, which copies nothing.
    String result = found ? replaced.releaseString() : text;
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
        // Always a whole chunk is read, so this may wrap around; reading then continues to the end
        // of the stream.
        if (limit != NO_LIMIT) {
            remaining -= static_cast<unsigned int>(stream.gcount());
        }
    }
    return bytes;
}

}  // namespace ZEBNS2
