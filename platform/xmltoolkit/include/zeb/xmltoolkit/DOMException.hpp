#pragma once

#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/Export.hpp>

#include <cstdint>

namespace zeb::xmltoolkit {

/// A text that is no well-formed XML, or that exceeds a limit of the parser.
///
/// `what()` is one line, "line L, column C: reason". Both count from 1; a column is one character,
/// whatever number of bytes it has, a byte order mark included; a carriage return with a line feed
/// behind it ends one line.
/// They tell where the offending character, markup or reference begins; of an end tag that does not
/// fit, its name; for a reference in a value of an attribute, the tag, or the reference when it
/// nests entities too deep; for anything in the text of an entity, the reference to that. The
/// locale has no influence; cost and NUL bytes are as of `foundation::Exception`.
/// Of `XMLParserDOM::parse("<a>\n<b></a>")`, `what()` is "line 2, column 6: mismatched tag",
/// `getTextLine()` 2, `getTextColumn()` 6 and `getReason()` "mismatched tag".
/// @par Thread safety one object may be read by several threads at once. Copying never throws.
class ZEB_EXPORT DOMException : public foundation::Exception {
public:
    /// The arguments of `foundation::Exception`, handed on unchanged.
    DOMException(char const* file, int line, char const* message, int subclassCode,
                 foundation::Exception const* chained, int errorCode);
    ~DOMException() noexcept override;
    [[nodiscard]] char const* type() const noexcept override;
    [[nodiscard]] DOMException* clone() const noexcept override;
    [[noreturn]] void rethrow() const override;

    /// @name The parts of the message
    /// `getLine()` is the line of the source unit that threw, not one of the text.
    /// @par Complexity constant: they read the beginning of the message, and allocate nothing.
    /// @{
    /// L of "line L, column C: reason"; 0 when the message has another form.
    [[nodiscard]] std::uint64_t getTextLine() const noexcept;
    /// C of "line L, column C: reason"; 0 when the message has another form.
    [[nodiscard]] std::uint64_t getTextColumn() const noexcept;
    /// The reason in "line L, column C: reason"; the whole message when it has another form. Valid
    /// as long as this object or a copy of it lives.
    [[nodiscard]] char const* getReason() const noexcept;
    /// @}
};

}  // namespace zeb::xmltoolkit
