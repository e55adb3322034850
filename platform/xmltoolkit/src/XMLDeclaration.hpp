#pragma once

#include <cstddef>
#include <string_view>

/// @file
/// What a document says of itself in its first bytes.

namespace zeb::xmltoolkit {

/// How the characters of a document are encoded, as far as its mark and declaration agree. All that
/// libexpat is left to find out for itself is `AS_DECLARED`.
enum class Encoding { AS_DECLARED, MARKED_UTF8, LATIN1, UTF16_BE, UTF16_LE };

/// @param xml not necessarily well-formed
[[nodiscard]] Encoding encodingOf(std::string_view xml) noexcept;

/// Whether an XML declaration may name the encoding `name` where `encoding` was found. For
/// `AS_DECLARED` it is for libexpat to say.
enum class Fit { FITS, DIFFERS, UNKNOWN };
[[nodiscard]] Fit fit(std::string_view name, Encoding encoding) noexcept;

/// Whether XML 1.0 knows the version: it has none but "1." and digits; libexpat 2.5 does not look.
[[nodiscard]] bool isVersion(std::string_view version) noexcept;

/// Whether the first quoted value of `xml`, which is not UTF-16, begins at the byte `at` and has
/// only characters that a version may have. When libexpat stops there, in the XML declaration, it
/// has refused a version that libexpat 2.5 accepts and hands to the handler.
[[nodiscard]] bool isVersionAt(std::string_view xml, std::size_t at) noexcept;

/// Where `xml`, which is not UTF-16 and has a well-formed XML declaration, names its encoding.
[[nodiscard]] std::size_t placeOfEncoding(std::string_view xml) noexcept;

}  // namespace zeb::xmltoolkit
