#pragma once

#include <cstddef>
#include <string_view>

/// @file
/// Encoding and version of a document, from its first bytes.

namespace zeb::xmltoolkit {

/// The encoding of a document by its mark and declaration. `AS_DECLARED` leaves the decision to
/// libexpat.
enum class Encoding { AS_DECLARED, MARKED_UTF8, LATIN1, UTF16_BE, UTF16_LE };

/// @param xml not necessarily well-formed
[[nodiscard]] Encoding encodingOf(std::string_view xml) noexcept;

/// Whether an XML declaration may name the encoding `name` in a document in `encoding`. For
/// `AS_DECLARED` libexpat decides.
enum class Fit { FITS, DIFFERS, UNKNOWN };
[[nodiscard]] Fit fit(std::string_view name, Encoding encoding) noexcept;

/// Whether XML 1.0 allows the version: only "1." and digits; libexpat 2.5 does not check.
[[nodiscard]] bool isVersion(std::string_view version) noexcept;

/// Whether the first quoted value of `xml`, which is not UTF-16, begins at the byte `at` and has
/// only characters that a version may have. When libexpat stops there, in the XML declaration, it
/// has refused a version that libexpat 2.5 accepts and passes to the handler.
[[nodiscard]] bool isVersionAt(std::string_view xml, std::size_t at) noexcept;

/// Where `xml`, which is not UTF-16 and has a well-formed XML declaration, names its encoding.
[[nodiscard]] std::size_t placeOfEncoding(std::string_view xml) noexcept;

}  // namespace zeb::xmltoolkit
