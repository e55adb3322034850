#pragma once

#include <zeb/foundation/Export.hpp>
#include <zeb/foundation/IFileStream.hpp>
#include <zeb/foundation/LazyGlobal.hpp>
#include <zeb/foundation/String.hpp>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

/// @file
/// Operations on texts: substrings, quoting, tokenizing, command lines, dates, size units, layout,
/// numbers, environment blocks, byte order and Unicode, characters of XML, streams.
///
/// These rules apply to every function here, unless its own contract says otherwise:
/// - Texts are bytes. NUL is a byte like any other in a `String` or an `Array`, and ends a
///   `char const*`; a null `char const*` is the empty text.
/// - Offsets and lengths are counted in bytes, 0-based, ends exclusive.
/// - "Not found" is no error; it is reported by the empty text or the value named.
/// - The locale has no influence. Case is ASCII's.
/// - Input arguments are never changed; results are independent values. When an exception is
///   thrown, out parameters and arrays to be changed are unchanged.
/// - Every function may throw `std::bad_alloc`; its contract names what else it throws.
/// - Every function is reentrant: threads may call it at once as long as none of them changes an
///   argument of another.
/// - Functions that log do so at debug level under the component `TextOperations::COMPONENT_NAME`,
///   to the process's default appender, and leave `errno` unchanged. What the appender throws
///   reaches the caller. A message whose level is disabled costs one comparison.

