#pragma once

#include <string>
#include <string_view>

#include <zeb/foundation/String.hpp>
#include <zeb/xmltoolkit/XMLParserDOM.hpp>

/// @file
/// What the tests of the parser have in common.

namespace zeb::test {

inline xmltoolkit::XMLNode parse(std::string_view xml) {
    return xmltoolkit::XMLParserDOM::parse(foundation::String(xml));
}

/// The text of the exception that parsing `xml` throws; empty when it is accepted.
inline std::string rejection(std::string_view xml) {
    try {
        static_cast<void>(parse(xml));
    } catch (xmltoolkit::DOMException const& exception) {
        return exception.what();
    }
    return {};
}

/// `xml`, which is ASCII, in UTF-16 without a mark.
inline std::string inUTF16(std::string_view xml, bool littleEndian) {
    std::string encoded;
    for (char const byte : xml) {
        encoded += littleEndian ? byte : '\0';
        encoded += littleEndian ? '\0' : byte;
    }
    return encoded;
}

/// `count` copies of `text`.
inline std::string repeat(std::string_view text, std::size_t count) {
    std::string repeated;
    repeated.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i) {
        repeated += text;
    }
    return repeated;
}

}  // namespace zeb::test
