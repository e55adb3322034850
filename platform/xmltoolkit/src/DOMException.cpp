#include <zeb/xmltoolkit/DOMException.hpp>

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string_view>
#include <system_error>

namespace zeb::xmltoolkit {

namespace {

struct Parts {
    std::uint64_t line;
    std::uint64_t column;
    std::string_view reason;
};

/// Removes `before` and a number from the front of `text`; false when it does not begin so.
bool cut(std::string_view& text, std::string_view before, std::uint64_t& number) noexcept {
    if (text.substr(0, before.size()) != before) {
        return false;
    }
    text.remove_prefix(before.size());
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc();
}

/// The parts of "line L, column C: reason". They are read from the message, because a new member
/// would change the size of the class, which compiled programs rely on.
Parts partsOf(std::string_view message) noexcept {
    constexpr std::string_view SEPARATOR = ": ";
    Parts parts{0, 0, message};
    if (!cut(parts.reason, "line ", parts.line) || !cut(parts.reason, ", column ", parts.column) ||
        parts.reason.substr(0, SEPARATOR.size()) != SEPARATOR) {
        return {0, 0, message};
    }
    parts.reason.remove_prefix(SEPARATOR.size());
    return parts;
}

}  // namespace

DOMException::DOMException(char const* file, int line, char const* message, int subclassCode,
                           foundation::Exception const* chained, int errorCode)
    : Exception(file, line, message, subclassCode, chained, errorCode) {}

DOMException::~DOMException() noexcept = default;

char const* DOMException::type() const noexcept { return "DOMException"; }

DOMException* DOMException::clone() const noexcept {
    return new (std::nothrow) DOMException(*this);
}

void DOMException::rethrow() const { throw *this; }

std::uint64_t DOMException::getTextLine() const noexcept { return partsOf(getMessage()).line; }

std::uint64_t DOMException::getTextColumn() const noexcept { return partsOf(getMessage()).column; }

char const* DOMException::getReason() const noexcept { return partsOf(getMessage()).reason.data(); }

}  // namespace zeb::xmltoolkit
