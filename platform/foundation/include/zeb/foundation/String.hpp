#pragma once

#include <zeb/foundation/Array.hpp>
#include <zeb/foundation/Export.hpp>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <iterator>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#if __cplusplus > 201703L
#include <compare>
#endif

/// @file
/// The 8-bit string of all interfaces.

namespace zeb::foundation {

class String;

/// A list of lines or tokens.
using StringArray = Array<String>;

namespace detail {
/// Enables an operator for operands that convert to bytes but are no `String`: literals, views, ...
template <typename T>
using IfOtherText = std::enable_if_t<
    std::is_convertible_v<T const&, std::string_view> && !std::is_same_v<T, String>, int>;

/// Selects the deleted overloads for numbers, without which 80 would be taken for the byte `P`.
template <typename T, typename Result = int>
using IfNumber =
    std::enable_if_t<(std::is_arithmetic_v<T> && !std::is_same_v<T, char>) || std::is_enum_v<T>,
                     Result>;

/// Only a literal 0, `NULL` or `nullptr` converts to a pointer to it.
struct NullLiteral;

/// `head` and `tail` joined with one allocation.
[[nodiscard]] ZEB_EXPORT String prepended(std::string_view head, String const& tail);

/// The bytes of every empty `String`. A literal would have as many addresses as the compiler likes,
/// and `data() + size()` would not be `end()`.
extern ZEB_EXPORT char const EMPTY_TEXT[1];
}  // namespace detail

/// An immutable-by-sharing byte string: reference-counted, copied on write.
///
/// It contains any bytes, NUL included (UTF-8 where the text is Unicode); one more NUL follows
/// them, for `c_str()`. Positions are 0-based byte offsets, ends are exclusive, and a failed search
/// yields `npos`. No operation depends on the locale: case folding is ASCII's, white space is
/// blank, `\t \n \v \f \r`.
///
/// A copy costs one atomic increment and never throws. Every operation that yields a new text makes
/// at most one allocation for it, and none when the result is empty or the whole string. A
/// `std::string_view` parameter must not be made from a null pointer; a `String` may be.
///
/// Numbers are not text: a string is neither made from a number nor joined with one, since 80 would
/// be the byte `P`. `Format("port %1", 80)` renders it. Convert a byte in an integer to `char`.
///
/// A string is a range of bytes, with the standard containers' names where they mean the same; an
/// index out of bounds throws OutOfBoundsException. No byte can be written in place. With
/// `std::less<>` or, from C++20 on, `std::hash<String>` and `std::equal_to<>`, containers look it
/// up by a `std::string_view` or a literal without making a `String`.
///
/// @par Exceptions
/// `std::bad_alloc` where memory is needed; the string is unchanged then.
/// @par Complexity linear in the bytes read or written, unless said otherwise.
/// @par Thread safety
/// One object may be read by several threads at once; changing it needs exclusive access. Copies
/// are independent objects, even while they share bytes.
class ZEB_EXPORT String {
public:
    /// "Not found", and as a count "to the end": all bits set.
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    /// A byte.
    using value_type = char;
    /// Type of lengths and offsets.
    using size_type = std::size_t;
    /// Type of differences of iterators.
    using difference_type = std::ptrdiff_t;
    /// A byte to be read.
    using const_reference = char const&;
    /// A plain pointer.
    using const_iterator = char const*;
    /// From the last byte to the first.
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;

    /// Whether `tokenize` yields each delimiter as a token of one byte.
    enum ReturnDelimiters { DISCARD_DELIMITERS, RETURN_DELIMITERS };
    /// Whether `tokenize` yields the empty token between two adjacent delimiters, before a leading
    /// and after a trailing one.
    enum ReturnEmptyTokens { SKIP_EMPTY_TOKENS, RETURN_EMPTY_TOKENS };

