#pragma once

#include <zeb/foundation/Array.hpp>
#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/Export.hpp>
#include <zeb/foundation/String.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

/// @file
/// Regular expressions over strings and lines, and sed-style editing of texts and files.
///
/// The expressions are those of the C library (`regcomp`, `regexec`), so these rules apply to
/// everything below:
/// - Offsets are bytes, 0-based; ends are exclusive.
/// - The C library sees a pattern and a subject up to its first NUL byte. What follows a NUL is
///   neither compiled nor searched, but it is kept wherever a text is copied.
/// - A subject is at most `RegularExpression::MAX_SUBJECT_LENGTH` bytes up to its first NUL;
///   nothing is found in a longer one.
/// - Letter case, character classes and multi-byte characters are those of the locale that is set
///   while compiling and while matching; both must be the same. In a UTF-8 locale a stray byte such
///   as FF is matched neither by `.` nor by `[^x]`.
/// - The leftmost match wins; of several that start there, the longest.
/// - Most expressions are searched in time linear in the subject. Where only the C library can
///   answer, its time counts: quadratic for some expressions, and worse with back-references.
/// - A pattern does not compile when it would make the C library crash, loop forever, exhaust all
///   memory, or, with back-references, take more than a second on 64 bytes: the reason is the C
///   library's for exhausted memory. Most such patterns are of no practical use, such as groups
///   nested more than 100 deep or more than 50,000 nodes. The others concern back-references. The C
///   library tries every way to use them, so they may leave few choices open: how long their group
///   is, where it is, how far after it they are.
///   `(.+)\1{1,4}` and `.*(.).*\1` pass, `(.+)\1{1,9}` and `.*(.).*\1.*\1` do not. An unlimited
///   repeat may contain a back-reference only if it leaves no choice: `(.)\1+` and `([a-z]+)( \1)+`
///   pass, `(.+)\1+` and `.*(.)\1+` do not. Between such a group and its back-reference must be no
///   repeat that can take one text in many ways, as in `(.+)(a+)*\1` (write `(.+)a*\1`). A
///   back-reference next to a nullable unlimited repeat does not pass if both can take
///   the same characters, as in `(.)([a-z]*)*\1` (write `(.)[a-z]*\1`).
/// - The C library keeps the states it has built, so the object's memory grows with the pattern and
///   the texts searched. When the states may exceed 64 MiB, the object is compiled again and starts
///   without them, unless its latest compilation was less than 20 milliseconds ago or took more
///   than an eighth of the time since, or the locale has changed. One search has no such limit.
/// - When memory is exhausted during a search, nothing is found, and the next search compiles the
///   object again. With back-references the C library itself may crash when an allocation of its
///   search fails.
/// - For an expression with an unlimited repeat of a back-reference, such as `(.)\1+`, the C
///   library takes 512 bytes of stack for each byte of the subject; subjects of more than 32 bytes
///   are searched on a stack of that size, allocated for the search. Nothing is found when that
///   stack cannot be allocated or would exceed 1 GiB (256 MiB in a 32-bit process). Patterns such
///   as a list of 1,500 alternatives are compiled on a stack of 1 MiB, and do not compile without
///   it. A thread with 256 KiB of stack suffices for every expression.

namespace ZEBNS2 {

using zeb::foundation::Array;
using zeb::foundation::String;
using zeb::foundation::StringArray;

/// Offsets of a match in its subject: its first byte, and the byte after its last.
using OffsetPair = std::pair<std::uint32_t, std::uint32_t>;

/// A regular expression that does not compile; the message says why. It ends at its first NUL, like
/// all texts of a `zeb::foundation::Exception`, which also states the costs.
///
/// @par Thread safety one object may be read by several threads at once. Copying never throws.
class ZEB_EXPORT RegularExpressionException : public zeb::foundation::Exception {
public:
    /// The source unit recorded by the library's own throw.
    static constexpr char SOURCE_UNIT[] = "OrventoCommonRegex";
    /// The line recorded by the library's own throw.
    static constexpr int SOURCE_LINE = 136;

