#pragma once

#include <zeb/foundation/Array.hpp>
#include <zeb/foundation/Export.hpp>
#include <zeb/foundation/String.hpp>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <iterator>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace zeb::xmltoolkit {

struct XMLDocument;
class XMLChildren;

/// A handle to an element of a parsed tree, or a null handle.
///
/// The tree itself never changes, and lives as long as a handle to any of its elements. Copying a
/// handle costs one atomic increment and never throws; moving leaves a null handle and costs
/// nothing. Every operation is allowed on a null handle, which has no name, no attributes, no text
/// and no relatives.
///
/// The tree contains elements, their attributes and their character data, all in document order. It
/// does not contain comments, processing instructions and the document type declaration.
///
/// No operation uses a stack in proportion to the depth of the tree, destroying it included. Names,
/// values and texts are in UTF-8 and contain no NUL; the locale has no influence.
/// @par Exceptions `std::bad_alloc` where a `String` or an `Array` is returned.
/// @par Complexity linear in what is returned, unless said otherwise; dropping the last handle is
///   constant except for freeing the tree's memory.
/// @par Thread safety one handle may be read by several threads at once; changing it needs
/// exclusive access. Different handles are independent, even when they refer to the same tree.
class ZEB_EXPORT XMLNode {
public:
    /// A null handle.
    XMLNode() noexcept = default;

    /// @name Null test
    /// @{
    /// Whether the handle refers to no element.
    [[nodiscard]] bool isNull() const noexcept { return document_ == nullptr; }
    /// Whether the handle refers to an element.
    explicit operator bool() const noexcept { return !isNull(); }
    /// @}

    /// The name as written, with its prefix; empty for a null handle.
    [[nodiscard]] foundation::String getName() const { return nameView(); }

    /// Names and values of the attributes: those in the start tag, in the order written, then the
    /// defaults that the document type adds. Two attributes never have the same name.
    [[nodiscard]] foundation::Array<std::pair<foundation::String, foundation::String>> getAttrs()
        const;

    /// The value of the attribute `name`, compared byte by byte; none when the element has no such
    /// attribute, which is not the same as an empty value.
    /// @par Complexity linear in the attributes and the value
    /// ```cpp
    /// XMLNode const disk = XMLParserDOM::parse("<disk id='7' label=''/>");
    /// disk.getAttr("id") == "7"
    /// disk.getAttr("label") == ""
    /// !disk.getAttr("ID")
    /// disk.getAttr("size").value_or("unknown") == "unknown"
    /// ```
    [[nodiscard]] std::optional<foundation::String> getAttr(std::string_view name) const {
        for (std::size_t i = 0; i < attributeCount(); ++i) {
            if (attributeNameView(i) == name) {
                return foundation::String(attributeValueView(i));
            }
        }
        return std::nullopt;
    }

    /// The character data directly in the element, CDATA sections and replaced entities included,
    /// joined across the child elements in between, whose own data is not included. Lines end in
    /// "\n" as XML demands.
    /// @par Complexity linear in the text and the number of children
    /// ```cpp
    /// XMLParserDOM::parse("<a>1<b>2</b><![CDATA[<]]>&amp;</a>").getText() == "1<&"
    /// ```
    [[nodiscard]] foundation::String getText() const;

    /// @name Relatives
    /// The first child element; the next sibling element. A null handle when there is none, as for
    /// the sibling of the top element. The second forms turn a handle that is no longer needed into
    /// the result, which costs no atomic operation:
    /// ```cpp
    /// XMLNode const node = XMLParserDOM::parse("<a><b/><c/></a>");
    /// String names;
    /// for (XMLNode child = node.getChild(); child; child = std::move(child).getNext()) {
    ///     names += child.getName();
    /// }
    /// names == "bc"
    /// ```
    /// @par Complexity constant
    /// @{
    /// The first child element, or a null handle.
    [[nodiscard]] XMLNode getChild() const& noexcept { return XMLNode(*this).getChild(); }
    /// The same, from a handle that is no longer needed.
    [[nodiscard]] XMLNode getChild() && noexcept;
    /// The next sibling element, or a null handle.
    [[nodiscard]] XMLNode getNext() const& noexcept { return XMLNode(*this).getNext(); }
    /// The same, from a handle that is no longer needed.
    [[nodiscard]] XMLNode getNext() && noexcept;
    /// The child elements, in order.
    /// ```cpp
    /// XMLNode const list = XMLParserDOM::parse("<a><b/>text<c/></a>");
    /// String names;
    /// for (XMLNode const& child : list.children()) {
    ///     names += child.getName();
    /// }
    /// names == "bc"
    /// ```
    [[nodiscard]] XMLChildren children() const noexcept;
    /// @}

