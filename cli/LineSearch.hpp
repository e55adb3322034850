#pragma once

#include <OrventoCommonRegex.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zeb::cli {

/// The expressions of a search, one of which must match.
class LineSearch {
public:
    using Options = ZEBNS2::RegularExpression::CompilationOptions;
    using Matches = ZEBNS2::Array<ZEBNS2::OffsetPair>;

    /// @param patterns that compile; without any nothing matches
    LineSearch(std::vector<std::string> const& patterns, Options options);

    /// Offsets of the leftmost match, of several the longest; (-1, -1) without one.
    /// @param line ends with a NUL
    [[nodiscard]] std::pair<int, int> first(char const* line) const;

    /// All matches in a line that are not empty.
    /// @param line is followed by a NUL
    /// @param first the result of `first` for it, not (-1, -1)
    [[nodiscard]] Matches all(std::string_view line, std::pair<int, int> const& first) const;

    /// The texts of the first match, of the first expression that matches, and of its groups.
    [[nodiscard]] ZEBNS2::StringArray groups(ZEBNS2::String const& line) const;

    /// Whether lines that cannot match are found without the expressions, by `nextCandidate`.
    [[nodiscard]] bool canSkip() const { return !required_.empty(); }

    /// The first place from `begin` on, before `end`, with the bytes that every matching line
    /// contains; `end` when there is none. No NUL is before `end`.
    [[nodiscard]] char const* nextCandidate(char const* begin, char const* end) const;

    /// Whether a candidate is a match, whose offsets `literalAt` returns.
    [[nodiscard]] bool isLiteral() const { return literal_; }
    [[nodiscard]] std::pair<int, int> literalAt(int begin) const {
        return {begin, begin + static_cast<int>(required_.size())};
    }

    /// Whether some expression has groups.
    [[nodiscard]] bool hasGroups() const { return hasGroups_; }

private:
    void require(std::string const& literal, Options options);
    [[nodiscard]] char const* nextInEitherCase(char const* begin, char const* end) const;

    [[nodiscard]] Matches allLiteral(std::string_view line, std::size_t from) const;

    std::vector<ZEBNS2::RegularExpression> expressions_;
    std::string required_;  ///< bytes without which no line matches; empty when unknown
    bool literal_ = false;  ///< whether the required bytes are the whole of the one expression
    bool anyCase_ = false;  ///< whether their letters, which are small, may be of either case
    std::array<std::size_t, 0x100> shifts_{};  ///< for `nextInEitherCase`
    bool hasGroups_ = false;
};

}  // namespace zeb::cli
