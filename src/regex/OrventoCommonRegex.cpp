#include "OrventoCommonRegex.hpp"

#include <regex.h>

#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/StringBuffer.hpp>

#include <cstddef>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "GroupSearch.hpp"

namespace ZEBNS2 {

using zeb::foundation::Exception;
using zeb::foundation::Format;
using zeb::foundation::StringBuffer;

namespace {

constexpr char const* UNIT = RegularExpressionException::SOURCE_UNIT;

int compilationFlags(RegularExpression::CompilationOptions options) noexcept {
    int flags = 0;
    if ((options & RegularExpression::BASIC_SYNTAX) == 0) {
        flags |= REG_EXTENDED;
    }
    if ((options & RegularExpression::CASE_INSENSITIVE) != 0) {
        flags |= REG_ICASE;
    }
    if ((options & RegularExpression::NO_NEWLINE) != 0) {
        flags |= REG_NEWLINE;
    }
    return flags;
}

String optionsText(RegularExpression::CompilationOptions options) {
    String text = (options & RegularExpression::BASIC_SYNTAX) != 0 ? "basic" : "extended";
    if ((options & RegularExpression::CASE_INSENSITIVE) != 0) {
        text += "|case insensitive";
    }
    if ((options & RegularExpression::NO_NEWLINE) != 0) {
        text += "|no newline";
    }
    return text;
}

/// The bytes that escapeRegexSpecialCharacters escapes. The comma is one although it is no operator
/// outside braces: kept for compatibility.
constexpr std::string_view OPERATORS = "$()*+,.?[]^{|}";

/// The same without the wildcards.
constexpr std::string_view OPERATORS_BESIDE_WILDCARDS = "$()+,.[]^{|}";

/// Appends one byte of a text as a literal. In basic syntax only the backslash is escaped, although
/// others are operators there too: kept for compatibility.
void appendLiteral(StringBuffer& expression, char byte, std::string_view operators,
                   RegularExpression::CompilationOptions options) {
    bool const basic = (options & RegularExpression::BASIC_SYNTAX) != 0;
    if (byte == '\\' || (!basic && operators.find(byte) != std::string_view::npos)) {
        expression.append('\\');
    }
    expression.append(byte);
}

}  // namespace

RegularExpressionException::RegularExpressionException(char const* file, int line,
                                                       char const* message, int subclassCode,
                                                       Exception const* chained, int errorCode)
    : Exception(file, line, message, subclassCode, chained, errorCode) {}

RegularExpressionException::~RegularExpressionException() noexcept = default;

char const* RegularExpressionException::type() const noexcept {
    return "RegularExpressionException";
}

RegularExpressionException* RegularExpressionException::clone() const noexcept {
    return new (std::nothrow) RegularExpressionException(*this);
}

void RegularExpressionException::rethrow() const { throw *this; }

RegularExpression::RegularExpression(String const& pattern, CompilationOptions options)
    : options_(0) {
    replace(pattern, options);
}

RegularExpression::RegularExpression(char const* pattern, CompilationOptions options)
    : options_(0) {
    if (pattern != nullptr) {
        replace(pattern, options);
    }
}

RegularExpression::RegularExpression(RegularExpression const& other) : options_(0) {
    replace(other.pattern_, other.options_);
}

RegularExpression& RegularExpression::operator=(RegularExpression const& other) {
    if (this != &other) {
        replace(other.pattern_, other.options_);
    }
    return *this;
}

RegularExpression::~RegularExpression() = default;

void RegularExpression::replace(String const& pattern, CompilationOptions options) {
    pattern_ = pattern;
    options_ = options;
    compiled_.reset();
    auto compiled = std::make_unique<Compiled const>(pattern_.c_str(), compilationFlags(options_));
    if (compiled->error() != 0) {
        String const message =
            Format("Error creating regular expression: %1  The faulty expression (%2) is: \"%3\"",
                   compiled->errorText().data(), optionsText(options_),
                   pattern_.c_str());  // up to its NUL, which would end the message
        throw RegularExpressionException(UNIT, RegularExpressionException::SOURCE_LINE,
                                         message.c_str(), Exception::NO_CODE, nullptr,
                                         Exception::NO_CODE);
    }
    compiled_ = std::move(compiled);
}

bool RegularExpression::matches(String const& subject) const noexcept {
    regmatch_t match;
    return compiled_ && compiled_->find(subject, match);
}

String RegularExpression::matching_substring(String const& subject) const {
    regmatch_t match;
    if (!compiled_ || !compiled_->find(subject, match)) {
        return String();
    }
    return textOf(subject, offsetsOf(match));
}

std::pair<int, int> RegularExpression::first_match(char const* subject) const noexcept {
    regmatch_t match;
    if (subject == nullptr || !compiled_ || !compiled_->find(subject, match)) {
        return {-1, -1};
    }
    return {match.rm_so, match.rm_eo};
}

Array<OffsetPair> RegularExpression::all_matches(String const& subject) const {
    if (!compiled_) {
        return Array<OffsetPair>();
    }
    Search search(*this, MAX_MATCH_SLOTS);
    return search.find(upToNul(subject)) ? search.groups() : Array<OffsetPair>();
}

Array<OffsetPair> RegularExpression::all_unique_matches(String const& subject) const {
    Array<OffsetPair> ranges;
    std::string_view const seen = upToNul(subject);
    std::size_t offset = 0;
    while (compiled_ && offset < subject.length()) {
        regmatch_t match;
        // REG_NOTBOL at the first search too: kept for compatibility.
        if (!compiled_->search(seen.substr(offset), &match, 1, REG_NOTBOL)) {
            break;
        }
        ranges.append(offsetsOf(match, offset));
        if (match.rm_eo == 0) {
            break;  // the next search would find the same
        }
        offset += static_cast<std::size_t>(match.rm_eo);
    }
    return ranges;
}

Array<String> RegularExpression::all_matching_substrings(String const& subject) const {
    // Like all_matches, but without the slots that no group can fill.
    Search search(*this);
    if (!search.find(upToNul(subject))) {
        return Array<String>();
    }
    return getAllSubstrings(subject, search.groups());
}

Array<String> RegularExpression::all_unique_matching_substrings(String const& subject) const {
    return getAllSubstrings(subject, all_unique_matches(subject));
}

Array<Array<String>> RegularExpression::all_matching_substrings(Array<String> const& lines) const {
    Array<Array<String>> texts;
    for (String const& line : lines) {
        texts.append(all_matching_substrings(line));
    }
    return texts;
}

Array<Array<String>> RegularExpression::all_unique_matching_substrings(
    Array<String> const& lines) const {
    Array<Array<String>> texts;
    for (String const& line : lines) {
        texts.append(all_unique_matching_substrings(line));
    }
    return texts;
}

Array<String> RegularExpression::matching_substring(Array<String> const& lines) const {
    Array<String> texts;
    for (String const& line : lines) {
        texts.append(matching_substring(line));
    }
    return texts;
}

String RegularExpression::first_matching_substring(Array<String> const& lines) const {
    for (String const& line : lines) {
        regmatch_t match;
        if (compiled_ && compiled_->find(line, match)) {
            return textOf(line, offsetsOf(match));
        }
    }
    return String();
}

Array<String> RegularExpression::all_matching_lines(Array<String> const& lines) const {
    Array<String> matching;
    for (String const& line : lines) {
        regmatch_t match;
        // An empty match does not count: kept for compatibility.
        if (compiled_ && compiled_->find(line, match) && match.rm_so != match.rm_eo) {
            matching.append(line);
        }
    }
    return matching;
}

Array<String> RegularExpression::non_matching_lines(Array<String> const& lines) const {
    Array<String> others;
    if (!compiled_) {
        return others;
    }
    for (String const& line : lines) {
        if (!matches(line)) {
            others.append(line);
        }
    }
    return others;
}

Array<unsigned int> RegularExpression::find_matching_line_numbers(
    Array<String> const& lines) const {
    Array<unsigned int> numbers;
    unsigned int number = 0;
    for (String const& line : lines) {
        if (matches(line)) {
            numbers.append(number);
        }
        ++number;
    }
    return numbers;
}

String RegularExpression::escapeRegexSpecialCharacters(String const& text,
                                                       CompilationOptions options) {
    StringBuffer expression;
    for (char const byte : std::string_view(text)) {
        appendLiteral(expression, byte, OPERATORS, options);
    }
    return expression.releaseString();
}

String RegularExpression::convertWin32WildcardExpression(String const& wildcard,
                                                         CompilationOptions options) {
    StringBuffer expression;
    expression.append('^');
    for (char const byte : std::string_view(wildcard)) {
        if (byte == '*') {
            expression.append(".*");
        } else if (byte == '?') {
            expression.append('.');
        } else {
            appendLiteral(expression, byte, OPERATORS_BESIDE_WILDCARDS, options);
        }
    }
    expression.append('$');
    return expression.releaseString();
}

bool regex_matches(RegularExpression const& expression, String const& subject) noexcept {
    return expression.matches(subject);
}

}  // namespace ZEBNS2
