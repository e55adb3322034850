#include "RE.hpp"

#include "LibcExpression.hpp"

#include <zeb/foundation/StringBuffer.hpp>

#include <cstddef>
#include <new>
#include <string_view>

namespace ZEBNS2 {

using zeb::foundation::Exception;
using zeb::foundation::StringBuffer;

namespace {

// No comma, unlike the sets of RegularExpression's converters; `*` and `?` are wildcards.
constexpr std::string_view OPERATORS = "$()+.[]^{|}";

}  // namespace

BadRegexException::BadRegexException(char const* file, int line, char const* message,
                                     int subclassCode, Exception const* chained, int errorCode)
    : Exception(file, line, message, subclassCode, chained, errorCode) {}

BadRegexException::~BadRegexException() noexcept = default;

char const* BadRegexException::type() const noexcept { return "BadRegexException"; }

BadRegexException* BadRegexException::clone() const noexcept {
    return new (std::nothrow) BadRegexException(*this);
}

void BadRegexException::rethrow() const { throw *this; }

RE::RE(char const* pattern, int flags) : pattern_(pattern), compiled_() {
    LibcNeeds needs;
    int const error = compileExpression(compiled_, pattern_.c_str(), flags | REG_EXTENDED, needs);
    if (error != 0) {
        throw BadRegexException(BadRegexException::SOURCE_UNIT, BadRegexException::SOURCE_LINE,
                                compilationError(error, compiled_).data(), error, nullptr,
                                Exception::NO_CODE);
    }
}

RE::~RE() { ::regfree(&compiled_); }

String wild2re(String const& wildcard) {
    std::string_view const text = wildcard;
    StringBuffer expression;
    expression.append('^');
    for (std::size_t i = 0; i < text.size(); ++i) {
        char const byte = text[i];
        if (byte == '#') {
            expression.append("[[:digit:]]");
        } else if (byte == '*') {
            expression.append(".*");
        } else if (byte == '?') {
            expression.append('.');
        } else if (byte == '\\') {
            bool const last = i + 1 == text.size();
            expression.append('\\').append(last ? '\\' : text[++i]);
        } else {
            if (OPERATORS.find(byte) != std::string_view::npos) {
                expression.append('\\');
            }
            expression.append(byte);
        }
    }
    expression.append('$');
    return expression.releaseString();
}

}  // namespace ZEBNS2
