#pragma once

#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/Export.hpp>

#include <cstdint>

namespace zeb::xmltoolkit {

/// A text that is not well-formed XML, or that exceeds a limit of the parser.
///
/// `what()` is one line, "line L, column C: reason". Both count from 1; a column is one character
/// of any number of bytes, and a byte order mark is one; a carriage return followed by a line feed
/// ends one line. They are the position where the offending character, markup or reference begins;
/// for an end tag that does not match, where its name begins; for a reference in an attribute's
/// value, where the tag begins, or the reference if it nests entities too deep; for anything in the
/// text of an entity, where the reference to the entity begins. The locale has no influence; cost
/// and NUL bytes are as for `foundation::Exception`. For `XMLParserDOM::parse("<a>\n<b></a>")`,
/// `what()` is "line 2, column 6: mismatched tag", `getTextLine()` 2, `getTextColumn()` 6 and
/// `getReason()` "mismatched tag".
/// @par Thread safety one object may be read by several threads at once. Copying never throws.
class ZEB_EXPORT DOMException : public foundation::Exception {
public:
    /// The arguments of `foundation::Exception`, passed on unchanged.
    DOMException(char const* file, int line, char const* message, int subclassCode,
                 foundation::Exception const* chained, int errorCode);
    ~DOMException() noexcept override;
    [[nodiscard]] char const* type() const noexcept override;
    [[nodiscard]] DOMException* clone() const noexcept override;
    [[noreturn]] void rethrow() const override;

    /// @name The parts of the message
    /// `getLine()` is a line of the source unit that threw, not of the text.
    /// @par Complexity constant: they read the beginning of the message and allocate nothing.
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