    /// The arguments of `zeb::foundation::Exception`, passed on unchanged.
    RegularExpressionException(char const* file, int line, char const* message, int subclassCode,
                               zeb::foundation::Exception const* chained, int errorCode);
    ~RegularExpressionException() noexcept override;
    /// "RegularExpressionException"
    [[nodiscard]] char const* type() const noexcept override;
    [[nodiscard]] RegularExpressionException* clone() const noexcept override;
    [[noreturn]] void rethrow() const override;
};

/// A pattern, its options and the expression compiled from them.
///
/// An object whose pattern failed to compile, or that was made from a null pointer, has no compiled
/// expression: it can be used, but it matches nothing.
///
/// A copy compiles the pattern again, so it costs as much as the first compilation and may throw
/// the same way. That includes an object without a compiled expression: the copy of one made from a
/// null pointer has the empty pattern, which matches everything, and the copy of a failed one fails
/// again.
///
/// @par Complexity constructors and assignment cost what `replace` does, the accessors nothing,
///   and all else one search unless said otherwise.
/// @par Thread safety any number of threads may call the const operations of one object. Those that
///   the C library serves wait for one another: the first few, and all of a pattern with
///   back-references or word anchors. `replace`, assignment and destruction need exclusive access.
class ZEB_EXPORT RegularExpression {
public:
    /// How a pattern is compiled: a sum of the constants below. Other bits are ignored.
    using CompilationOptions = unsigned int;
    static constexpr CompilationOptions EXTENDED_SYNTAX = 0;   ///< POSIX extended syntax
    static constexpr CompilationOptions BASIC_SYNTAX = 1;      ///< POSIX basic syntax
    static constexpr CompilationOptions CASE_INSENSITIVE = 2;  ///< letter case is ignored
    /// A newline is no ordinary character. Neither `.` nor `[^x]` matches it, and `^` and `$` also
    /// match after and before it.
    static constexpr CompilationOptions NO_NEWLINE = 4;

    /// Match slots that `all_matches` passes to the C library.
    static constexpr std::size_t MAX_MATCH_SLOTS = 102400;

    /// Longest subject in bytes: 1 GiB. The C library's offsets are 32-bit integers and unreliable
    /// near their limit.
    static constexpr std::size_t MAX_SUBJECT_LENGTH = std::size_t{1} << 30;

    /// Compiles `pattern`.
    /// @param options constants of this class, never flags of `regcomp`: `REG_EXTENDED` is 1, which
    ///   means `BASIC_SYNTAX` here; that `REG_ICASE` equals `CASE_INSENSITIVE` is a coincidence
    /// @throws RegularExpressionException when it does not compile, std::bad_alloc
    explicit RegularExpression(String const& pattern, CompilationOptions options);
    /// Compiles `pattern`, bytes up to a NUL. When it is null nothing is compiled: the object has
    /// an empty pattern and options 0, and matches nothing.
    /// @throws RegularExpressionException when it does not compile, std::bad_alloc
    explicit RegularExpression(char const* pattern, CompilationOptions options);
    /// Compiles the pattern of `other` with its options.
    /// @throws RegularExpressionException when it does not compile, std::bad_alloc
    RegularExpression(RegularExpression const& other);
    /// Calls `replace` with the pattern and options of `other`; assigning an object to itself does
    /// nothing.
    /// @throws RegularExpressionException, std::bad_alloc and leaves this object as `replace` does
    RegularExpression& operator=(RegularExpression const& other);
    ~RegularExpression();

    /// Compiles another pattern in place of the present one.
    /// @throws RegularExpressionException when it does not compile; the object then has the new
    ///   pattern and options, no compiled expression, and matches nothing. The message is
    ///   `Error creating regular expression: REASON  The faulty expression (OPTIONS) is: "PATTERN"`
    ///   with the C library's reason and, for instance, `basic|case insensitive|no newline`.
    /// @throws std::bad_alloc with the object in the same state
    /// @par Complexity the C library's, which grows steeply for nested and counted repetitions
    void replace(String const& pattern, CompilationOptions options);

    /// The pattern last given, compiled or not, with all its bytes.
    [[nodiscard]] String const& getPattern() const noexcept { return pattern_; }
    /// The options last given.
    [[nodiscard]] CompilationOptions getOptions() const noexcept { return options_; }

