#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "PatternReader.hpp"

/// @file
/// The prefilter: a text that every match contains. Finding it in a line takes a tenth of the time
/// of regexec or less, and where it is missing there is no match.
///
/// It is the longest run of literal characters that no match can avoid. Of "([a-z]+)=(id-)?[0-9]"
/// that is "=", of "x(ab+)c" it is "xab". A fragment of the pattern has a literal that its texts
/// begin with, one that they end with, and the longest that they contain; the end of one and the
/// beginning of the next run together. Alternatives, sets and what may be left out have none.
///
/// Invariant: each match of libc contains the literal. A pattern may have none.
///
/// Cost: linear in the pattern, and in the subject for a search of it, as the literal is cut after
/// MAX_LENGTH bytes.

namespace ZEBNS2 {

class RequiredLiteral {
public:
    static constexpr std::size_t MAX_LENGTH = 32;

    /// None: everything may match.
    RequiredLiteral() = default;

    /// @param pattern that regcomp accepts, without REG_ICASE and for the current locale
    /// @throws std::bad_alloc
    RequiredLiteral(std::string_view pattern, PatternSyntax syntax);

    std::string_view text() const noexcept { return {bytes_.data(), length_}; }

    /// Whether the expression matches this text and nothing else, and has no groups: the first
    /// occurrence is the first match.
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