namespace ZEBNS2 {

using zeb::foundation::Array;
using zeb::foundation::IFileStream;
using zeb::foundation::String;
using zeb::foundation::StringArray;

namespace detail {
/// False for every type: the primary template of a function that exists only for some types asserts
/// it.
template <typename T>
inline constexpr bool NO_OVERLOAD = false;
}  // namespace detail

namespace TextOperations {

/// Log component of all functions of this header: "zeb.common.TextOperations". Call `get()`; it is
/// built at its first use and destroyed when the library is unloaded.
/// @par Thread safety `get()` may be called by several threads at once.
extern ZEB_EXPORT zeb::foundation::LazyGlobal<String> COMPONENT_NAME;

}  // namespace TextOperations

// ------------------------------------------------------------------------------------ Substrings

/// @name Substrings at a separator
/// All return the empty text, never the whole one, when the separator does not occur. No function
/// returns the text before the last separator.
/// @{

/// Text after the first occurrence of `separator`.
/// @param separator NUL is searched like any other byte
/// @return the bytes after the separator; empty when it does not occur or ends the text
/// @par Complexity linear. @par Thread safety reentrant. @par Exceptions `std::bad_alloc`.
/// ```cpp
/// substringAfter("key=value", '=') == "value"
/// substringAfter("novalue", '=') == ""
/// ```
[[nodiscard]] ZEB_EXPORT String substringAfter(String const& text, char separator);
/// Text after the first occurrence of `separator`.
/// @param separator up to its NUL; null is empty; an empty one is found at 0, which gives the text
/// @return the bytes after the separator; empty when it does not occur or ends the text
/// @par Complexity linear. @par Thread safety reentrant. @par Exceptions `std::bad_alloc`.
/// ```cpp
/// substringAfter("a::b::c", "::") == "b::c"
/// substringAfter("abc", "") == "abc"
/// ```
[[nodiscard]] ZEB_EXPORT String substringAfter(String const& text, char const* separator);
/// Text after the first occurrence of `separator`.
/// @param separator NUL bytes in it are searched too; an empty one is found at 0
/// @return the bytes after the separator; empty when it does not occur or ends the text
/// @par Complexity linear. @par Thread safety reentrant. @par Exceptions `std::bad_alloc`.
/// ```cpp
/// substringAfter("a::b", String("::")) == "b"
/// substringAfter("a::", String("::")) == ""
/// ```
[[nodiscard]] ZEB_EXPORT String substringAfter(String const& text, String const& separator);

/// Text before the first occurrence of `separator`.
/// @param separator NUL is searched like any other byte
/// @return the bytes before the separator; empty when it does not occur or starts the text
/// @par Complexity linear. @par Thread safety reentrant. @par Exceptions `std::bad_alloc`.
/// ```cpp
/// substringBefore("a/b/c", '/') == "a"
/// substringBefore("abc", '/') == ""
/// ```
[[nodiscard]] ZEB_EXPORT String substringBefore(String const& text, char separator);
/// Text before the first occurrence of `separator`.
/// @param separator up to its NUL; null is empty; an empty one is found at 0, which gives nothing
/// @return the bytes before the separator; empty when it does not occur or starts the text
/// @par Complexity linear. @par Thread safety reentrant. @par Exceptions `std::bad_alloc`.
/// ```cpp
/// substringBefore("a::b", "::") == "a"
/// substringBefore("abc", "") == ""
/// ```
[[nodiscard]] ZEB_EXPORT String substringBefore(String const& text, char const* separator);
/// Text before the first occurrence of `separator`.
/// @param separator up to its first NUL, as in the form for `char const*`, unlike the other forms
///   for a `String`
/// @return the bytes before the separator; empty when it does not occur or starts the text
/// @par Complexity linear. @par Thread safety reentrant. @par Exceptions `std::bad_alloc`.
/// ```cpp
/// substringBefore("a::b", String("::")) == "a"
/// substringBefore("::b", String("::")) == ""
/// ```
[[nodiscard]] ZEB_EXPORT String substringBefore(String const& text, String const& separator);

/// Text after the last occurrence of `separator`.
/// @param separator NUL is searched like any other byte
/// @return the bytes after the separator; empty when it does not occur or ends the text
/// @par Complexity linear. @par Thread safety reentrant. @par Exceptions `std::bad_alloc`.
/// ```cpp
/// substringAfterLast("a/b/c", '/') == "c"
/// substringAfterLast("a/b/", '/') == ""
/// ```
[[nodiscard]] ZEB_EXPORT String substringAfterLast(String const& text, char separator);
/// Text after the last occurrence of `separator`.
/// @param separator up to its NUL; null is empty; an empty one is found at the end
/// @return the bytes after the separator; empty when it does not occur or ends the text
/// @par Complexity linear. @par Thread safety reentrant. @par Exceptions `std::bad_alloc`.
/// ```cpp
/// substringAfterLast("a::b::c", "::") == "c"
/// substringAfterLast("abc", "") == ""
/// ```
[[nodiscard]] ZEB_EXPORT String substringAfterLast(String const& text, char const* separator);
/// Text after the last occurrence of `separator`.
/// @param separator NUL bytes in it are searched too; an empty one is found at the end
/// @return the bytes after the separator; empty when it does not occur or ends the text
/// @par Complexity linear. @par Thread safety reentrant. @par Exceptions `std::bad_alloc`.
/// ```cpp
/// substringAfterLast("aaa", String("aa")) == ""
/// substringAfterLast("ab", String("c")) == ""
/// ```
[[nodiscard]] ZEB_EXPORT String substringAfterLast(String const& text, String const& separator);
/// @}

// ------------------------------------------------------------------------------------ Predicates

/// @name Predicates
/// The text to look for is the first argument.
/// @{

/// Whether `haystack` contains `needle`; an empty needle is contained in everything.
/// @par Complexity linear. @par Thread safety reentrant. @par Exceptions none.
/// ```cpp
/// is_substring("b", "abc")
/// is_substring("", "abc")
/// !is_substring("abcd", "abc")
/// ```
[[nodiscard]] ZEB_EXPORT bool is_substring(String needle, String haystack) noexcept;

/// Whether `haystack` contains `needle`, ignoring the case of ASCII letters.
/// @par Complexity linear; allocates nothing. @par Thread safety reentrant. @par Exceptions none.
/// ```cpp
/// is_substring_ignorecase("ABC", "xabcx")
/// is_substring_ignorecase("", "")
/// ```
[[nodiscard]] ZEB_EXPORT bool is_substring_ignorecase(String needle, String haystack) noexcept;

/// Whether both texts are equal, ignoring the case of ASCII letters.
/// @par Complexity linear. @par Thread safety reentrant. @par Exceptions none.
/// ```cpp
/// equals_ignorecase("Key", "kEY")
/// !equals_ignorecase("a", "ab")
/// ```
[[nodiscard]] ZEB_EXPORT bool equals_ignorecase(String a, String b) noexcept;

/// Whether the extended POSIX expression `pattern` matches somewhere in `text`. It is compiled at
/// each call. The rules of `RegularExpression` apply: both texts end at their first NUL, the locale
/// decides what a character is, and the length of `text` is limited.
/// @throws RegularExpressionException when `pattern` does not compile
/// @par Complexity that of libc's matcher. @par Thread safety reentrant.
/// ```cpp
/// is_regex_match("^a+$", "aaa")
/// is_regex_match("", "")
/// ```
[[nodiscard]] ZEB_EXPORT bool is_regex_match(String pattern, String text);
/// @}

// ------------------------------------------------------------------------- Quoting and tokenizing

/// The text without one pair of double quotes around it. A quote at one end only is kept, and so
/// are quotes inside; a lone double quote becomes the empty text.
/// @par Complexity linear. @par Thread safety reentrant. @par Exceptions `std::bad_alloc`.
/// ```cpp
/// remove_quotes("\"a\"b\"") == "a\"b"
/// remove_quotes("\"abc") == "\"abc"
/// ```
[[nodiscard]] ZEB_EXPORT String remove_quotes(String const& text);

/// The bytes between the first double quote at or after `start` and the next one. Backslashes have
/// no meaning.
/// @param[out] endPos offset of the closing quote; unchanged when the result means "not found". A
///   quote at an offset that does not fit an `unsigned int` counts as none.
/// @param start offset; one at or beyond the end finds nothing
/// @return the bytes between both quotes; empty when there is nothing between them, or no pair
/// @par Complexity linear. @par Thread safety reentrant. @par Exceptions `std::bad_alloc`.
/// ```cpp
/// unsigned int end = 0;
/// find_first_quoted_string("say \"hi\" now", end, 0) == "hi" && end == 7
/// find_first_quoted_string("say \"hi\" now", end, 8) == "" && end == 7
/// ```
[[nodiscard]] ZEB_EXPORT String find_first_quoted_string(String const& text, unsigned int& endPos,
                                                         unsigned int start);

/// Splits `text` at each byte of `delimiters` that is outside double quotes.
///
/// A quoted stretch ends at the next double quote that has no backslash directly before it. Quotes
/// and backslashes stay in the tokens; `remove_quotes` removes the quotes around one. There are no
/// empty tokens. A double quote without a closing one is an ordinary byte, and a delimiter if
/// listed as one; the search then continues after the last escaped quote that was examined: the
/// text before that quote is not split, and a double quote listed as a delimiter splits there.
/// @param delimiters up to its NUL; null gives `text` as the only token
/// @return the tokens in order; none when `text` is empty
/// @par Complexity linear. @par Thread safety reentrant. @par Exceptions `std::bad_alloc`.
/// ```cpp
/// quoted_string_tokenization("a \"b c\" d", " ") == StringArray{"a", "\"b c\"", "d"}
/// quoted_string_tokenization("a,,b", ",") == StringArray{"a", "b"}
/// ```
[[nodiscard]] ZEB_EXPORT StringArray quoted_string_tokenization(String const& text,
                                                                char const* delimiters);

/// The elements of `parts` in order, with `separator` between neighbours and not after the last.
/// @return the joined text; empty for no elements
/// @par Complexity linear in the result; one allocation. @par Thread safety reentrant.
/// @par Exceptions `std::bad_alloc`.
/// ```cpp
/// untokenize({"a", "b"}, ", ") == "a, b"
/// untokenize({"a"}, ", ") == "a"
/// ```
[[nodiscard]] ZEB_EXPORT String untokenize(StringArray const& parts, String const& separator);

/// The elements of `parts` whose length is not 0, in order.
/// @par Complexity linear in the number of elements. @par Thread safety reentrant.
/// @par Exceptions `std::bad_alloc`.
/// ```cpp
/// remove_empty_strings({"", "a", "", "b"}) == StringArray{"a", "b"}
/// ```
[[nodiscard]] ZEB_EXPORT StringArray remove_empty_strings(StringArray const& parts);

/// The candidates that contain `needle`, in order. Despite the name, they need not equal it; an
/// empty needle is contained in all of them.
/// @par Complexity linear in the length of all candidates. @par Thread safety reentrant.
/// @par Exceptions `std::bad_alloc`.
/// ```cpp
/// find_exact_matches("ab", {"xaby", "ba", "ab"}) == StringArray{"xaby", "ab"}
/// ```
[[nodiscard]] ZEB_EXPORT StringArray find_exact_matches(String const& needle,
                                                        StringArray const& candidates);

/// Offset of the first byte at which the texts differ, or where the shorter one ends.
/// @return -1 when they are equal; `INT_MAX` when they first differ at that offset or beyond
/// @par Complexity linear. @par Thread safety reentrant. @par Exceptions none.
/// ```cpp
/// non_matching_index("abc", "abd") == 2
/// non_matching_index("ab", "abc") == 2
/// non_matching_index("abc", "abc") == -1
/// non_matching_index("", "") == -1
/// ```
[[nodiscard]] ZEB_EXPORT int non_matching_index(String const& a, String const& b) noexcept;

/// The text with each run of `separator` shortened to one.
/// @par Complexity linear; two allocations at most. @par Thread safety reentrant.
/// @par Exceptions `std::bad_alloc`.
/// ```cpp
/// removeRedundantSeparators("//a///b/", '/') == "/a/b/"
/// removeRedundantSeparators("", '/') == ""
/// ```
[[nodiscard]] ZEB_EXPORT String removeRedundantSeparators(String const& text, char separator);

// --------------------------------------------------------------------------------- Command lines

/// Joins arguments into a command line; a group of static functions.
class ZEB_EXPORT CommandLine {
public:
    CommandLine() = delete;

