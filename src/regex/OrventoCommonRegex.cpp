#include "OrventoCommonRegex.hpp"

#include "CompileExpression.hpp"
#include "DeepSearch.hpp"
#include "RequiredText.hpp"

#include <pthread.h>
#include <regex.h>

#include <zeb/foundation/FileSystem.hpp>
#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/LazyGlobal.hpp>
#include <zeb/foundation/Logger.hpp>
#include <zeb/foundation/StringBuffer.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <ios>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

// Regular expressions, then the sed engine on top of them.
//
// A text is never copied to be searched: regexec is told by REG_STARTEND where a subject ends, so
// that a line, or the rest of a line behind a match, is matched where it lies. It also saves
// regexec from measuring the subject, which would make the replacement of all matches of a line
// quadratic. As the flag lets NUL bytes through, subjects are cut at their first NUL before;
// everything else is as if the subject were a string of its own.

namespace ZEBNS2 {

using zeb::foundation::Exception;
using zeb::foundation::FileInformation;
using zeb::foundation::FileSystemException;
using zeb::foundation::Format;
using zeb::foundation::LazyGlobal;
using zeb::foundation::Logger;
using zeb::foundation::StringBuffer;
namespace FileSystem = zeb::foundation::FileSystem;

namespace {

constexpr char const* UNIT = RegularExpressionException::SOURCE_UNIT;

/// What the C library sees of a text.
std::string_view upToNul(std::string_view text) noexcept { return text.substr(0, text.find('\0')); }

/// The offsets of a match that took part, `base` bytes further on.
OffsetPair offsetsOf(regmatch_t const& match, std::size_t base = 0) noexcept {
    return {static_cast<std::uint32_t>(base + static_cast<std::size_t>(match.rm_so)),
            static_cast<std::uint32_t>(base + static_cast<std::size_t>(match.rm_eo))};
}

/// The text of a match; a faulty end, before the start or beyond the subject, means the subject's.
std::string_view textOf(std::string_view subject, OffsetPair const& range) noexcept {
    std::size_t const start = std::min<std::size_t>(range.first, subject.size());
    return subject.substr(start, range.second - range.first);
}

Array<String> getAllSubstrings(std::string_view subject, Array<OffsetPair> const& ranges) {
    Array<String> texts;
    texts.reserve(ranges.size());
    for (OffsetPair const& range : ranges) {
        texts.append(textOf(subject, range));
    }
    return texts;
}

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

/// What escapeRegexSpecialCharacters makes literal. The comma is among them although it is no
/// operator outside braces: this system's behaviour.
constexpr std::string_view OPERATORS = "$()*+,.?[]^{|}";

/// The same without the wildcards.
constexpr std::string_view OPERATORS_BESIDE_WILDCARDS = "$()+,.[]^{|}";

/// Appends one byte of a text as a literal. In basic syntax the backslash alone is escaped,
/// although others are operators there too: this system's behaviour.
void appendLiteral(StringBuffer& expression, char byte, std::string_view operators,
                   RegularExpression::CompilationOptions options) {
    bool const basic = (options & RegularExpression::BASIC_SYNTAX) != 0;
    if (byte == '\\' || (!basic && operators.find(byte) != std::string_view::npos)) {
        expression.append('\\');
    }
    expression.append(byte);
}

}  // namespace

/// The C library's form of a pattern.
class RegularExpression::Compiled {
public:
    Compiled(String const& pattern, CompilationOptions options)
        : required_(options == EXTENDED_SYNTAX ? RequiredText(pattern.c_str()) : RequiredText()) {
        int const error =
            compileExpression(expression_, pattern.c_str(), compilationFlags(options), &recurses_);
        if (error != 0) {
            String const message = Format(
                "Error creating regular expression: %1  The faulty expression (%2) is: \"%3\"",
                compilationError(error, expression_).data(), optionsText(options),
                pattern.c_str());  // up to its NUL, where the message would end without a quote
            throw RegularExpressionException(UNIT, RegularExpressionException::SOURCE_LINE,
                                             message.c_str(), Exception::NO_CODE, nullptr,
                                             Exception::NO_CODE);
        }
    }
    Compiled(Compiled const&) = delete;
    Compiled& operator=(Compiled const&) = delete;
    ~Compiled() { ::regfree(&expression_); }

