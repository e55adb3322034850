#pragma once

#include <algorithm>
#include <optional>
#include <string_view>

#include "GroupSearch.hpp"
#include "Lines.hpp"
#include "SedCommand.hpp"

/// @file
/// Applies sed commands to the lines of a text. A part of Sed.cpp, like SedCommand.hpp.

namespace ZEBNS2 {
// Included by one source.
namespace {  // NOLINT(cert-dcl59-cpp): the log records the signatures

/// A format filled from an array: `%0` is its first element. A placeholder without an element is
/// removed.
class ArrayFormat : public Format {
public:
    /// @tparam Arguments an Array<String>, or another list of texts
    template <typename Arguments>
    ArrayFormat(String const& format, Arguments const& arguments) {
        std::string_view text = format;
        std::size_t const count = arguments.size();
        std::size_t const highest = count == 0 ? 0 : count - 1;
        while (!text.empty()) {
            std::size_t const index = process(text, 0, highest, CONSUME_PLACEHOLDER);
            if (index < count) {
                put(arguments[index]);
            }
        }
    }
};

/// What `getAllSubstrings` gives for the match found last, without copies.
class GroupTexts {
public:
    GroupTexts(std::string_view subject, RegularExpression::Search const& search) noexcept
        : subject_(subject), search_(search) {}

    std::size_t size() const noexcept { return search_.groupCount(); }
    std::string_view operator[](std::size_t index) const noexcept {
        return textOf(subject_, search_.group(index));
    }

private:
    std::string_view subject_;
    RegularExpression::Search const& search_;
};

/// An expression and the replacement for its matches.
class Replacer {
public:
    /// @param replacement template for ArrayFormat
    Replacer(RegularExpression const& expression, String const& replacement)
        : replacement_(replacement),
          isLiteral_(replacement.indexOf('%') == String::npos),
          search_(expression) {}

    /// Whether there is a match in `subject`, which contains no NUL.
    bool find(std::string_view subject) noexcept { return search_.find(subject); }

    /// What every match contains.
    RequiredLiteral requiredLiteral() const noexcept { return search_.requiredLiteral(); }

    /// The match found last.
    OffsetPair match() const noexcept { return search_.match(); }

    String const& replacement() const noexcept { return replacement_; }
    /// Whether the replacement is the same for every match.
    bool isLiteral() const noexcept { return isLiteral_; }