    /// An argument as written in a command line: in double quotes if it contains a blank, TAB, LF,
    /// CR, VT or double quote before its first NUL, unchanged otherwise. Within the quotes a
    /// backslash goes before each double quote; backslashes are copied as they are. A form feed
    /// needs no quotes, nor does the empty argument, which stays empty.
    /// @par Complexity linear. @par Thread safety reentrant. @par Exceptions `std::bad_alloc`.
    /// ```cpp
    /// CommandLine::escapeArgument("a b") == R"("a b")"
    /// CommandLine::escapeArgument(R"(a"b)") == R"("a\"b")"
    /// CommandLine::escapeArgument(R"(x\dir\)") == R"(x\dir\)"
    /// CommandLine::escapeArgument("") == ""
    /// ```
    [[nodiscard]] static String escapeArgument(String const& argument);

    /// The escaped arguments in order, joined by blanks. A blank goes before each argument unless
    /// the result so far is empty: empty arguments vanish at the front and leave a doubled or
    /// trailing blank elsewhere.
    /// @par Complexity linear in the result. @par Thread safety reentrant.
    /// @par Exceptions `std::bad_alloc`.
    /// ```cpp
    /// CommandLine::flatten({"ls", "-l", "my file"}) == "ls -l \"my file\""
    /// CommandLine::flatten({"", "a"}) == "a"
    /// CommandLine::flatten({}) == ""
    /// ```
    [[nodiscard]] static String flatten(StringArray const& arguments);

