#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// @file
/// The difference between a text and its edited form.
///
/// Edits keep the order of lines, and one pass finds the difference of the two most common kinds:
/// as many lines as before, some of them changed, or some lines deleted and the others unchanged.
/// For all others there is the greedy algorithm of Myers (An O(ND) Difference Algorithm, 1986), up
/// to a number of edits at which its memory is 4 MB. The result is a list of steps through both
/// texts, from which the hunks are made.

namespace zeb::cli {

/// The changes of a text.
struct Difference {
    std::string unified;    ///< in the unified format of diff(1), with three lines of context
    std::size_t lines = 0;  ///< number of lines changed, removed or added
};

/// Compares two texts line by line. If the smallest difference would take long to find, a larger
/// one is given, which is also correct.
/// @param name of the file, for the header of the difference
[[nodiscard]] Difference differenceOf(std::string_view before, std::string_view after,
                                      std::string const& name, bool colored);

}  // namespace zeb::cli
