#pragma once

#include <zeb/common/JORLibraryException.hpp>
#include <zeb/foundation/Array.hpp>
#include <zeb/foundation/Export.hpp>
#include <zeb/foundation/String.hpp>
#include <zeb/xmltoolkit/XMLNode.hpp>

/// @file
/// Validation of XML texts, and the search for a node of a parsed XML tree by a query. The locale
/// has no influence on either.

namespace ZEBNS2 {

using zeb::foundation::Array;
using zeb::foundation::String;
using zeb::foundation::StringArray;
using zeb::xmltoolkit::XMLNode;

/// A text that is not well-formed XML, or a query that cannot be parsed.
///
/// The library's own throws record the source unit "OrventoXMLOperations", no codes and no chained
/// exception. Cost and NUL bytes are as for `zeb::foundation::Exception`.
/// @par Thread safety one object may be read by several threads at once. Copying never throws.
class ZEB_EXPORT OrventoXMLException : public zeb::common::JORLibraryException {
public:
    /// The arguments of `zeb::foundation::Exception`, passed on unchanged.
    OrventoXMLException(char const* file, int line, char const* message, int subclassCode,
                        zeb::foundation::Exception const* chained, int errorCode);
    ~OrventoXMLException() noexcept override;
    /// "OrventoXMLException"
    [[nodiscard]] char const* type() const noexcept override;
    [[nodiscard]] OrventoXMLException* clone() const noexcept override;
    [[noreturn]] void rethrow() const override;
};

/// Whether `xml` is a well-formed XML document, as `zeb::xmltoolkit::XMLParserDOM::parse` judges
/// it.
/// @param xml the document's bytes in an encoding that the parser knows; NUL bytes are malformed in
///   UTF-8
/// @param[out] errorMessage where and why `xml` was rejected, "line L, column C: reason"; unchanged
///   when `xml` is well-formed, and when anything is thrown
/// @throws std::bad_alloc when memory is exhausted
/// @par Complexity linear in `xml`. @par Thread safety reentrant.
/// ```cpp
/// String message;
/// validateXML("<a/>", message)
/// !validateXML("<a>", message)
/// ```
[[nodiscard]] ZEB_EXPORT bool validateXML(String const& xml, String& errorMessage);

/// Returns if `xml` is well-formed; throws otherwise.
/// @param xml as above
/// @throws OrventoXMLException "Invalid XML: " and the error message that the form above reports
/// @throws std::bad_alloc when memory is exhausted
/// @par Complexity linear in `xml`. @par Thread safety reentrant.
ZEB_EXPORT void validateXML(String const& xml);

/// The first node, in document order, to which `query` leads from `node`.
///
/// A query is a path of steps, the outermost first: "config.disk[id=2].partition". The first step
/// is tried on `node` and on the siblings that follow it, each further step on the children of the
/// node that the previous step found; when a path fails, the next one is tried. To search among the
/// children of a node without naming it, pass its first child.
///
/// - Steps are separated by ".", white space at both ends of a step does not count.
/// - A step is cut at each of "[", "]" and ",", which are interchangeable and need not be balanced.
///   The first part is the node's name; each further part, trimmed too, demands an attribute:
///   "name" one with any value, "name=value" one with this value. "disk[id=5,type=raw]" and
///   "disk[id=5][type=raw]" are the same.
/// - Double quotes around a name or value protect the separators in it: "disk[ip=\"10.0.0.1\"]".
///   A backslash before a double quote keeps it from closing the stretch; both stay in the text.
/// - A step that matches any name is written with an empty quoted name: "\"\"[id=5]". A step
///   without name and attributes is left out; empty parts are left out everywhere.
/// - Names and values are compared literally, ignoring the case of ASCII letters. When attributes
///   differ in case alone ("id" and "ID"), each that fits a demand counts, and a node matches only
///   if the number of fitting attributes equals the number of demands.
///
/// @param node where to begin; it may be null, which finds nothing
/// @param query bytes; NUL is one like any other
/// @return the node found; `node` itself when the query contains no step; a null handle when no
///   node matches
/// @throws OrventoXMLException "Too many attribute values in attribute specifier (3): id=1=2" and
///   the like, when a demanded attribute has three or more pieces that are not empty between "="
///   outside quotes; no node has been examined then. The message shows it up to its first NUL
/// @throws std::bad_alloc, and what the log appender throws
/// @par Logging under the component "zeb.common", at debug level and, for each comparison, at the
///   second debug level; `errno` is unchanged. Messages show whole nodes, so a logged search takes
///   time in proportion to their sizes.
/// @par Complexity linear in `query` and in the nodes compared, each at most once, times the
///   demanded attributes; no recursion.
/// @par Thread safety reentrant; several threads may search one tree.
/// ```cpp
/// using zeb::xmltoolkit::XMLParserDOM;
/// XMLNode const top = XMLParserDOM::parse(R"(<config><disk id="1"/><disk id="2"/></config>)");
/// XMLNodeSearch(top, "config.DISK[id=2]").toString() == R"(<disk id="2"/>)"
/// XMLNodeSearch(top, "disk").isNull()
/// XMLNodeSearch(top, "").getName() == "config"
/// ```
[[nodiscard]] ZEB_EXPORT XMLNode XMLNodeSearch(XMLNode const& node, String const& query);

}  // namespace ZEBNS2
