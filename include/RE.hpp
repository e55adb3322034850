#pragma once

#include <regex.h>

#include <zeb/foundation/Array.hpp>
#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/Export.hpp>
#include <zeb/foundation/String.hpp>

/// @file
/// Wildcards with digits, and a check that a pattern compiles.

namespace ZEBNS2 {

using zeb::foundation::Array;
using zeb::foundation::String;
using zeb::foundation::StringArray;

/// A pattern that does not compile. The message is the C library's, the subclass code the result of
/// `regcomp`. Cost and NUL bytes are as for `zeb::foundation::Exception`.
///
/// @par Thread safety one object may be read by several threads at once. Copying never throws.
class ZEB_EXPORT BadRegexException : public zeb::foundation::Exception {
public:
    /// The source unit recorded by the library's own throw.
    static constexpr char SOURCE_UNIT[] = "RE";
    /// The line recorded by the library's own throw.
    static constexpr int SOURCE_LINE = 24;

    /// The arguments of `zeb::foundation::Exception`, passed on unchanged.
    BadRegexException(char const* file, int line, char const* message, int subclassCode,
                      zeb::foundation::Exception const* chained, int errorCode);
    ~BadRegexException() noexcept override;
    /// "BadRegexException"
    [[nodiscard]] char const* type() const noexcept override;
    [[nodiscard]] BadRegexException* clone() const noexcept override;
    [[noreturn]] void rethrow() const override;
};

/// A pattern that is known to compile in extended syntax. It has no match operation; see
/// `RegularExpression` for a class that has. The pattern ends at its first NUL; the locale that is
/// set while it is compiled decides on the names of classes and on multi-byte characters.
/// @par Complexity the C library's, which grows steeply for nested and counted repetitions.
/// @par Thread safety one object may be read by several threads at once.
class ZEB_EXPORT RE {
public:
    /// Compiles `pattern`.
    /// @param pattern bytes up to a NUL; null is the empty pattern
    /// @param flags flags of `regcomp` such as `REG_ICASE`; `REG_EXTENDED` is always added
    /// @throws BadRegexException when it does not compile, std::bad_alloc. A pattern that the C
    ///   library would not survive does not compile either; its subclass code is `REG_ESPACE`; see
    ///   OrventoCommonRegex.hpp.
    explicit RE(char const* pattern, int flags);
    RE(RE const&) = delete;
    RE& operator=(RE const&) = delete;
    ~RE();

    /// The pattern as it was passed.
    [[nodiscard]] String getOriginalExpression() const noexcept { return pattern_; }

    // ---------------------------------------------------------------- not API

private:
    String pattern_;
    regex_t compiled_;
};

/// An expression in extended syntax, for whole subjects, from a wildcard.
///
/// | In the wildcard                      | In the expression                                     |
/// |--------------------------------------|-------------------------------------------------------|
/// | `#`                                  | `[[:digit:]]`, one digit                              |
/// | `*`                                  | `.*`, any text                                        |
/// | `?`                                  | `.`, any one character                                |
/// | a backslash and another byte         | both unchanged, so that `\*` means an asterisk       |
/// | a backslash at the end               | two backslashes                                       |
/// | one of `$ ( ) + . [ ] ^ {` `|` `}`   | a backslash and the byte                              |
/// | any other byte, NUL too              | the byte                                              |
///
/// @return the expression, with `^` before and `$` after it; `^$` for the empty wildcard
/// @throws std::bad_alloc
/// @par Complexity linear; the locale has no influence. @par Thread safety reentrant.
/// ```cpp
/// wild2re("ab#?") == "^ab[[:digit:]].$"
/// wild2re(R"(a\*)") == R"(^a\*$)"
/// ```
[[nodiscard]] ZEB_EXPORT String wild2re(String const& wildcard);

}  // namespace ZEBNS2
