#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zeb::cli {

/// What has become of a text.
struct Difference {
    std::string unified;    ///< in the unified format of diff(1), with three lines of context
    std::size_t lines = 0;  ///< how many lines changed, went or came
};

/// Compares two texts line by line. Where they differ in so much that the smallest difference
/// would take long to find, a larger one is given, which is as right.
/// @param name of the file, for the head of the difference
[[nodiscard]] Difference differenceOf(std::string_view before, std::string_view after,
                                      std::string const& name, bool colored);

}  // namespace zeb::cli
