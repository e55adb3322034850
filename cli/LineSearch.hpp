#pragma once

#include <OrventoCommonRegex.hpp>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace zeb::cli {

/// The expressions of a search, of which one has to match.
class LineSearch {
public:
    using Options = ZEBNS2::RegularExpression::CompilationOptions;
    using Matches = ZEBNS2::Array<ZEBNS2::OffsetPair>;

    /// @param patterns that compile; of none nothing matches
    LineSearch(std::vector<std::string> const& patterns, Options options);

    /// Offsets of the leftmost match, of several the longest; (-1, -1) without one.
    /// @param line ends with a NUL
    [[nodiscard]] std::pair<int, int> first(char const* line) const;

    /// All matches in a line that are not empty.
    [[nodiscard]] Matches all(ZEBNS2::String const& line) const;

    /// The texts of the first match, of the first expression that matches, and of its groups.
    [[nodiscard]] ZEBNS2::StringArray groups(ZEBNS2::String const& line) const;

    /// A text without which no line matches; empty where none is known.
    [[nodiscard]] std::string const& required() const { return required_; }

    /// Whether some expression has groups.
    [[nodiscard]] bool hasGroups() const { return hasGroups_; }

private:
    /// The matches of one expression that begin at an offset or behind it.
    [[nodiscard]] static Matches allFrom(ZEBNS2::RegularExpression const& expression,
                                         ZEBNS2::String const& line, std::uint32_t from);

    std::vector<ZEBNS2::RegularExpression> expressions_;
    std::string required_;
    bool hasGroups_ = false;
};

}  // namespace zeb::cli