    /// @name One match
    /// @{

    /// Whether the expression matches anywhere in `subject`; an empty match counts.
    [[nodiscard]] bool matches(String const& subject) const noexcept;

    /// The text of the first match.
    /// @return a part of `subject`; empty when nothing matches, and when the match is empty
    /// @throws std::bad_alloc
    [[nodiscard]] String matching_substring(String const& subject) const;

    /// The offsets of the first match.
    /// @param subject bytes up to a NUL; null matches nothing
    /// @return start and end; (-1, -1) when nothing matches
    /// ```cpp
    /// RegularExpression("abc", 0).first_match("xxabc") == std::pair(2, 5)
    /// ```
    [[nodiscard]] std::pair<int, int> first_match(char const* subject) const noexcept;

    /// @}

    /// @name All matches in one subject
    /// None of these reports an error: without a compiled expression and without a match the result
    /// is empty.
    /// @throws std::bad_alloc
    /// @{

    /// The first match, then each of its groups in order of their opening parentheses.
    ///
    /// The first group that took no part in the match ends the list, even when later ones did, as
    /// `(b)` does in the example. The offsets are the C library's, which are wrong for some
    /// repeated back-references: the end of a group may be before its start, or 4294967295 (`ba`
    /// against `.*(\B)(a\1+)`).
    /// @par Complexity one search, and memory for `MAX_MATCH_SLOTS` pairs while it runs
    /// ```cpp
    /// RegularExpression const expression("((a)|(x))(b)", 0);
    /// expression.all_matches("ab") == Array<OffsetPair>{{0, 2}, {0, 1}, {0, 1}}
    /// ```
    [[nodiscard]] Array<OffsetPair> all_matches(String const& subject) const;

    /// Successive matches of the whole expression from left to right, without overlap; a text that
    /// occurs several times is listed each time.
    ///
    /// `^` never matches at the start of the subject here, and each search begins where the last
    /// match ended, as if the subject began there. An empty match where a search began is listed
    /// and ends the list. Nothing is found in an empty subject.
    /// ```cpp
    /// using Pairs = Array<OffsetPair>;
    /// RegularExpression("a", 0).all_unique_matches("aaa") == Pairs{{0, 1}, {1, 2}, {2, 3}}
    /// RegularExpression("^a", 0).all_unique_matches("aaa").empty()
    /// RegularExpression(R"(\>)", 0).all_unique_matches("ab cd") == Pairs{{2, 2}, {5, 5}}
    /// RegularExpression("a*", 0).all_unique_matches("b") == Pairs{{0, 0}}
    /// ```
    /// @par Complexity one search for each match
    [[nodiscard]] Array<OffsetPair> all_unique_matches(String const& subject) const;

    /// The texts of `all_matches`.
    /// @par Complexity one search, and memory for the groups that the expression has
    [[nodiscard]] Array<String> all_matching_substrings(String const& subject) const;

    /// The texts of `all_unique_matches`.
    /// ```cpp
    /// RegularExpression expression("b.", 0);
    /// expression.all_unique_matching_substrings("abcabc") == StringArray{"bc", "bc"}
    /// ```
    [[nodiscard]] Array<String> all_unique_matching_substrings(String const& subject) const;

    /// @}

    /// @name Lines
    /// Each element of `lines` is a subject of its own; elements are neither split nor joined. Line
    /// numbers are 0-based indexes into `lines`.
    /// @throws std::bad_alloc
    /// @par Complexity one search for each line
    /// @{

    /// For each line its `all_matching_substrings`: one element for each line, empty where nothing
    /// matches.
    [[nodiscard]] Array<Array<String>> all_matching_substrings(Array<String> const& lines) const;

    /// For each line its `all_unique_matching_substrings`: one element for each line, empty where
    /// nothing matches.
    [[nodiscard]] Array<Array<String>> all_unique_matching_substrings(
        Array<String> const& lines) const;

    /// For each line its `matching_substring`: one element for each line, empty where nothing
    /// matches.
    [[nodiscard]] Array<String> matching_substring(Array<String> const& lines) const;