    /// The empty string; allocates nothing.
    String() noexcept = default;
    /// The bytes of `text` up to its NUL; null gives the empty string.
    String(char const* text);  // NOLINT(google-explicit-constructor): a text is a String
    /// The empty string, as from any null pointer.
    String(std::nullptr_t) noexcept {}  // NOLINT(google-explicit-constructor): likewise
    /// A literal 0 is not text.
    String(detail::NullLiteral const*) = delete;  // NOLINT(google-explicit-constructor): likewise
    /// A number is not text: render it by `Format`.
    template <typename T, detail::IfNumber<T> = 0>
    explicit String(T) = delete;
    /// The `count` bytes at `bytes`, NUL bytes included; a null `bytes` gives the empty string.
    String(char const* bytes, std::size_t count);
    /// All bytes of `text`.
    String(std::string_view text);  // NOLINT(google-explicit-constructor): likewise
    /// All bytes of `text`.
    String(std::string const& text);  // NOLINT(google-explicit-constructor): likewise

    /// Shares the bytes of `other`. Constant time.
    String(String const& other) noexcept : block_(other.block_) {
        if (block_ != nullptr) {
            block_->references.fetch_add(1, std::memory_order_relaxed);
        }
    }
    /// The moved-from string is empty.
    String(String&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
    /// Shares the bytes of `other`. Constant time.
    String& operator=(String const& other) noexcept {
        String(other).swap(*this);
        return *this;
    }
    /// The moved-from string is empty.
    String& operator=(String&& other) noexcept {
        String(std::move(other)).swap(*this);
        return *this;
    }
    ~String() {
        if (block_ != nullptr) {
            release(block_);
        }
    }

    /// Constant time.
    void swap(String& other) noexcept { std::swap(block_, other.block_); }

    /// Number of bytes, not counting the terminating NUL.
    [[nodiscard]] std::size_t length() const noexcept {
        return block_ == nullptr ? 0 : block_->length;
    }
    /// Whether there is no byte.
    [[nodiscard]] bool empty() const noexcept { return length() == 0; }

    /// The bytes and a terminating NUL; valid until the string is changed or destroyed.
    [[nodiscard]] char const* c_str() const noexcept {
        return block_ == nullptr ? detail::EMPTY_TEXT : block_->text();
    }

    /// All bytes, valid as `c_str()` is.
    // NOLINTNEXTLINE(google-explicit-constructor): every text is read as a view
    operator std::string_view() const noexcept { return {c_str(), length()}; }

    /// @name The standard containers' names
    /// Iterators and pointers are valid as `c_str()` is.
    /// @{
    /// `length()`.
    [[nodiscard]] size_type size() const noexcept { return length(); }
    /// `c_str()`.
    [[nodiscard]] char const* data() const noexcept { return c_str(); }
    /// The first byte.
    [[nodiscard]] const_iterator begin() const noexcept { return c_str(); }
    /// After the last byte.
    [[nodiscard]] const_iterator end() const noexcept { return c_str() + length(); }
    /// `begin()`.
    [[nodiscard]] const_iterator cbegin() const noexcept { return begin(); }
    /// `end()`.
    [[nodiscard]] const_iterator cend() const noexcept { return end(); }
    /// The last byte, from which the bytes are read backwards.
    [[nodiscard]] const_reverse_iterator rbegin() const noexcept {
        return const_reverse_iterator(end());
    }
    /// Before the first byte.
    [[nodiscard]] const_reverse_iterator rend() const noexcept {
        return const_reverse_iterator(begin());
    }
    /// The first byte.
    /// @throws OutOfBoundsException when there is none
    [[nodiscard]] char front() const {
        if (empty()) {
            detail::throwOutOfBounds(0, 0);
        }
        return *c_str();
    }
    /// The last byte.
    /// @throws OutOfBoundsException when there is none
    [[nodiscard]] char back() const {
        if (empty()) {
            detail::throwOutOfBounds(0, 0);
        }
        return c_str()[length() - 1];
    }
    /// `indexOf(wanted, from)`.
    [[nodiscard]] size_type find(char wanted, size_type from = 0) const noexcept {
        return indexOf(wanted, from);
    }
    /// `indexOf(wanted, from)`.
    [[nodiscard]] size_type find(std::string_view wanted, size_type from = 0) const noexcept {
        return indexOf(wanted, from);
    }
    /// `lastIndexOf(wanted, from)`.
    [[nodiscard]] size_type rfind(char wanted, size_type from = npos) const noexcept {
        return lastIndexOf(wanted, from);
    }
    /// `lastIndexOf(wanted, from)`.
    [[nodiscard]] size_type rfind(std::string_view wanted, size_type from = npos) const noexcept {
        return lastIndexOf(wanted, from);
    }
    /// `substring(start, count)`, but `start` must be within the string.
    /// @throws OutOfBoundsException when `start` is greater than `length()`
    [[nodiscard]] String substr(size_type start = 0, size_type count = npos) const {
        if (start > length()) {
            detail::throwOutOfBounds(length(), start);
        }
        return substring(start, count);
    }
    /// @}

    /// The byte at `index`; `index` equal to `length()` gives the terminating NUL.
    /// @throws OutOfBoundsException when `index` is greater than `length()`
    [[nodiscard]] char operator[](std::size_t index) const { return charAt(index); }
    /// The named form of `operator[]`.
    [[nodiscard]] char charAt(std::size_t index) const {
        if (index > length()) {
            detail::throwOutOfBounds(length(), index);
        }
        return c_str()[index];
    }

    /// Offset of the first `wanted` at or after `from`; `npos` when there is none.
    [[nodiscard]] std::size_t indexOf(char wanted, std::size_t from = 0) const noexcept;
    /// Offset of the first occurrence of `wanted` that starts at or after `from`; `npos` when there
    /// is none. An empty `wanted` is found at `from` as long as that is not beyond the end.
    /// @par Complexity linear in both texts
    [[nodiscard]] std::size_t indexOf(std::string_view wanted, std::size_t from = 0) const noexcept;
    /// Offset of the last `wanted` at or before `from`; `npos` when there is none.
    [[nodiscard]] std::size_t lastIndexOf(char wanted, std::size_t from = npos) const noexcept;
    /// Offset of the last occurrence of `wanted` that starts at or before `from`; `npos` when there
    /// is none. An empty `wanted` is found at the smaller of `from` and `length()`.
    /// @par Complexity linear in both texts
    [[nodiscard]] std::size_t lastIndexOf(std::string_view wanted,
                                          std::size_t from = npos) const noexcept;

    /// The bytes from `start` on, `count` at most. Both are clipped to the string; a `start` at or
    /// beyond the end gives the empty string.
    [[nodiscard]] String substring(std::size_t start, std::size_t count = npos) const;

    /// Whether both contain the same bytes, ignoring the case of ASCII letters. Linear time.
    [[nodiscard]] bool equalsIgnoreCase(std::string_view other) const noexcept;
    /// Whether the first bytes are those of `prefix`; an empty one starts every text.
    [[nodiscard]] bool startsWith(std::string_view prefix) const noexcept;
    /// Whether the last bytes are those of `suffix`; an empty one ends every text.
    [[nodiscard]] bool endsWith(std::string_view suffix) const noexcept;

    /// Appends `text`, which may be part of this string; amortised linear in `text`.
    String& operator+=(std::string_view text);
    /// Appends one byte, NUL too; amortised constant time.
    String& operator+=(char byte) { return *this += std::string_view(&byte, 1); }
    /// A number is not text.
    template <typename T, detail::IfNumber<T> = 0>
    String& operator+=(T) = delete;
    /// The named form of `+=`.
    String& concat(std::string_view text) { return *this += text; }

    /// A copy without white space at both ends.
    [[nodiscard]] String trim() const;

    /// Splits the string at every byte of `delimiters`. The empty string has no tokens at all.
    /// @param delimiters bytes, each a delimiter; without any the whole string is the only token
    /// @par Complexity linear; one allocation at most for each token
    /// ```cpp
    /// String const lines("a\n\nb\n");
    /// lines.tokenize("\n") == StringArray{"a", "b"}
    /// auto const empty = String::RETURN_EMPTY_TOKENS;
    /// lines.tokenize("\n", String::DISCARD_DELIMITERS, empty) == StringArray{"a", "", "b", ""}
    /// ```
    [[nodiscard]] StringArray tokenize(
        std::string_view delimiters, ReturnDelimiters returnDelimiters = DISCARD_DELIMITERS,
        ReturnEmptyTokens returnEmptyTokens = SKIP_EMPTY_TOKENS) const;

    /// @name Numbers
    /// The whole text must be the number: no blanks, no group separators; the decimal point is a
    /// full stop in every locale. An optional sign comes first, `-` for signed and real types only.
    /// `base` is 2 to 36; digits beyond 9 are letters of either case; base 16 takes an optional
    /// `0x` or `0X`. Reals are decimal, `inf`, `infinity` and `nan` included, in either case.
    /// @throws StringConversionException naming the text and the type, when the text is empty,
    ///   malformed or out of the type's range (a real that would become infinite or zero too), or
    ///   the base is not allowed
    /// @{
    /// As `double`.
    [[nodiscard]] double toReal64() const;
    /// As `float`.
    [[nodiscard]] float toReal32() const;
    /// 8 bits, signed.
    [[nodiscard]] std::int8_t toInt8(int base = 10) const;
    /// 16 bits, signed.
    [[nodiscard]] std::int16_t toInt16(int base = 10) const;
    /// 32 bits, signed.
    [[nodiscard]] std::int32_t toInt32(int base = 10) const;
    /// 64 bits, signed.
    [[nodiscard]] std::int64_t toInt64(int base = 10) const;
    /// 8 bits, unsigned.
    [[nodiscard]] std::uint8_t toUInt8(int base = 10) const;
    /// 16 bits, unsigned.
    [[nodiscard]] std::uint16_t toUInt16(int base = 10) const;
    /// 32 bits, unsigned.
    [[nodiscard]] std::uint32_t toUInt32(int base = 10) const;
    /// 64 bits, unsigned.
    [[nodiscard]] std::uint64_t toUInt64(int base = 10) const;
    /// @}

    // The operators are friends, so that they are considered only where an operand is a String, not
    // for any two operands that convert to one.

    /// @name Comparison by unsigned bytes
    /// @{
    /// Whether both contain the same bytes.
    friend bool operator==(String const& a, String const& b) noexcept {
        return std::string_view(a) == std::string_view(b);
    }
    /// Whether both contain the same bytes.
    template <typename T, detail::IfOtherText<T> = 0>
    friend bool operator==(String const& a, T const& b) noexcept {
        return std::string_view(a) == std::string_view(b);
    }
    /// Whether both contain the same bytes.
    template <typename T, detail::IfOtherText<T> = 0>
    friend bool operator==(T const& a, String const& b) noexcept {
        return std::string_view(a) == std::string_view(b);
    }
    /// The opposite of `==`.
    friend bool operator!=(String const& a, String const& b) noexcept { return !(a == b); }
    /// The opposite of `==`.
    template <typename T, detail::IfOtherText<T> = 0>
    friend bool operator!=(String const& a, T const& b) noexcept {
        return !(a == b);
    }
    /// The opposite of `==`.
    template <typename T, detail::IfOtherText<T> = 0>
    friend bool operator!=(T const& a, String const& b) noexcept {
        return !(a == b);
    }
    /// Whether `a` comes before `b`.
    friend bool operator<(String const& a, String const& b) noexcept {
        return std::string_view(a) < std::string_view(b);
    }
    /// Whether `a` comes after `b`.
    friend bool operator>(String const& a, String const& b) noexcept { return b < a; }
    /// Whether `a` does not come after `b`.
    friend bool operator<=(String const& a, String const& b) noexcept { return !(b < a); }
    /// Whether `a` does not come before `b`.
    friend bool operator>=(String const& a, String const& b) noexcept { return !(a < b); }
    /// Whether `a` comes before `b`.
    template <typename T, detail::IfOtherText<T> = 0>
    friend bool operator<(String const& a, T const& b) noexcept {
        return std::string_view(a) < std::string_view(b);
    }
    /// Whether `a` comes before `b`.
    template <typename T, detail::IfOtherText<T> = 0>
    friend bool operator<(T const& a, String const& b) noexcept {
        return std::string_view(a) < std::string_view(b);
    }
    /// Whether `a` comes after `b`.
    template <typename T, detail::IfOtherText<T> = 0>
    friend bool operator>(String const& a, T const& b) noexcept {
        return b < a;
    }
    /// Whether `a` comes after `b`.
    template <typename T, detail::IfOtherText<T> = 0>
    friend bool operator>(T const& a, String const& b) noexcept {
        return b < a;
    }
    /// Whether `a` does not come after `b`.
    template <typename T, detail::IfOtherText<T> = 0>
    friend bool operator<=(String const& a, T const& b) noexcept {
        return !(b < a);
    }
    /// Whether `a` does not come after `b`.
    template <typename T, detail::IfOtherText<T> = 0>
    friend bool operator<=(T const& a, String const& b) noexcept {
        return !(b < a);
    }
    /// Whether `a` does not come before `b`.
    template <typename T, detail::IfOtherText<T> = 0>
    friend bool operator>=(String const& a, T const& b) noexcept {
        return !(a < b);
    }
    /// Whether `a` does not come before `b`.
    template <typename T, detail::IfOtherText<T> = 0>
    friend bool operator>=(T const& a, String const& b) noexcept {
        return !(a < b);
    }
#ifdef __cpp_lib_three_way_comparison
    /// The order of `a` and `b`; from C++20 on.
    friend std::strong_ordering operator<=>(String const& a, String const& b) noexcept {
        return std::string_view(a) <=> std::string_view(b);
    }
    /// The order of `a` and `b`; from C++20 on.
    template <typename T, detail::IfOtherText<T> = 0>
    friend std::strong_ordering operator<=>(String const& a, T const& b) noexcept {
        return std::string_view(a) <=> std::string_view(b);
    }
#endif
    /// @}

    /// @name Concatenation
    /// @{
    /// `a` followed by `b`; NUL bytes are kept.
    [[nodiscard]] friend String operator+(String a, std::string_view b) {
        a += b;
        return a;
    }
    /// `a` followed by the byte `b`.
    [[nodiscard]] friend String operator+(String a, char b) {
        a += b;
        return a;
    }
    /// `a` followed by `b`; NUL bytes are kept.
    template <typename T, detail::IfOtherText<T> = 0>
    [[nodiscard]] friend String operator+(T const& a, String const& b) {
        return detail::prepended(std::string_view(a), b);
    }
    /// The byte `a` followed by `b`.
    [[nodiscard]] friend String operator+(char a, String const& b) {
        return detail::prepended(std::string_view(&a, 1), b);
    }
    /// A number is not text.
    template <typename T>
    friend detail::IfNumber<T, String> operator+(String const& a, T b) = delete;
    /// A number is not text.
    template <typename T>
    friend detail::IfNumber<T, String> operator+(T a, String const& b) = delete;
    /// @}

    // ---------------------------------------------------------------- not API

private:
    friend class StringBuffer;

    /// Header of the single allocation; the bytes and the terminating NUL follow it.
    struct Block {
        std::atomic<std::size_t> references{1};
        std::size_t length{0};
        std::size_t capacity;

        explicit Block(std::size_t room) noexcept : capacity(room) {}
        char* text() noexcept { return reinterpret_cast<char*>(this + 1); }
    };

    static Block* allocate(std::size_t capacity);
    static Block* resize(Block* block, std::size_t capacity);
    static void release(Block* block) noexcept;

    Block* block_ = nullptr;
};

/// Constant time.
inline void swap(String& a, String& b) noexcept { a.swap(b); }

/// Writes the bytes, NUL too, field width and fill applied as for `std::string_view`; the locale
/// has no influence. The stream's state reports its own failures.
/// @par Complexity linear. @par Thread safety `out` needs exclusive access.
ZEB_EXPORT std::ostream& operator<<(std::ostream& out, String const& text);

/// @name Reading from a stream
/// Like `std::string`'s functions of the same names, but `text` is unchanged when nothing is read
/// and when anything is thrown.
/// @throws std::bad_alloc, with the bytes taken from the stream; what a stream with an exception
///   mask throws
/// @par Complexity linear in what is read. @par Thread safety `in` and `text` need exclusive
///   access.
/// @{
/// A word: white space of the stream's locale is skipped and ends it; the stream's width also
/// limits it.
ZEB_EXPORT std::istream& operator>>(std::istream& in, String& text);
/// A line: all bytes, NUL too, up to `delimiter`, which is taken out of the stream and dropped.
ZEB_EXPORT std::istream& getline(std::istream& in, String& text, char delimiter = '\n');
/// @}

}  // namespace zeb::foundation

/// @cond The site's generator does not know a qualified name here.
/// The hash of the bytes, as of a `std::string_view`. Linear time.
template <>
struct std::hash<zeb::foundation::String> {
    /// Whatever converts to bytes is hashed without making a `String`.
    using is_transparent = void;
    /// The hash of `text`.
    std::size_t operator()(std::string_view text) const noexcept {
        return std::hash<std::string_view>()(text);
    }
};
/// @endcond
