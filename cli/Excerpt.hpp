#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zeb::cli {

/// `text` with control characters and invalid UTF-8 written as \n, \r, \t or \xNN.
[[nodiscard]] std::string printable(std::string_view text);

/// Two lines that show a place: the printable text around it, and a caret below it.
/// @param offset 0-based byte offset of the place, at most the length of `text`
/// @param colored whether the caret gets a colour
///   excerpt("a(b", 1, false) == "  a(b\n   ^\n"
[[nodiscard]] std::string excerpt(std::string_view text, std::size_t offset, bool colored);

/// The beginning of the printable text, as long as an excerpt.
[[nodiscard]] std::string shortened(std::string_view text);

/// One line with that beginning, for an unknown place.
[[nodiscard]] std::string beginning(std::string_view text);

}  // namespace zeb::cli
