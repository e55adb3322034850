#include <zeb/xmltoolkit/XMLNode.hpp>

#include <ostream>
#include <vector>
#include <zeb/foundation/StringBuffer.hpp>

#include "XMLDocument.hpp"

namespace zeb::xmltoolkit {

namespace {

using foundation::Array;
using foundation::String;
using foundation::StringBuffer;

/// Where a text is written.
enum Place { CONTENT, ATTRIBUTE_VALUE };

/// The reference to write for `byte`; empty for the byte itself. A parser turns tabs and line ends
/// in a value into blanks unless they are references, and drops carriage returns everywhere.
std::string_view reference(char byte, Place place) noexcept {
    switch (byte) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '\r':
            return "&#13;";
        case '"':
            return place == ATTRIBUTE_VALUE ? "&quot;" : "";
        case '\t':
            return place == ATTRIBUTE_VALUE ? "&#9;" : "";
        case '\n':
            return place == ATTRIBUTE_VALUE ? "&#10;" : "";
        default:
            return "";
    }
}

void appendEscaped(StringBuffer& out, std::string_view text, Place place) {
    std::size_t done = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        // All bytes that need a reference are below the letters.
        if (static_cast<unsigned char>(text[i]) > '>') {
            continue;
        }
        std::string_view const instead = reference(text[i], place);
        if (!instead.empty()) {
            out.append(text.substr(done, i - done)).append(instead);
            done = i + 1;
        }
    }
    out.append(text.substr(done));
}

void appendTag(StringBuffer& out, XMLDocument const& document, std::uint32_t index) {
    XMLDocument::Record const* const record = document.records.data() + index;
    out.append('<').append(document.nameOf(*record));
    for (std::uint32_t i = 1; i <= record->size; ++i) {
        out.append(' ').append(document.nameOf(record[i])).append("=\"");
        appendEscaped(out, document.valueOf(record[i]), ATTRIBUTE_VALUE);
        out.append('"');
    }
    out.append(document.contentOf(index) == record->position ? "/>" : ">");
}

}  // namespace

XMLNode XMLNode::elementAt(std::uint32_t index, std::uint32_t siblingsEnd) && noexcept {
    if (index < siblingsEnd && document_->records.data()[index].name == XMLDocument::TEXT) {
        ++index;
    }
    if (index == siblingsEnd) {
        return XMLNode();
    }
    return XMLNode(std::move(document_), index, siblingsEnd);
}

Array<std::pair<String, String>> XMLNode::getAttrs() const {
    Array<std::pair<String, String>> attributes;
    attributes.reserve(attributeCount());
    for (std::size_t i = 0; i < attributeCount(); ++i) {
        attributes.append({attributeNameView(i), attributeValueView(i)});
    }
    return attributes;
}

String XMLNode::getText() const {
    if (isNull()) {
        return String();
    }
    String text;
    XMLDocument::Record const* const records = document_->records.data();
    std::uint32_t const end = records[index_].position;
    for (std::uint32_t i = document_->contentOf(index_); i < end;) {
        if (records[i].name == XMLDocument::TEXT) {
            text += document_->valueOf(records[i]);
            ++i;
        } else {
            i = records[i].position;
        }
    }
    return text;
}

XMLNode XMLNode::getChild() && noexcept {
    if (isNull()) {
        return XMLNode();
    }
    std::uint32_t const end = document_->records.data()[index_].position;
    return std::move(*this).elementAt(document_->contentOf(index_), end);
}

XMLNode XMLNode::getNext() && noexcept {
    if (isNull()) {
        return XMLNode();
    }
    return std::move(*this).elementAt(document_->records.data()[index_].position, siblingsEnd_);
}

String XMLNode::toString() const {
    if (isNull()) {
        return String();
    }
    StringBuffer out;
    XMLDocument const& document = *document_;
    XMLDocument::Record const* const records = document.records.data();
    std::uint32_t const end = records[index_].position;
    std::vector<XMLDocument::Record const*> open;
    for (std::uint32_t i = index_; i < end;) {
        if (records[i].name == XMLDocument::TEXT) {
            appendEscaped(out, document.valueOf(records[i]), CONTENT);
            ++i;
        } else {
            appendTag(out, document, i);
            std::uint32_t const content = document.contentOf(i);
            if (content != records[i].position) {
                open.push_back(records + i);
            }
            i = content;
        }
        while (!open.empty() && open.back()->position == i) {
            out.append("</").append(document.nameOf(*open.back())).append('>');
            open.pop_back();
        }
    }
    return out.releaseString();
}

std::string_view XMLNode::nameView() const noexcept {
    return isNull() ? std::string_view() : document_->nameOf(document_->records.data()[index_]);
}

std::size_t XMLNode::attributeCount() const noexcept {
    return isNull() ? 0 : document_->records.data()[index_].size;
}

std::size_t XMLNode::attributeRecord(std::size_t index) const {
    if (index >= attributeCount()) {
        foundation::detail::throwOutOfBounds(attributeCount(), index);
    }
    return index_ + 1 + index;
}

std::string_view XMLNode::attributeNameView(std::size_t index) const {
    std::size_t const record = attributeRecord(index);
    return document_->nameOf(document_->records.data()[record]);
}

std::string_view XMLNode::attributeValueView(std::size_t index) const {
    std::size_t const record = attributeRecord(index);
    return document_->valueOf(document_->records.data()[record]);
}

std::ostream& operator<<(std::ostream& out, XMLNode const& node) { return out << node.toString(); }

}  // namespace zeb::xmltoolkit
