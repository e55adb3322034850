#pragma once

#include <string>
#include <string_view>

namespace zeb::cli {

/// Appends a text as a string of JSON, with its quotes, each malformed piece of UTF-8 as U+FFFD.
/// @return whether the text is well-formed UTF-8
bool appendJson(std::string& json, std::string_view text);

/// Appends `"name":` and the text as a member of an object and, when the text is not UTF-8, the
/// member nameBase64 with all its bytes in base64.
void appendJsonMember(std::string& json, char const* name, std::string_view text);

/// The bytes of a text in base64 (RFC 4648), padded.
[[nodiscard]] std::string base64(std::string_view bytes);

}  // namespace zeb::cli