    std::size_t groups() const noexcept { return expression_.re_nsub; }

    /// Whether there is a match in `subject`, which holds no NUL; if so, it stands in the slots, up
    /// to the first that is negative.
    /// @param slotCount at least 1
    /// @param flags flags of regexec
    bool search(std::string_view subject, regmatch_t* slots, std::size_t slotCount,
                int flags) const noexcept {
        if (subject.size() > MAX_SUBJECT_LENGTH) {
            return false;
        }
        if (!required_.text().empty()) {
            std::size_t const at = required_.find(subject);
            if (at == std::string_view::npos) {
                return false;
            }
            if (required_.isWhole()) {
                slots[0] = {static_cast<regoff_t>(at),
                            static_cast<regoff_t>(at + required_.text().size())};
                if (slotCount > 1) {
                    slots[1].rm_so = -1;
                }
                return true;
            }
        }
        auto const length = static_cast<regoff_t>(subject.size());
        slots[0].rm_so = 0;
        slots[0].rm_eo = length;
        if (execute(subject, slots, slotCount, flags | REG_STARTEND) != 0) {
            return false;
        }
        // Nobody reads outside the subject, whatever the C library answers.
        return 0 <= slots[0].rm_so && slots[0].rm_so <= slots[0].rm_eo && slots[0].rm_eo <= length;
    }

    /// The first match in `subject` up to its NUL.
    bool find(std::string_view subject, regmatch_t& match) const noexcept {
        return search(upToNul(subject), &match, 1, /*flags=*/0);
    }

private:
    int execute(std::string_view subject, regmatch_t* slots, std::size_t slotCount,
                int flags) const noexcept {
        std::uint64_t const stack = std::uint64_t{subject.size()} * LibcLimits::LOOP_STACK_PER_BYTE;
        if (recurses_ && stack > DeepSearch::CALLERS_STACK) {
            return DeepSearch::run(expression_, subject.data(), slotCount, slots, flags,
                                   stack + DeepSearch::CALLERS_STACK);
        }
        return ::regexec(&expression_, subject.data(), slotCount, slots, flags);
    }

    RequiredText required_;
    bool recurses_ = false;
    regex_t expression_{};
};

/// An expression and the slots for its match and groups, which serve one search after the other.
class GroupSearch {
public:
    /// With as many slots as the expression can fill.
    explicit GroupSearch(RegularExpression const& expression)
        : GroupSearch(expression, expression.compiled_ ? expression.compiled_->groups() + 1 : 1) {}

    GroupSearch(RegularExpression const& expression, std::size_t slotCount)
        : compiled_(expression.compiled_.get()),
          slotCount_(slotCount),
          slots_(new regmatch_t[slotCount]) {}

    /// Whether there is a match in `subject`, which holds no NUL.
    bool find(std::string_view subject) noexcept {
        return compiled_ != nullptr &&
               compiled_->search(subject, slots_.get(), slotCount_, /*flags=*/0);
    }

    /// The match found last.
    OffsetPair match() const noexcept { return offsetsOf(slots_[0]); }

    /// The match found last, then its groups up to the first that took no part in it.
    Array<OffsetPair> groups() const {
        Array<OffsetPair> ranges;
        for (std::size_t i = 0; i < slotCount_ && slots_[i].rm_so >= 0; ++i) {
            ranges.append(offsetsOf(slots_[i]));
        }
        return ranges;
    }

private:
    RegularExpression::Compiled const* compiled_;
    std::size_t slotCount_;
    std::unique_ptr<regmatch_t[]> slots_;
};

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
    compiled_ = std::make_unique<Compiled const>(pattern_, options_);
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
    GroupSearch search(*this, MAX_MATCH_SLOTS);
    return search.find(upToNul(subject)) ? search.groups() : Array<OffsetPair>();
}

