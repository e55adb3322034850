#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "XMLDocument.hpp"

namespace zeb::xmltoolkit {

/// Bytes passed to libexpat at once. It copies them into a buffer whose size it doubles and must
/// keep below INT_MAX, so pieces should be small. But after each piece except the last it counts
/// the lines, a sixth of the time, so most texts should be one piece.
inline constexpr std::size_t PIECE_SIZE = std::size_t{32} << 20;

/// Parses `xml` in pieces of `pieceSize` bytes.
/// @throws like XMLParserDOM::parse
std::shared_ptr<XMLDocument const> documentOf(std::string_view xml, std::size_t pieceSize);

}  // namespace zeb::xmltoolkit