    /// The matched text of the first line that matches, even when that match is empty; empty when
    /// no line matches.
    [[nodiscard]] String first_matching_substring(Array<String> const& lines) const;

    /// The lines whose first match is not empty, in order. A line whose first match is empty (any
    /// line against `^`) is left out.
    [[nodiscard]] Array<String> all_matching_lines(Array<String> const& lines) const;

    /// The lines that do not match at all, in order. A line whose first match is empty does match,
    /// so it is neither here nor in `all_matching_lines`. Without a compiled expression there are
    /// none.
    [[nodiscard]] Array<String> non_matching_lines(Array<String> const& lines) const;

    /// The numbers of the lines that match, ascending; a line with an empty match counts.
    [[nodiscard]] Array<unsigned int> find_matching_line_numbers(Array<String> const& lines) const;

    /// @}

    /// @name Patterns from plain text and wildcards
    /// Pure functions that work byte by byte in every locale and accept every text. A byte that is
    /// not named here, NUL included, is copied unchanged. Of the options only `BASIC_SYNTAX` has an
    /// effect.
    /// @throws std::bad_alloc
    /// @par Complexity linear. @par Thread safety reentrant.
    /// @{

    /// Makes the operators in `text` literal. A backslash goes before each of
    /// `$ ( ) * + , . ? [ ] ^ { | }` and each backslash. With `BASIC_SYNTAX` only backslashes are
    /// escaped, although some of the others are operators there too.
    /// ```cpp
    /// using Expression = RegularExpression;
    /// Expression::escapeRegexSpecialCharacters("x.y*z", 0) == R"(x\.y\*z)"
    /// Expression::escapeRegexSpecialCharacters("x.y*z", Expression::BASIC_SYNTAX) == "x.y*z"
    /// ```
    [[nodiscard]] static String escapeRegexSpecialCharacters(String const& text,
                                                             CompilationOptions options);

    /// An expression for whole subjects from a wildcard: `*` means any text, `?` any one character
    /// of the locale, and a backslash itself. The other operators of `escapeRegexSpecialCharacters`
    /// are treated as there.
    /// ```cpp
    /// using Expression = RegularExpression;
    /// String const wildcard = R"(logs\*.txt)";
    /// Expression::convertWin32WildcardExpression(wildcard, 0) == R"(^logs\\.*\.txt$)"
    /// Expression::convertWin32WildcardExpression(wildcard, 1) == R"(^logs\\.*.txt$)"
    /// Expression::convertWin32WildcardExpression("", 0) == "^$"
    /// ```
    [[nodiscard]] static String convertWin32WildcardExpression(String const& wildcard,
                                                               CompilationOptions options);

    /// @}

    // ---------------------------------------------------------------- not API

    class Search;  ///< for the library's own use

private:
    class Compiled;

