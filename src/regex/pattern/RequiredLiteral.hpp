#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "PatternReader.hpp"

/// @file
/// The prefilter: a text that every match contains. Finding it in a line takes a tenth of the time
/// of regexec or less, and without it there is no match.
///
/// It is the longest run of literal characters that every match contains. For
/// "([a-z]+)=(id-)?[0-9]" that is "=", for "x(ab+)c" it is "xab". A fragment of the pattern has a
/// literal prefix, a literal suffix, and the longest literal that its texts contain; the suffix of
/// one joins the prefix of the next. Alternatives, sets and optional parts have none.
///
/// Invariant: each match of libc contains the literal. A pattern may have none.
///
/// Cost: linear in the pattern. Only the first MAX_LENGTH bytes are searched, which keeps the
/// search linear in the subject.

namespace ZEBNS2 {

class RequiredLiteral {
public:
    static constexpr std::size_t MAX_LENGTH = 32;

    /// No literal: everything may match.
    RequiredLiteral() = default;

    /// @param pattern that regcomp accepts, without REG_ICASE and for the current locale
    /// @throws std::bad_alloc
    RequiredLiteral(std::string_view pattern, PatternSyntax syntax);

    std::string_view text() const noexcept { return {bytes_.data(), length_}; }

    /// Whether the expression matches only this text and has no groups: the first occurrence is
    /// then the first match.
    bool isWhole() const noexcept { return isWhole_; }

    /// Offset of the first occurrence in `subject`, `std::string_view::npos` when there is none.
    std::size_t find(std::string_view subject) const noexcept;

private:
    std::array<char, MAX_LENGTH> bytes_{};
    std::size_t length_ = 0;
    std::size_t rarest_ = 0;  ///< offset in the text of its rarest byte
    bool isWhole_ = false;
};

}  // namespace ZEBNS2