Array<OffsetPair> RegularExpression::all_unique_matches(String const& subject) const {
    Array<OffsetPair> ranges;
    std::string_view const seen = upToNul(subject);
    std::size_t offset = 0;
    while (compiled_ && offset < subject.length()) {
        regmatch_t match;
        // REG_NOTBOL at the first search too: this system's behaviour.
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
    // As all_matches, but without the slots that no group can fill.
    GroupSearch search(*this);
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
        // An empty match does not count: this system's behaviour.
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

// ------------------------------------------------------------------------------ the sed engine

namespace {

constexpr char COMPONENT[] = "zeb.common.regex";

struct ExtendedSyntaxFactory {
    static RegularExpression* create(char const* pattern) {
        return new RegularExpression(pattern, RegularExpression::EXTENDED_SYNTAX);
    }
};

using LazyExpression = LazyGlobal<RegularExpression, ExtendedSyntaxFactory>;

LazyExpression SED_DELETE_EXPR = {"^/([^/]*)/d$", nullptr, 0, PTHREAD_MUTEX_INITIALIZER};
LazyExpression SED_DELETE_RANGE_EXPR = {"^/([^/]*)/,/([^/]*)/d$", nullptr, 0,
                                        PTHREAD_MUTEX_INITIALIZER};

enum SedOperationMode {
    SED_SEARCH = 0,         ///< replace the first match in each line
    SED_GLOBAL_SEARCH = 1,  ///< replace every match in each line
    SED_DELETE = 2,         ///< delete each line that matches
    SED_DELETE_RANGE = 3    ///< delete from one matching line to another
};

/// A format filled from an array: `%0` is its first element. A placeholder without an element
/// vanishes.
class ArrayFormat : public Format {
public:
    ArrayFormat(String const& format, Array<String> const& arguments) {
        std::string_view text = format;
        std::size_t const highest = arguments.empty() ? 0 : arguments.size() - 1;
        while (!text.empty()) {
            std::size_t const index = process(text, 0, highest, CONSUME_PLACEHOLDER);
            if (index < arguments.size()) {
                put(arguments[index]);
            }
        }
    }
};

/// Walks over the lines of a text where they lie: what is between its newlines. The empty text has
/// no line; behind a final newline there is an empty one.
class LineReader {
public:
    explicit LineReader(std::string_view text) noexcept : rest_(text), atEnd_(text.empty()) {}

    /// Goes to the next line, first to the first one; false when there is none.
    bool next() noexcept {
        if (atEnd_) {
            return false;
        }
        std::size_t const newline = rest_.find('\n');
        line_ = rest_.substr(0, newline);
        atEnd_ = newline == std::string_view::npos;
        if (!atEnd_) {
            rest_.remove_prefix(newline + 1);
        }
        ++linesRead_;
        return true;
    }

    std::string_view line() const noexcept { return line_; }
    /// 0-based number of the line.
    std::size_t number() const noexcept { return linesRead_ - 1; }

private:
    std::string_view rest_;
    bool atEnd_;
    std::string_view line_;
    std::size_t linesRead_ = 0;
};

/// Puts lines together again, a newline between any two.
class LineWriter {
public:
    /// @param capacity bytes that are likely to come
    explicit LineWriter(std::size_t capacity) noexcept : text_(capacity) {}

    /// Begins the next line, whose bytes are to be appended to what is returned.
    StringBuffer& beginLine() {
        if (!first_) {
            text_.append('\n');
        }
        first_ = false;
        return text_;
    }
    void addLine(std::string_view line) { beginLine().append(line); }

    String releaseText() { return text_.releaseString(); }

private:
    StringBuffer text_;
    bool first_ = true;
};

/// An expression and what replaces its matches.
class Replacer {
public:
    /// @param replacement template for ArrayFormat
    Replacer(RegularExpression const& expression, String const& replacement)
        : replacement_(replacement),
          isLiteral_(replacement.indexOf('%') == String::npos),
          search_(expression) {}

    /// Whether there is a match in `subject`, which holds no NUL.
    bool find(std::string_view subject) noexcept { return search_.find(subject); }

    /// The match found last.
    OffsetPair match() const noexcept { return search_.match(); }

    String const& replacement() const noexcept { return replacement_; }

    /// What replaces the match found last; `subject` is where it was found.
    String text(std::string_view subject) const {
        if (isLiteral_) {
            return replacement_;
        }
        return ArrayFormat(replacement_, getAllSubstrings(subject, search_.groups()));
    }

private:
    String const& replacement_;
    bool isLiteral_;
    /// With the groups even where the replacement uses none: some expressions, such as `(^a)+`,
    /// match in libc's eyes until it is asked for their groups.
    GroupSearch search_;
};

/// Appends `text` with its first match replaced; when there is none, nothing.
/// @return whether there is a match
bool appendWithReplacement(StringBuffer& out, std::string_view text, Replacer& replacer) {
    if (!replacer.find(upToNul(text))) {
        return false;
    }
    auto const [start, end] = replacer.match();
    out.append(text.substr(0, start));
    out.append(replacer.text(text));
    out.append(text.substr(end));
    return true;
}

/// Takes a delete command apart; the outputs are untouched when it is none.
bool parseSedDelete(String const& sedString, SedOperationMode& mode, String& firstExpression,
                    String& secondExpression) {
    Logger const logger(COMPONENT);
    Array<String> parts = SED_DELETE_EXPR.get().all_matching_substrings(sedString);
    if (!parts.empty()) {
        mode = SED_DELETE;
        firstExpression = parts[1];
        secondExpression = String();
        ZEB_LOG_DEBUG(
            logger, UNIT,
            Format("regex: Parsed sed delete operation for expression \"%1\"", firstExpression));
        return true;
    }
    parts = SED_DELETE_RANGE_EXPR.get().all_matching_substrings(sedString);
    if (!parts.empty()) {
        mode = SED_DELETE_RANGE;
        firstExpression = parts[1];
        secondExpression = parts[2];
        ZEB_LOG_DEBUG(logger, UNIT,
                      Format("regex: Parsed sed delete (range) operation for expression \"%1\", "
                             "and \"%2\"",
                             firstExpression, secondExpression));
        return true;
    }
    return false;
}

/// Takes a substitute command apart. When it is none, `mode` and `searchExpression` may have been
/// written all the same.
/// @param replacement template for ArrayFormat
bool parseSedSearch(String const& sedString, SedOperationMode& mode, String& searchExpression,
                    String& replacement) {
    Logger const logger(COMPONENT);
    ZEB_LOG_DEBUG(logger, UNIT,
                  Format("regex: Checking for search operation in \"%1\"", sedString));
    std::size_t const length = sedString.length();
    if (length == 0) {
        ZEB_LOG_DEBUG3(logger, UNIT, Format("regex: Sed string is empty"));
        return false;
    }
    if (sedString[0] != 's') {
        ZEB_LOG_DEBUG(
            logger, UNIT,
            Format("regex: Not a search operation: '%1' in \"%2\"", sedString[0], sedString));
        return false;
    }
    mode = SED_SEARCH;
    if (length < 2) {
        ZEB_LOG_DEBUG(logger, UNIT, Format("regex: Malformed sed string \"%1\"", sedString));
    }
    // Of the command "s" alone this is the terminating NUL.
    char const delimiter = sedString[1];

    std::size_t const expressionEnd = std::min(sedString.indexOf(delimiter, 2), length);
    searchExpression = sedString.substring(2, expressionEnd - std::min<std::size_t>(2, length));

    StringBuffer format;
    std::size_t i = expressionEnd + 1;
    for (; i < length && sedString[i] != delimiter; ++i) {
        char const byte = sedString[i];
        if (byte == '%') {
            format.append("%%");
        } else if (byte == '\\') {
            ++i;
            if (i == length) {
                ZEB_LOG_DEBUG(
                    logger, UNIT,
                    Format("regex: Malformed sed string (trailing escape): \"%1\"", sedString));
                return false;
            }
            char const escaped = sedString[i];
            if (escaped == '\\') {
                format.append('\\');
            } else if (escaped >= '0' && escaped <= '9') {
                format.append('%').append(escaped);
            } else {
                // Ends the replacement here and now: this system's behaviour.
                format.append('\\').append(escaped);
                break;
            }
        } else {
            format.append(byte);
        }
    }
    replacement = format.releaseString();

    std::size_t const flag = i + 1;
    if (flag >= length) {
        return true;
    }
    if (sedString[flag] != 'g') {
        ZEB_LOG_DEBUG(
            logger, UNIT,
            Format("regex: Malformed sed string (unknown trailing character) \"%1\"", sedString));
        return false;
    }
    if (mode != SED_SEARCH) {  // COVERAGE: it has just been set
        ZEB_LOG_DEBUG(         // COVERAGE: mode is SED_SEARCH
            logger, UNIT,
            Format("regex: Global replacement for non-search in sed string \"%1\"", sedString));
        return false;  // COVERAGE: mode is SED_SEARCH
    }
    mode = SED_GLOBAL_SEARCH;
    if (flag + 1 < length) {
        ZEB_LOG_DEBUG(logger, UNIT,
                      Format("regex: Invalid traling garbage (\"%1\") in sed string \"%2\"",
                             sedString.substring(flag + 1), sedString));
    }
    return true;
}

String doSedDelete(String const& text, String const& /*sedString*/,
                   RegularExpression::CompilationOptions options, SedOperationMode /*mode*/,
                   String const& expression) {
    Logger const logger(COMPONENT);
    ZEB_LOG_DEBUG3(logger, UNIT,
                   Format("regex: Performing sed delete for all single lines matching \"%1\" in "
                          "\"%2\"",
                          expression, text));
    RegularExpression const compiled(expression, options);
    GroupSearch search(compiled, 1);
    LineWriter kept(text.length());
    for (LineReader lines(text); lines.next();) {
        if (search.find(upToNul(lines.line()))) {
            ZEB_LOG_DEBUG3(
                logger, UNIT,
                Format("regex: Deleting line (%1) \"%2\"", lines.number(), lines.line()));
        } else {
            kept.addLine(lines.line());
        }
    }
    return kept.releaseText();
}

String doSedDeleteRange(String const& text, String const& /*sedString*/,
                        RegularExpression::CompilationOptions options, SedOperationMode /*mode*/,
                        String const& startExpression, String const& endExpression) {
    Logger const logger(COMPONENT);
    ZEB_LOG_DEBUG3(logger, UNIT,
                   Format("regex: Performing sed delete for all lines between \"%1\" and \"%2\" in "
                          "\"%3\"",
                          startExpression, endExpression, text));
    RegularExpression const compiledStart(startExpression, options);
    RegularExpression const compiledEnd(endExpression, options);
    GroupSearch start(compiledStart, 1);
    GroupSearch end(compiledEnd, 1);
    LineWriter kept(text.length());
    bool mayStart = true;
    for (LineReader lines(text); lines.next();) {
        if (!mayStart || !start.find(upToNul(lines.line()))) {
            kept.addLine(lines.line());
            continue;
        }
        LineReader ahead = lines;
        bool ended = false;
        while (!ended && ahead.next()) {
            ended = end.find(upToNul(ahead.line()));
        }
        if (ended) {
            ZEB_LOG_DEBUG3(logger, UNIT,
                           Format("regex: Deleting between line %1 (%2) and line %3 (%4)",
                                  lines.number(), lines.line(), ahead.number(), ahead.line()));
            lines = ahead;
        } else {
            ZEB_LOG_DEBUG3(logger, UNIT,
                           Format("regex: Start sequence matches line %1, but no end was found.",
                                  lines.number()));
            kept.addLine(lines.line());
            mayStart = false;
        }
    }
    return kept.releaseText();
}

/// Replaces the matches in the rest of a line behind its first match; each rest is searched as a
/// line of its own.
/// @param position end of the first match
/// @param function whose messages these are
/// @return where the trailing text begins
std::size_t replaceFurtherMatches(StringBuffer& edited, std::string_view line, std::size_t position,
                                  Replacer& replacer, Logger const& logger, char const* function) {
    std::size_t matchEnd = position;
    std::size_t seenEnd = upToNul(line).size();
    for (;;) {
        if (position > seenEnd) {
            seenEnd = position + upToNul(line.substr(position)).size();
        }
        std::string_view const rest = line.substr(position, seenEnd - position);
        if (!replacer.find(rest)) {
            return position;
        }
        std::size_t const start = position + replacer.match().first;
        std::size_t const end = position + replacer.match().second;
        if (end == matchEnd) {
            // An empty match directly behind the one before. Without a step the loop would not end.
            if (position == line.size()) {
                return position;
            }
            edited.append(line[position]);
            ++position;
            continue;
        }
        std::string_view const leading = line.substr(position, start - position);
        ZEB_LOG_AS(logger, DEBUG3, UNIT, function,
                   Format("regex: Adding inner match leading text (%1-%2) \"%3\"", position, start,
                          leading));
        edited.append(leading);
        String const expanded = replacer.text(rest);
        ZEB_LOG_AS(logger, DEBUG3, UNIT, function,
                   Format("regex: Adding inner match replacement text (%1-%2) for \"%3\" to \"%4\"",
                          start, end, replacer.replacement(), expanded));
        edited.append(expanded);
        position = end;
        matchEnd = end;
    }
}

String doSedSearch(String const& text, String const& /*sedString*/,
                   RegularExpression::CompilationOptions options, SedOperationMode mode,
                   String const& searchExpression, String const& replacement) {
    Logger const logger(COMPONENT);
    RegularExpression const compiled(searchExpression, options);
    Replacer replacer(compiled, replacement);
    LineWriter result(text.length());
    for (LineReader lines(text); lines.next();) {
        std::string_view const line = lines.line();
        ZEB_LOG_DEBUG3(
            logger, UNIT,
            Format("regex: Applying sed search \"%1\" to line \"%2\"", searchExpression, line));
        if (!replacer.find(upToNul(line))) {
            ZEB_LOG_DEBUG3(
                logger, UNIT,
                Format("regex: Search text \"%1\" did not match line %2", searchExpression, line));
            result.addLine(line);
            continue;
        }
        StringBuffer& edited = result.beginLine();
        std::size_t const begin = edited.length();
        auto const [start, end] = replacer.match();
        std::string_view const leading = line.substr(0, start);
        ZEB_LOG_DEBUG3(logger, UNIT,
                       Format("regex: Adding leading text (%1-%2) \"%3\"", 0, start, leading));
        edited.append(leading);
        String const expanded = replacer.text(line);
        ZEB_LOG_DEBUG3(logger, UNIT,
                       Format("regex: Adding match replacement text (%1-%2) for \"%3\" to \"%4\"",
                              start, end, replacement, expanded));
        edited.append(expanded);
        std::size_t const position =
            mode == SED_GLOBAL_SEARCH
                ? replaceFurtherMatches(edited, line, end, replacer, logger, __PRETTY_FUNCTION__)
                : end;
        std::string_view const trailing = line.substr(position);
        ZEB_LOG_DEBUG3(
            logger, UNIT,
            Format("regex: Adding trailing text (%1-%2) \"%3\"", position, line.size(), trailing));
        edited.append(trailing);
        ZEB_LOG_DEBUG3(logger, UNIT,
                       Format("regex: Resulting line with replacements is \"%1\"",
                              std::string_view(edited).substr(begin)));
    }
    return result.releaseText();
}

[[noreturn]] void throwFileSystemException(char const* what, String const& fileName) {
    String const message = Format(what, fileName);
    throw FileSystemException(UNIT, __LINE__, message.c_str(), Exception::NO_CODE, nullptr,
                              Exception::NO_CODE);
}

}  // namespace

String realSed(String const& text, String const& sedString,
               RegularExpression::CompilationOptions options) {
    Logger const logger(COMPONENT);
    ZEB_LOG_DEBUG(logger, UNIT, Format("regex: Running sed \"%1\" on \"%2\"", sedString, text));
    SedOperationMode mode = SED_SEARCH;
    String first;
    String second;
    if (parseSedSearch(sedString, mode, first, second)) {
        return doSedSearch(text, sedString, options, mode, first, second);
    }
    if (parseSedDelete(sedString, mode, first, second)) {
        return mode == SED_DELETE_RANGE
                   ? doSedDeleteRange(text, sedString, options, mode, first, second)
                   : doSedDelete(text, sedString, options, mode, first);
    }
    ZEB_LOG_DEBUG(logger, UNIT,
                  Format("regex: Unknown sed operation (ignored): \"%1\"", sedString));
    // Not the text, in spite of the message: this system's behaviour.
    return String();
}

String sed(String const& text, RegularExpression const& expression, String const& replacement) {
    Replacer replacer(expression, replacement);
    StringBuffer edited(text.length());
    return appendWithReplacement(edited, text, replacer) ? edited.releaseString() : text;
}

String sed(String const& text, String const& expression, String const& replacement) {
    return sed(text, RegularExpression(expression, RegularExpression::EXTENDED_SYNTAX),
               replacement);
}

void unprivilegedSed(String const& fileName, RegularExpression const& expression,
                     String const& replacement) {
    Logger const logger(COMPONENT);
    ZEB_LOG_DEBUG(logger, UNIT, Format("regex: Getting info for file \"%1\"", fileName));
    if (FileSystem::getFileInformation(fileName).type != FileInformation::REGULAR_FILE) {
        throwFileSystemException("File is not a regular file: %1", fileName);
    }
    ZEB_LOG_DEBUG2(logger, UNIT, Format("regex: Checking write status for \"%1\"", fileName));
    if (!FileSystem::canWrite(fileName)) {
        throwFileSystemException("File cannot be written file: %1", fileName);
    }
    ZEB_LOG_DEBUG2(logger, UNIT, Format("regex: Getting lines for \"%1\"", fileName));
    String const contents = FileSystem::getFileContents(fileName);
    Replacer replacer(expression, replacement);
    LineWriter edited(contents.length());
    for (LineReader lines(contents); lines.next();) {
        StringBuffer& out = edited.beginLine();
        std::size_t const begin = out.length();
        if (!appendWithReplacement(out, lines.line(), replacer)) {
            out.append(lines.line());
        }
        ZEB_LOG_DEBUG3(logger, UNIT,
                       Format("regex: Replacing line:\n<--%1\n-->%2", lines.line(),
                              std::string_view(out).substr(begin)));
    }
    String const result = edited.releaseText();
    ZEB_LOG_DEBUG2(logger, UNIT, Format("regex: Writing results in \"%1\"", fileName));
    // What happens from here on is not reported: this system's behaviour.
    // A stream without a buffer takes one after emptying the file, which may fail.
    char buffer[1024];
    std::ofstream file;
    file.rdbuf()->pubsetbuf(buffer, sizeof buffer);
    file.open(fileName.c_str(), std::ios::binary | std::ios::trunc);
    file.write(result.c_str(), static_cast<std::streamsize>(result.length()));
}

void unprivilegedSed(String const& fileName, String const& expression, String const& replacement) {
    Logger const logger(COMPONENT);
    ZEB_LOG_DEBUG2(
        logger, UNIT,
        Format("regex: Using regex \"%1\" with replacement \"%2\" on sed of file \"%3\" ",
               expression, replacement, fileName));
    unprivilegedSed(fileName, RegularExpression(expression, RegularExpression::EXTENDED_SYNTAX),
                    replacement);
}

}  // namespace ZEBNS2