    /// Not implemented.
    /// @throws zeb::common::JORLibraryException always, "Not implemented: unescapeArgument"
    /// @par Complexity constant. @par Thread safety reentrant.
    [[noreturn]] static String unescapeArgument(String const& text);

    /// Not implemented.
    /// @throws zeb::common::JORLibraryException always, "Not implemented: unflatten"
    /// @par Complexity constant. @par Thread safety reentrant.
    [[noreturn]] static StringArray unflatten(String const& text);
};

// -------------------------------------------------------------------------- Dates and size units

/// The system clock's time in the 25-byte CIM form `yyyymmddhhmmss.mmmmmm+ooo`, always in UTC; see
/// `zeb::xmltoolkit::CIMDateTime`.
/// @throws zeb::foundation::Exception when the clock's year is not 0 to 9999
/// @par Complexity constant. @par Thread safety reentrant.
/// ```cpp
/// getCurrentCIMDateTime().length() == 25
/// getCurrentCIMDateTime().endsWith("+000")
/// ```
[[nodiscard]] ZEB_EXPORT String getCurrentCIMDateTime();

/// The first date in a text, such as `Tue Mar 14 09:26:53 2023` or `Tue Mar 14 09:26:53 UTC 2023`.
///
/// English names of weekday and month, capitalised as here; a day and an hour of one or two digits,
/// minutes and seconds of two; a zone of three letters or none; a year of four digits. Exactly one
/// blank separates them: a day padded with a second blank is not found. Values are not checked (day
/// 99 is accepted). The locale decides what is a letter of the zone. A text ends at its first NUL;
/// nothing is found in one longer than `RegularExpression::MAX_SUBJECT_LENGTH`.
/// @return the date as written in the text; empty when there is none
/// @par Complexity that of libc's matcher; the expression is compiled at each call.
/// @throws RegularExpressionException when libc runs out of memory; else std::bad_alloc
/// @par Thread safety reentrant.
/// ```cpp
/// extractGenericDate("at Tue Mar 14 09:26:53 2023.") == "Tue Mar 14 09:26:53 2023"
/// extractGenericDate("Tue Mar  4 09:26:53 2023") == ""
/// ```
/// @{
[[nodiscard]] ZEB_EXPORT String extractGenericDate(String const& text);
[[nodiscard]] ZEB_EXPORT String extractGenericDate(char const* text);
/// @}

/// The number of bytes in a unit of size.
///
/// `byte`, or `kilo`, `mega`, `giga`, `tera`, `peta` before `byte` or `bytes`, or their first
/// letters before `byte`, `bytes` or `b`, found anywhere in `unit`; or one of these letters as the
/// whole text. A whole name before a mere `b`, as in `kilob`, is no unit. All are powers of 1024;
/// letter case is ignored as the locale defines it. Of several units in a text the leftmost whole
/// name counts, then the leftmost letter with its ending, then `byte`. Up to three expressions are
/// compiled at each call; they see the text up to its first NUL.
/// @return bytes; 0 when there is no such unit
/// @throws RegularExpressionException when libc runs out of memory; else std::bad_alloc
/// @par Complexity that of libc's matcher. @par Thread safety reentrant.
/// ```cpp
/// get_unit_size("KB") == 1024
/// get_unit_size("k") == 1024
/// get_unit_size("10GB") == 1073741824
/// get_unit_size("byte") == 1
/// get_unit_size("kib") == 0
/// get_unit_size("512") == 0
/// ```
[[nodiscard]] ZEB_EXPORT std::uint64_t get_unit_size(String const& unit);

// ---------------------------------------------------------------------------------------- Layout

/// @name Columns
/// A text is padded to `width` bytes (not display columns) and never truncated: one that is as long
/// or longer is returned unchanged.
/// @par Complexity linear in the result; one allocation. @par Thread safety reentrant.
/// @par Exceptions `std::bad_alloc`.
/// @{

/// The text at the left, `fill` after it.
/// ```cpp
/// leftText("ab", 5, '.') == "ab..."
/// leftText("abcdef", 3, '.') == "abcdef"
/// ```
[[nodiscard]] ZEB_EXPORT String leftText(String const& text, unsigned int width, char fill);
/// The text at the right, `fill` before it.
/// ```cpp
/// rightText("ab", 5, '.') == "...ab"
/// rightText("ab", 2, '.') == "ab"
/// ```
[[nodiscard]] ZEB_EXPORT String rightText(String const& text, unsigned int width, char fill);
/// The text in the middle, `fill` on both sides; when the padding is odd, the right side gets one
/// more.
/// ```cpp
/// centerText("ab", 5, '.') == ".ab.."
/// centerText("", 4, '*') == "****"
/// ```
[[nodiscard]] ZEB_EXPORT String centerText(String const& text, unsigned int width, char fill);
/// @}

// --------------------------------------------------------------------------------------- Numbers

/// The number that the whole of `text` is, read by `String`'s conversion for that type, which says
/// what it accepts: `toReal64`, `toReal32`, `toInt8` to `toUInt64`.
///
/// It exists for the types below and no other.
/// @param base 2 to 36; ignored for `double` and `float`
/// @throws zeb::foundation::StringConversionException when the text is empty, malformed (a NUL, a
///   blank) or out of the type's range, or the base is not allowed
/// @par Complexity linear. @par Thread safety reentrant.
/// ```cpp
/// string_to_number<int>("ff", 16) == 255
/// string_to_number<signed char>("128", 10) throws StringConversionException
/// ```
/// @{
template <typename T>
T string_to_number([[maybe_unused]] String const& text, [[maybe_unused]] int base) {
    static_assert(
        detail::NO_OVERLOAD<T>,
        "string_to_number reads double, float, and the integers of 8, 16, 32 and 64 bits: "
        "write signed char for char, long long for long, unsigned long long for unsigned "
        "long or std::size_t, and no const or reference");
}
template <>
[[nodiscard]] ZEB_EXPORT double string_to_number<double>(String const& text, int base);
template <>
[[nodiscard]] ZEB_EXPORT float string_to_number<float>(String const& text, int base);
template <>
[[nodiscard]] ZEB_EXPORT signed char string_to_number<signed char>(String const& text, int base);
template <>
[[nodiscard]] ZEB_EXPORT short string_to_number<short>(String const& text, int base);
template <>
[[nodiscard]] ZEB_EXPORT int string_to_number<int>(String const& text, int base);
template <>
[[nodiscard]] ZEB_EXPORT long long string_to_number<long long>(String const& text, int base);
template <>
[[nodiscard]] ZEB_EXPORT unsigned char string_to_number<unsigned char>(String const& text,
                                                                       int base);
template <>
[[nodiscard]] ZEB_EXPORT unsigned short string_to_number<unsigned short>(String const& text,
                                                                         int base);
template <>
[[nodiscard]] ZEB_EXPORT unsigned int string_to_number<unsigned int>(String const& text, int base);
template <>
[[nodiscard]] ZEB_EXPORT unsigned long long string_to_number<unsigned long long>(String const& text,
                                                                                 int base);
/// @}

/// `value` in hexadecimal, with lower-case digits and without "0x"; a negative `int` as its 32-bit
/// two's complement.
///
/// It exists for the types below and no other.
/// @param pad whether to pad with leading zeros to two digits for each byte of the type
/// @par Complexity constant. @par Thread safety reentrant. @par Exceptions `std::bad_alloc`.
/// ```cpp
/// Hexify<unsigned short>(0x0b, true) == "000b"
/// Hexify<unsigned short>(0x0b, false) == "b"
/// Hexify<int>(-100, true) == "ffffff9c"
/// Hexify<int>(0, false) == "0"
/// ```
/// @{
template <typename T>
String Hexify([[maybe_unused]] T const& value, [[maybe_unused]] bool pad) {
    static_assert(detail::NO_OVERLOAD<T>,
                  "Hexify takes unsigned short, unsigned int and int: cast smaller integers to "
                  "unsigned int, write larger ones in two parts");
    return String();
}
template <>
[[nodiscard]] ZEB_EXPORT String Hexify<unsigned short>(unsigned short const& value, bool pad);
template <>
[[nodiscard]] ZEB_EXPORT String Hexify<unsigned int>(unsigned int const& value, bool pad);
template <>
[[nodiscard]] ZEB_EXPORT String Hexify<int>(int const& value, bool pad);
/// @}

// ----------------------------------------------------------------------------------- Environment

/// The value of `name` in a block of entries, each a name, a separator, a value and a NUL.
///
/// The first occurrence of `name` followed by `separator` counts, anywhere in the block: `PATH` is
/// also found inside `MANPATH`. The value starts after the first separator byte from there on, so
/// with a name that contains the separator it starts inside the name. It ends before the next NUL
/// or at the end of the block.
/// @param name up to its NUL; null is empty
/// @param[out] out becomes the value, which may be empty. It is unchanged when the name is not
///   found, and when the block ends directly after the separator. It may be `environment` itself.
/// @par Complexity linear. @par Thread safety reentrant. @par Exceptions `std::bad_alloc`; `out` is
///   unchanged then.
/// ```cpp
/// String out;
/// extractEnv(String("HOME=/root\0PATH=/bin\0", 21), "HOME", out, '=');
/// out == "/root"
/// extractEnv(String("MANPATH=/m\0PATH=/p\0", 19), "PATH", out, '=');
/// out == "/m"
/// ```
/// @{
ZEB_EXPORT void extractEnv(std::vector<char> const& environment, char const* name,
                           std::vector<char>& out, char separator);
ZEB_EXPORT void extractEnv(String const& environment, char const* name, String& out,
                           char separator);
/// @}

/// `extractEnv` for the name "PATH" and the separator `=`.
/// @par Complexity linear. @par Thread safety reentrant. @par Exceptions as of `extractEnv`.
/// ```cpp
/// std::string_view const block("USER=root\0PATH=/bin", 19);
/// std::vector<char> out;
/// extractPath({block.begin(), block.end()}, out);
/// out == std::vector<char>{'/', 'b', 'i', 'n'}
/// ```
ZEB_EXPORT void extractPath(std::vector<char> const& environment, std::vector<char>& out);

// ------------------------------------------------------------------------ Byte order and Unicode

/// Order of the bytes of a text in UTF-16.
enum BOMTypes : int {
    BOM_UTF16_LE = 0,  ///< low byte first; the mark is FF FE
    BOM_UTF16_BE = 1,  ///< high byte first; the mark is FE FF
    BOM_UNKNOWN = 2    ///< not recognised as UTF-16; as an argument it asks for detection
};

/// The byte order of `data`: by its mark or, in 11 bytes and more, by whether zero bytes are more
/// frequent at even or at odd offsets among the first ten.
/// @return `BOM_UNKNOWN` when that decides nothing, as for 8-bit text
/// @par Messages one, when there is no mark.
/// @par Complexity constant. @par Thread safety reentrant. @par Exceptions `std::bad_alloc`.
/// ```cpp
/// autodetectByteOrder({'\xFF', '\xFE', 'A', '\0'}) == BOM_UTF16_LE
/// autodetectByteOrder({'H', 0, 'e', 0, 'l', 0, 'l', 0, 'o', 0}) == BOM_UNKNOWN
/// autodetectByteOrder({'H', 0, 'e', 0, 'l', 0, 'l', 0, 'o', 0, '!', 0}) == BOM_UTF16_LE
/// ```
[[nodiscard]] ZEB_EXPORT BOMTypes autodetectByteOrder(Array<char> const& data);

/// The UTF-16 code units of `data`, without a byte order mark (U+FEFF) at the front; a mark of the
/// other byte order stays, as U+FFFE.
/// @param bom byte order; `BOM_UNKNOWN` asks for `autodetectByteOrder`; a value that is no member
///   makes all units 0
/// @throws zeb::common::JORLibraryException
///   "Cannot autodetect bom type for given data."; or, for an odd number of bytes,
///   "An odd character (0x%1) was left after regrouping UTF16 bytes." with the last byte,
///   sign-extended, in eight hexadecimal digits
/// @par Messages those of `autodetectByteOrder` for `BOM_UNKNOWN`.
/// @par Complexity linear; one allocation. @par Thread safety reentrant.
/// ```cpp
/// regroupUTF16({'\xFF', '\xFE', 'A', '\0'}, BOM_UNKNOWN) == Array<unsigned short>{0x0041}
/// regroupUTF16({'\xFF', '\xFE'}, BOM_UNKNOWN).empty()
/// regroupUTF16({'\xFF', '\xFE', 'A'}, BOM_UNKNOWN) throws zeb::common::JORLibraryException
/// ```
[[nodiscard]] ZEB_EXPORT Array<unsigned short> regroupUTF16(Array<char> const& data, BOMTypes bom);

/// The code points of UTF-16 code units.
///
/// U+FFFD replaces what is malformed: a low surrogate without a high one, and a high surrogate
/// together with the unit after it if that is no low one, even an ordinary character, which is
/// lost. A high surrogate at the end is dropped. U+FFFE and U+FFFF are kept.
/// @par Messages one for each U+FFFD put in.
/// @par Complexity linear; one allocation. @par Thread safety reentrant.
/// @par Exceptions `std::bad_alloc`.
/// ```cpp
/// UTF16ToUTF32({0xD83D, 0xDE00}) == Array<unsigned int>{0x1F600}
/// UTF16ToUTF32({0xD83D, 0x0041}) == Array<unsigned int>{0xFFFD}
/// UTF16ToUTF32({0xDE00, 0x0041}) == Array<unsigned int>{0xFFFD, 0x0041}
/// UTF16ToUTF32({0x0041, 0xD83D}) == Array<unsigned int>{0x0041}
/// ```
[[nodiscard]] ZEB_EXPORT Array<unsigned int> UTF16ToUTF32(Array<unsigned short> const& units);

/// The text of UTF-16 `data` in UTF-8: `regroupUTF16`, then `UTF16ToUTF32`, then encoding, with
/// the messages and exceptions of these.
/// @par Complexity linear; needs almost no memory except for the result.
/// @par Thread safety reentrant.
/// ```cpp
/// Array<char> const data{'\xFF', '\xFE', '\x3D', '\xD8', '\x00', '\xDE'};
/// UTF16ToUTF8(data, BOM_UNKNOWN) == "\xF0\x9F\x98\x80"
/// ```
[[nodiscard]] ZEB_EXPORT String UTF16ToUTF8(Array<char> data, BOMTypes bom);
/// The text of UTF-16 `data` of an unknown byte order in UTF-8.
/// @throws zeb::foundation::OutOfBoundsException when `data` is empty
/// @throws zeb::common::JORLibraryException as `regroupUTF16` does for `BOM_UNKNOWN`
/// @par Complexity linear; needs almost no memory except for the result.
/// @par Thread safety reentrant.
/// ```cpp
/// UTF16ToUTF8(Array<unsigned char>{0xFE, 0xFF, 0x00, 0x41}) == "A"
/// UTF16ToUTF8(Array<unsigned char>{}) throws OutOfBoundsException
/// ```
[[nodiscard]] ZEB_EXPORT String UTF16ToUTF8(Array<unsigned char> const& data);

/// A text of unknown encoding in UTF-8: UTF-16 when `autodetectByteOrder` recognises it, otherwise
/// the bytes as they are, which are not checked.
/// @throws zeb::foundation::OutOfBoundsException when `data` is empty
/// @throws zeb::common::JORLibraryException when UTF-16 has an odd number of bytes
/// @par Messages those of `autodetectByteOrder`; one with its result; those of `UTF16ToUTF32`.
/// @par Complexity linear; needs almost no memory except for the result.
/// @par Thread safety reentrant.
/// ```cpp
/// convertToUTF8({'\xFE', '\xFF', '\0', 'A'}) == "A"
/// convertToUTF8({'\xFF', '\xFE'}) == ""
/// convertToUTF8({'p', 'l', 'a', 'i', 'n'}) == "plain"
/// ```
[[nodiscard]] ZEB_EXPORT String convertToUTF8(Array<char> const& data);

// ----------------------------------------------------------------------------- Characters of XML

/// Whether a UTF-16 code unit may occur in an XML document: neither one below 0020 other than TAB,
/// LF, FF and CR, nor a surrogate, nor FFFE or FFFF. Form feed (000C) counts as valid here,
/// although XML 1.0 forbids it.
/// @par Complexity constant. @par Thread safety reentrant. @par Exceptions none.
/// ```cpp
/// isValidXMLCharacter(0x0009)
/// !isValidXMLCharacter(0x000B)
/// isValidXMLCharacter(0x000C)
/// ```
[[nodiscard]] ZEB_EXPORT bool isValidXMLCharacter(unsigned short unit) noexcept;

/// Overwrites each unit that XML forbids with FFFD; length and order stay.
/// @param[in,out] units always detached from its copies; when a message cannot be built, or an
///   appender throws, replaced up to and including the unit of that message
/// @param prefix put directly before the message's text
/// @par Messages one for each unit replaced.
/// @par Complexity linear. @par Thread safety `units` needs exclusive access.
/// @par Exceptions `std::bad_alloc`: from detaching, and `units` is unchanged then; or from a
/// message.
/// ```cpp
/// Array<unsigned short> units{0x0041, 0x0001, 0x0042};
/// replaceInvalidXMLCharacters(units, "file.xml: ");
/// units == Array<unsigned short>{0x0041, 0xFFFD, 0x0042}
/// ```
ZEB_EXPORT void replaceInvalidXMLCharacters(Array<unsigned short>& units, String const& prefix);

// ----------------------------------------------------------------------- Replacing and streaming

/// `text` with every occurrence of `search` replaced: from left to right, without overlaps, and
/// never inside a replacement.
/// @param search NUL bytes in it are searched too; an empty one leaves the text unchanged
/// @par Messages the request; then the result, or that `search` is empty (not for an empty text).
/// @par Complexity linear in `text` and the result. @par Thread safety reentrant.
/// @par Exceptions `std::bad_alloc`.
/// ```cpp
/// search_replace("aaa", "aa", "b") == "ba"
/// search_replace("a.b", ".", "..") == "a..b"
/// search_replace("abc", "", "x") == "abc"
/// ```
[[nodiscard]] ZEB_EXPORT String search_replace(String const& text, String const& search,
                                               String const& replacement);

/// Copies from the current position of `source`, in pieces of 2048 bytes, until either stream has a
/// state bit set; the destination is neither flushed nor closed.
/// @return bytes passed to the destination, whether or not it could write them, modulo the range of
///   the type
/// @par Messages five kinds, at the most verbose level (debug3).
/// @par Complexity linear; memory constant. @par Thread safety both streams need exclusive access.
/// @par Exceptions `std::bad_alloc`, and what a stream with an exception mask throws.
/// ```cpp
/// std::ostringstream destination;
/// std::istringstream source(std::string(5000, 'x'));
/// copy_stream(destination, source) == 5000
/// std::istringstream empty;
/// copy_stream(destination, empty) == 0
/// destination.str().size() == 5000
/// ```
ZEB_EXPORT std::size_t copy_stream(std::ostream& destination, std::istream& source);

/// Reads from the current position of `stream`, in pieces of 2048 bytes, until it has a state bit
/// set or exactly `limit` bytes have been read.
/// @param limit bytes; 0xFFFFFFFF means no limit. It is a soft one: only whole pieces are read.
///   When the bytes read pass the limit instead of meeting it, reading continues (to the end of the
///   stream, for all practical sizes).
/// @return the bytes read; none for a limit of 0, which reads nothing
/// @par Complexity linear. @par Thread safety `stream` needs exclusive access.
/// @par Exceptions `std::bad_alloc`, and what a stream with an exception mask throws; what was read
///   is then lost.
/// ```cpp
/// std::ofstream("bytes") << std::string(5000, 'x');
/// IFileStream twoPieces("bytes");
/// read_from_stream(twoPieces, 4096).size() == 4096
/// IFileStream lessThanOne("bytes");
/// read_from_stream(lessThanOne, 100).size() == 5000
/// ```
[[nodiscard]] ZEB_EXPORT std::vector<char> read_from_stream(IFileStream& stream,
                                                            unsigned int limit);

}  // namespace ZEBNS2