    /// Whether both refer to the same element of the same tree, or both are null. Trees of two
    /// parses have no element in common, even if their texts are equal. Constant time.
    friend bool operator==(XMLNode const& a, XMLNode const& b) noexcept {
        return a.document_ == b.document_ && (a.isNull() || a.index_ == b.index_);
    }
    /// The opposite of `==`.
    friend bool operator!=(XMLNode const& a, XMLNode const& b) noexcept { return !(a == b); }

    /// The element and all below it as well-formed XML in UTF-8, without an XML declaration; empty
    /// for a null handle. Parsing it gives an equal tree. Default attributes are written out,
    /// entities and CDATA sections as escaped text, empty elements as "<name/>".
    /// @par Complexity linear in the result
    [[nodiscard]] foundation::String toString() const;

    /// @name Reading without allocation
    /// The bytes belong to the tree and stay valid as long as any handle to it. Attributes are
    /// numbered from 0 in the order of `getAttrs()`.
    /// @par Complexity constant
    /// @{
    [[nodiscard]] std::string_view nameView() const noexcept;
    [[nodiscard]] std::size_t attributeCount() const noexcept;
    /// @throws OutOfBoundsException when `index` is not less than `attributeCount()`
    [[nodiscard]] std::string_view attributeNameView(std::size_t index) const;
    /// @throws OutOfBoundsException when `index` is not less than `attributeCount()`
    [[nodiscard]] std::string_view attributeValueView(std::size_t index) const;
    /// @}

    // ---------------------------------------------------------------- not API

private:
    friend class XMLParserDOM;

    XMLNode(std::shared_ptr<XMLDocument const> document, std::uint32_t index,
            std::uint32_t siblingsEnd) noexcept
        : document_(std::move(document)), index_(index), siblingsEnd_(siblingsEnd) {}

    XMLNode elementAt(std::uint32_t index, std::uint32_t siblingsEnd) && noexcept;
    std::size_t attributeRecord(std::size_t index) const;

    std::shared_ptr<XMLDocument const> document_;
    /// The element's record, and the end of the records of its parent.
    std::uint32_t index_ = 0;
    std::uint32_t siblingsEnd_ = 0;
};

/// The child elements of a node, for a loop over them. It keeps the tree alive.
/// @par Exceptions none. @par Complexity constant for each step.
/// @par Thread safety as of `XMLNode`.
class XMLChildren {
public:
    /// A position among the children; dereferencing it gives a handle that is valid until the next
    /// step.
    // NOLINTNEXTLINE(readability-identifier-naming): the standard containers' name
    class const_iterator {
    public:
        /// The types that `std::iterator_traits` needs.
        /// @{
        using iterator_category = std::input_iterator_tag;
        using value_type = XMLNode;
        using difference_type = std::ptrdiff_t;
        using pointer = XMLNode const*;
        using reference = XMLNode const&;
        /// @}

        /// The end position of any node.
        const_iterator() noexcept = default;
        /// At `child`.
        explicit const_iterator(XMLNode child) noexcept : child_(std::move(child)) {}

        /// The operations of an input iterator; the end position may only be compared.
        /// @{
        [[nodiscard]] reference operator*() const noexcept { return child_; }
        [[nodiscard]] pointer operator->() const noexcept { return &child_; }
        const_iterator& operator++() noexcept {
            child_ = std::move(child_).getNext();
            return *this;
        }
        // NOLINTNEXTLINE(cert-dcl21-cpp): a constant result could not be moved
        const_iterator operator++(int) noexcept {
            const_iterator before(*this);
            ++*this;
            return before;
        }
        friend bool operator==(const_iterator const& a, const_iterator const& b) noexcept {
            return a.child_ == b.child_;
        }
        friend bool operator!=(const_iterator const& a, const_iterator const& b) noexcept {
            return !(a == b);
        }
        /// @}

    private:
        XMLNode child_;
    };

    /// The children of the node whose first child is `first`.
    explicit XMLChildren(XMLNode first) noexcept : first_(std::move(first)) {}

    /// The first child.
    [[nodiscard]] const_iterator begin() const noexcept { return const_iterator(first_); }
    /// The end position.
    [[nodiscard]] const_iterator end() const noexcept { return {}; }
    /// Whether there is no child.
    [[nodiscard]] bool empty() const noexcept { return first_.isNull(); }

    // ---------------------------------------------------------------- not API

private:
    XMLNode first_;
};

inline XMLChildren XMLNode::children() const noexcept { return XMLChildren(getChild()); }

/// Writes `node.toString()`, field width and fill applied to the whole text; the locale has no
/// influence.
/// @throws std::bad_alloc; the stream's state reports its own failures
/// @par Complexity linear in what is written. @par Thread safety `out` needs exclusive access.
ZEB_EXPORT std::ostream& operator<<(std::ostream& out, XMLNode const& node);

}  // namespace zeb::xmltoolkit
