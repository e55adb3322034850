#pragma once

#include <string>
#include <string_view>

namespace zeb::cli {

/// Appends a text as a string of JSON, with its quotes, each malformed piece of UTF-8 as U+FFFD.
/// @return whether the text is well-formed UTF-8
bool appendJson(std::string& json, std::string_view text);

/// Appends `"name":` and the text as a member of an object and, when the text is not UTF-8, the
/// member nameBase64 with all its bytes in base64. The name needs no escapes.
void appendJsonMember(std::string& json, std::string_view name, std::string_view text);

/// An object of JSON, built member by member.
class JsonObject {
public:
    /// Adds a text, see `appendJsonMember`.
    JsonObject& add(std::string_view name, std::string_view text);
    /// Adds a value that is JSON already.
    JsonObject& addJson(std::string_view name, std::string_view json);
    /// The object without a trailing newline.
    [[nodiscard]] std::string text() const { return json_ + '}'; }

private:
    void separate();

    std::string json_ = "{";
};

/// The number as JSON writes it, or the string "inf", "-inf" or "nan", which JSON has no numbers
/// for.
/// @param number as std::to_chars prints it
[[nodiscard]] std::string jsonNumber(std::string const& number);

/// The bytes of a text in base64 (RFC 4648), padded.
[[nodiscard]] std::string base64(std::string_view bytes);

}  // namespace zeb::cli
