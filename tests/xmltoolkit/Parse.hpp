#pragma once

#include <cstddef>
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

/// A document of 2 KB that uses everything the parser knows.
inline std::string sample() {
    std::string xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\"?>\n"
        "<!-- a sample -->\n"
        "<!DOCTYPE config [\n"
        "  <!ELEMENT config ANY>\n"
        "  <!ATTLIST disk type CDATA \"raw\" mode (ro|rw) 'rw'>\n"
        "  <!ENTITY vendor \"Acme &#38;#38; Sons\">\n"
        "  <!ENTITY % more \"<!ENTITY year '1999'>\">\n"
        "  %more;\n"
        "]>\n"
        "<?target data?>\n"
        "<config xmlns:p='urn:x'>\n";
    for (int i = 0; xml.size() < 2000; ++i) {
        std::string const number = std::to_string(i);
        xml += "  <disk id=\"" + number + "\" label='caf\xC3\xA9 &lt;" + number +
               "&gt;'>&vendor; &year; <p:size unit=\"GB\">\xF0\x9F\x98\x80" + number +
               "</p:size><![CDATA[<raw> & ]] >]]><!-- " + number + " -->&#x20AC;</disk>\r\n";
    }
    return xml + "</config>";
}

}  // namespace zeb::test
