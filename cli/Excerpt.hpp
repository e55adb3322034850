#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zeb::cli {

/// `text` with all that could upset a terminal or is no UTF-8 written as \n, \r, \t or \xNN.
[[nodiscard]] std::string printable(std::string_view text);

/// Two lines that show a place: the printable text around it, and a caret below it.
/// @param offset 0-based byte offset of the place, at most the length of `text`
/// @param colored whether the caret gets a colour
///   excerpt("a(b", 1, false) == "  a(b\n   ^\n"
[[nodiscard]] std::string excerpt(std::string_view text, std::size_t offset, bool colored);

/// As much of the printable text's beginning as an excerpt shows.
[[nodiscard]] std::string shortened(std::string_view text);

/// One line with as much of the text's beginning, for a place that is not known.
[[nodiscard]] std::string beginning(std::string_view text);

}  // namespace zeb::cli