    String pattern_;
    CompilationOptions options_;
    std::unique_ptr<Compiled const> compiled_;
};

/// `expression.matches(subject)` as a function.
/// @par Complexity one search. @par Thread safety as of `RegularExpression`.
[[nodiscard]] ZEB_EXPORT bool regex_matches(RegularExpression const& expression,
                                            String const& subject) noexcept;

/// @name Editing in the manner of sed
/// `realSed` and `unprivilegedSed` log what they do under the component "zeb.common.regex", to the
/// process's default appender; what the appender throws reaches the caller.
/// @par Thread safety reentrant; two edits of one file must not overlap.
/// @{

/// Applies one sed command to a text.
///
/// The text is split into lines at each newline; after a final newline there is one more, empty
/// line. The empty text has no lines. The commands are:
///
/// | Command            | What it does to the lines                                              |
/// |--------------------|------------------------------------------------------------------------|
/// | `s/EXPR/TEXT/`     | replaces the first match in each line; the last `/`, or two, may lack  |
/// | `s/EXPR/TEXT/g`    | replaces every match in each line; what follows the `g` is ignored     |
/// | `/EXPR/d`          | deletes each line that matches                                         |
/// | `/FROM/,/TO/d`     | deletes from a line that matches FROM to the next one that matches TO  |
///
/// In `s` the byte after the `s` is the delimiter, whichever byte it is, and a backslash does not
/// protect it. In TEXT `\0` is the whole match, `\1` to `\9` are its groups (nothing, for one that
/// `RegularExpression::all_matches` does not list), `\\` is a backslash; a backslash before any
/// other byte stays, with that byte, and ends TEXT: what follows is taken for the flag, so
/// `s/a/\t/` is no command. TEXT may contain NUL bytes.
///
/// Delete commands have no blanks around them, and no `/` within an expression; they end at their
/// first NUL. The expressions that recognise them are compiled at the first command of that kind,
/// in the locale of that moment; if that is a UTF-8 locale, a command with a stray byte is not
/// recognised.
///
/// A range without an end deletes nothing. After a range the search for FROM continues; the line
/// that begins a range never ends it.
///
/// With `g` the rest of the line after a match is searched as if it were a line of its own, so `^`
/// matches there again. An empty match directly after the previous match is not replaced: one byte,
/// NUL included, is copied, and the search continues after it.
/// ```cpp
/// realSed("aaa", "s/^a/b/g", 0) == "bbb"
/// realSed("abc", "s/b*/X/g", 0) == "XaXcX"
/// realSed("abc", "s/^/X/g", 0) == "XaXbXcX"
/// ```
///
/// @param options how the expressions of the command are compiled
/// @return the edited text; empty when the command is none of the above
/// @throws RegularExpressionException when an expression of the command does not compile, even for
///   an empty text; std::bad_alloc
/// @par Complexity one search for each line and replacement, otherwise linear in text and result
/// ```cpp
/// realSed("x=1", "s/([a-z]+)=([0-9]+)/\\2=\\1/", 0) == "1=x"
/// realSed("x\ny\nx", "/x/d", 0) == "y"
/// realSed("x", "", 0) == ""
/// ```
[[nodiscard]] ZEB_EXPORT String realSed(String const& text, String const& sedString,
                                        RegularExpression::CompilationOptions options);

/// Replaces the first match in a text, which is not split into lines.
/// @param replacement the new text, in which `%0` is the whole match, `%1` to `%9` are its groups
///   (nothing, for one that `RegularExpression::all_matches` does not list), `%%` is a percent
///   sign; any other `%` is literal, and so is NUL
/// @return the edited text; `text` itself when nothing matches
/// @throws std::bad_alloc
/// @par Complexity one search, otherwise linear in text and result
[[nodiscard]] ZEB_EXPORT String sed(String const& text, RegularExpression const& expression,
                                    String const& replacement);

/// The same with an expression in extended syntax.
/// @throws RegularExpressionException when `expression` does not compile, std::bad_alloc
/// @par Complexity compiling and one search, otherwise linear in text and result
/// ```cpp
/// sed("key=value", "([a-z]+)=(.*)", "%2:%1") == "value:key"
/// sed("aaa", "a", "b") == "baa"
/// ```
[[nodiscard]] ZEB_EXPORT String sed(String const& text, String const& expression,
                                    String const& replacement);

/// Applies `sed` to each line of a file and writes the file back in place, with the rights of the
/// caller. The file keeps its final newline or the lack of one, unless the expression matches the
/// empty line after it. A symbolic link is followed.
///
/// All checks come first, and the new contents are complete in memory before the file is opened for
/// writing, which empties it. Failures after that are not reported: when the file cannot be opened
/// it is unchanged; when writing fails midway it is left short.
///
/// @param fileName path as the system takes it; one that contains a NUL byte names no file
/// @param replacement as for `sed`
/// @throws zeb::foundation::FileSystemException when the file does not exist, is not a regular one,
///   cannot be written by the effective user or cannot be read; the file is unchanged
/// @throws std::bad_alloc with the file unchanged
/// @par Complexity one search for each line, otherwise linear; old and new contents in memory
ZEB_EXPORT void unprivilegedSed(String const& fileName, RegularExpression const& expression,
                                String const& replacement);

/// The same with an expression in extended syntax.
/// @throws RegularExpressionException when `expression` does not compile; otherwise as above. The
///   expression is compiled before anything is read.
/// @par Complexity compiling, and then as above
ZEB_EXPORT void unprivilegedSed(String const& fileName, String const& expression,
                                String const& replacement);

/// @}

}  // namespace ZEBNS2
