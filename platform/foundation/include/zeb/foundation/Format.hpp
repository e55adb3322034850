#pragma once

#include <zeb/foundation/Export.hpp>
#include <zeb/foundation/OStringStream.hpp>
#include <zeb/foundation/String.hpp>
#include <zeb/foundation/StringBuffer.hpp>

#include <cstddef>
#include <string_view>
#include <type_traits>
#include <utility>

namespace zeb::foundation {

namespace detail {

/// @name Rendering one argument of a `Format`
/// Text, characters and integers are written directly, without a stream; everything else with its
/// stream output operator. Both give the same text.
/// @{
ZEB_EXPORT void render(StringBuffer& out, long long value);
ZEB_EXPORT void render(StringBuffer& out, unsigned long long value);

template <typename T>
void render(StringBuffer& out, T const& value) {
    if constexpr (std::is_same_v<T, char> || std::is_same_v<T, signed char> ||
                  std::is_same_v<T, unsigned char>) {
        out.append(static_cast<char>(value));
    } else if constexpr (std::is_integral_v<T> && sizeof(T) <= sizeof(long long) &&
                         !std::is_same_v<T, wchar_t> && !std::is_same_v<T, char16_t> &&
                         !std::is_same_v<T, char32_t>) {
        using Wide = std::conditional_t<std::is_signed_v<T>, long long, unsigned long long>;
        render(out, static_cast<Wide>(value));
    } else if constexpr (std::is_convertible_v<T const&, char const*>) {
        char const* const text = value;
        out.append(text == nullptr ? std::string_view() : std::string_view(text));
    } else if constexpr (std::is_convertible_v<T const&, std::string_view>) {
        out.append(static_cast<std::string_view>(value));
    } else {
        OStringStream stream;
        stream << value;
        out.append(stream);
    }
}
/// @}

}  // namespace detail

/// Positional message formatting: each placeholder `%1`, `%2`, ... `%9` of a text is replaced by
/// that argument, wherever it occurs.
///
/// A placeholder is `%` and one digit; `%%` is a percent sign; any other `%` is literal, and so is
/// a digit without an argument (`%0`, or `%3` where there are two).
/// ```cpp
/// Format("%1 of %2 (100%%)", 3, "7").toString() == "3 of 7 (100%)"
/// ```
/// An argument is anything with a stream output operator; a null `char const*` renders as nothing,
/// any other up to its NUL. Within the text, and within a `String` or a view, NUL is a byte like
/// any other. The locale has no influence: numbers are rendered as in the classic locale.
/// @par Exceptions `std::bad_alloc`, and what an argument's output operator throws.
/// @par Complexity linear in the text and the rendered arguments.
/// @par Thread safety one object belongs to one thread.
class ZEB_EXPORT Format {
public:
    /// Fills the placeholders of `text`.
    template <typename... Arguments>
    explicit Format(std::string_view text, Arguments const&... arguments) {
        if constexpr (sizeof...(Arguments) == 0) {
            fill(text, nullptr, 0);
        } else {
            Argument const list[] = {Argument{&arguments, &renderAs<Arguments>}...};
            fill(text, list, sizeof...(Arguments));
        }
    }
    Format(Format const&) = delete;
    Format& operator=(Format const&) = delete;
    virtual ~Format();

    /// The formatted text. A temporary's memory is moved, not copied.
    [[nodiscard]] String toString() const& { return result_.toString(); }
    /// The formatted text, taken out of a temporary.
    [[nodiscard]] String toString() && { return result_.releaseString(); }
    /// The formatted text.
    // NOLINTNEXTLINE(google-explicit-constructor): a Format is used as a String
    operator String() const& { return toString(); }
    /// The formatted text, taken out of a temporary.
    // NOLINTNEXTLINE(google-explicit-constructor): likewise
    operator String() && { return std::move(*this).toString(); }

    // ---------------------------------------------------------------- not API

protected:
    /// How a placeholder is treated whose digit is out of range.
    enum ErrorMode {
        KEEP_PLACEHOLDER = 0,    ///< it stays in the text as written
        CONSUME_PLACEHOLDER = 1  ///< it is removed, and its digit is still returned
    };

    /// The result of `process` when the text contains no further placeholder: an index beyond every
    /// argument.
    static constexpr std::size_t NO_PLACEHOLDER = static_cast<std::size_t>(-1);

    /// A formatter without text, for a derived class that fills itself with `process` and `put`.
    Format();

    /// Moves literal text from the front of `text` to the result, up to and including the next
    /// placeholder, which is dropped.
    /// @return the digit of the placeholder, or `NO_PLACEHOLDER` when `text` was used up
    std::size_t process(std::string_view& text, std::size_t lowest, std::size_t highest,
                        ErrorMode mode);

    /// Appends an argument to the result.
    void put(std::string_view argument) { result_.append(argument); }

private:
    struct Argument {
        void const* value;
        void (*render)(StringBuffer& out, void const* value);
    };

    template <typename T>
    static void renderAs(StringBuffer& out, void const* value) {
        detail::render(out, *static_cast<T const*>(value));
    }

    void fill(std::string_view text, Argument const* arguments, std::size_t count);

    StringBuffer result_;
};

}  // namespace zeb::foundation