    /// The replacement for the match found last, in `subject`; valid until the next call.
    String const& text(std::string_view subject) {
        if (isLiteral_) {
            return replacement_;
        }
        expanded_ = ArrayFormat(replacement_, GroupTexts(subject, search_));
        return expanded_;
    }

private:
    String const& replacement_;
    bool isLiteral_;
    String expanded_;
    /// Searches with groups even if the replacement uses none: some expressions, such as `(^a)+`,
    /// match in libc only as long as it is not asked for groups.
    RegularExpression::Search search_;
};

/// Appends `text` with its first match replaced; appends nothing when there is none.
/// @param visible `text` up to its first NUL
/// @return whether there is a match
inline bool appendWithReplacement(StringBuffer& out, std::string_view text,
                                  std::string_view visible, Replacer& replacer) {
    if (!replacer.find(visible)) {
        return false;
    }
    auto const [start, end] = replacer.match();
    out.append(text.substr(0, start));
    out.append(replacer.text(text));
    out.append(text.substr(end));
    return true;
}

/// The literal without which lines are skipped; no text if each line is logged.
inline RequiredLiteral skippingLiteral(Logger const& logger, RequiredLiteral const& required) {
    return logger.getLogLevel() >= Logger::DEBUG3_LEVEL ? RequiredLiteral() : required;
}

/// `text` with a literal text replaced by another, without splitting it into lines; nothing if that
/// could give another result. Shares `text` when the literal does not occur.
/// @param required what `skippingLiteral` gives for `replacer`
/// @param all all occurrences, or the first of each line
inline std::optional<String> replacedAtOnce(String const& text, RequiredLiteral const& required,
                                            Replacer const& replacer, bool all) {
    std::string_view const bytes = text;
    std::string_view const wanted = required.text();
    // In lines with a NUL not all occurrences are visible.
    if (!required.isWhole() || !replacer.isLiteral() || wanted.find('\n') != String::npos ||
        bytes.size() > RegularExpression::MAX_SUBJECT_LENGTH || bytes.find('\0') != String::npos) {
        return std::nullopt;
    }
    StringBuffer replaced(bytes.size());
    std::size_t done = 0;
    std::size_t from = 0;
    for (;;) {
        std::size_t const found = required.find(bytes.substr(from));
        if (found == String::npos) {
            return done == 0 ? text : replaced.append(bytes.substr(done)).releaseString();
        }
        replaced.append(bytes.substr(done, from + found - done)).append(replacer.replacement());
        done = from + found + wanted.size();
        from = all ? done : std::min(bytes.find('\n', done), bytes.size());
    }
}

inline String doSedDelete(String const& text, String const& /*sedString*/,
                          RegularExpression::CompilationOptions options, SedOperationMode /*mode*/,
                          String const& expression) {
    Logger const logger(COMPONENT);
    ZEB_LOG_DEBUG3(logger, UNIT,
                   Format("regex: Performing sed delete for all single lines matching \"%1\" in "
                          "\"%2\"",
                          expression, text));
    RegularExpression const compiled(expression, options);
    RegularExpression::Search search(compiled, 1);
    RequiredLiteral const required = skippingLiteral(logger, search.requiredLiteral());
    LineWriter kept(text.length());
    for (LineReader lines(text, required); lines.next();) {
        if (!lines.isBlock() && search.find(lines.visible())) {
            ZEB_LOG_DEBUG3(
                logger, UNIT,
                Format("regex: Deleting line (%1) \"%2\"", lines.number(), lines.line()));
        } else {
            kept.addLine(lines.line());
        }
    }
    return kept.releaseText();
}

inline String doSedDeleteRange(String const& text, String const& /*sedString*/,
                               RegularExpression::CompilationOptions options,
                               SedOperationMode /*mode*/, String const& startExpression,
                               String const& endExpression) {
    Logger const logger(COMPONENT);
    ZEB_LOG_DEBUG3(logger, UNIT,
                   Format("regex: Performing sed delete for all lines between \"%1\" and \"%2\" in "
                          "\"%3\"",
                          startExpression, endExpression, text));
    RegularExpression const compiledStart(startExpression, options);
    RegularExpression const compiledEnd(endExpression, options);
    RegularExpression::Search start(compiledStart, 1);
    RegularExpression::Search end(compiledEnd, 1);
    RequiredLiteral const required = skippingLiteral(logger, start.requiredLiteral());
    LineWriter kept(text.length());
    bool mayStart = true;
    for (LineReader lines(text, required); lines.next();) {
        if (lines.isBlock() || !mayStart || !start.find(lines.visible())) {
            kept.addLine(lines.line());
            continue;
        }
        LineReader ahead = lines.withoutBlocks();
        bool ended = false;
        while (!ended && ahead.next()) {
            ended = end.find(ahead.visible());
        }
        if (ended) {
            ZEB_LOG_DEBUG3(logger, UNIT,
                           Format("regex: Deleting between line %1 (%2) and line %3 (%4)",
                                  lines.number(), lines.line(), ahead.number(), ahead.line()));
            lines.moveTo(ahead);
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

/// Replaces the matches in the rest of a line after its first match; each rest is searched as a
/// line of its own.
/// @param visible of the line, up to its first NUL
/// @param position end of the first match
/// @param function whose signature the messages carry
/// @return offset of the trailing text
inline std::size_t replaceFurtherMatches(StringBuffer& edited, std::string_view line,
                                         std::string_view visible, std::size_t position,
                                         Replacer& replacer, Logger const& logger,
                                         char const* function) {
    std::size_t matchEnd = position;
    std::size_t seenEnd = visible.size();
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
            // An empty match directly after the previous one. Without a step the loop would not
            // end.
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
        String const& expanded = replacer.text(rest);
        ZEB_LOG_AS(logger, DEBUG3, UNIT, function,
                   Format("regex: Adding inner match replacement text (%1-%2) for \"%3\" to \"%4\"",
                          start, end, replacer.replacement(), expanded));
        edited.append(expanded);
        position = end;
        matchEnd = end;
    }
}

inline String doSedSearch(String const& text, String const& /*sedString*/,
                          RegularExpression::CompilationOptions options, SedOperationMode mode,
                          String const& searchExpression, String const& replacement) {
    Logger const logger(COMPONENT);
    RegularExpression const compiled(searchExpression, options);
    Replacer replacer(compiled, replacement);
    RequiredLiteral const required = skippingLiteral(logger, replacer.requiredLiteral());
    if (auto const replaced =
            replacedAtOnce(text, required, replacer, /*all=*/mode == SED_GLOBAL_SEARCH)) {
        return *replaced;
    }
    LineWriter result(text.length());
    for (LineReader lines(text, required); lines.next();) {
        std::string_view const line = lines.line();
        ZEB_LOG_DEBUG3(
            logger, UNIT,
            Format("regex: Applying sed search \"%1\" to line \"%2\"", searchExpression, line));
        if (lines.isBlock() || !replacer.find(lines.visible())) {
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
        String const& expanded = replacer.text(line);
        ZEB_LOG_DEBUG3(logger, UNIT,
                       Format("regex: Adding match replacement text (%1-%2) for \"%3\" to \"%4\"",
                              start, end, replacement, expanded));
        edited.append(expanded);
        std::size_t const position =
            mode == SED_GLOBAL_SEARCH ? replaceFurtherMatches(edited, line, lines.visible(), end,
                                                              replacer, logger, __PRETTY_FUNCTION__)
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

}  // namespace
}  // namespace ZEBNS2
