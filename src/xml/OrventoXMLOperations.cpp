#include "OrventoXMLOperations.hpp"

#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/Logger.hpp>
#include <zeb/xmltoolkit/XMLParserDOM.hpp>

#include <new>

#include "XMLQuery.hpp"

namespace ZEBNS2 {

using zeb::xmltoolkit::DOMException;
using zeb::xmltoolkit::XMLParserDOM;

OrventoXMLException::OrventoXMLException(char const* file, int line, char const* message,
                                         int subclassCode, Exception const* chained, int errorCode)
    : JORLibraryException(file, line, message, subclassCode, chained, errorCode) {}

OrventoXMLException::~OrventoXMLException() noexcept = default;

char const* OrventoXMLException::type() const noexcept { return "OrventoXMLException"; }

OrventoXMLException* OrventoXMLException::clone() const noexcept {
    return new (std::nothrow) OrventoXMLException(*this);
}

void OrventoXMLException::rethrow() const { throw *this; }

bool validateXML(String const& xml, String& errorMessage) {
    try {
        static_cast<void>(XMLParserDOM::parse(xml));
        return true;
    } catch (DOMException const& exception) {
        errorMessage = exception.what();
        return false;
    }
}

void validateXML(String const& xml) {
    String errorMessage;
    if (!validateXML(xml, errorMessage)) {
        throwXMLException(__LINE__, Format("Invalid XML: %1", errorMessage));
    }
}

XMLNode XMLNodeSearch(XMLNode const& node, String const& query) {
    Logger const logger(COMPONENT_NAME.get());
    XMLNode result;
    ZEB_LOG_DEBUG(
        logger, UNIT,
        Format("XMLNodeSearch: Using xml query \"%1\" on node: %2", query, node.toString()));
    Array<XMLQueryEntry> const entries = parseXMLQuery(query);
    if (entries.empty()) {
        return node;
    }
    if (RecursiveNodeSearch(node, entries.begin(), entries.end(), result)) {
        ZEB_LOG_DEBUG(logger, UNIT,
                      Format("XMLNodeSearch: Found desired node: %1", result.toString()));
    } else {
        ZEB_LOG_DEBUG(logger, UNIT, "XMLNodeSearch: XML query found no results.");
    }
    return result;
}

}  // namespace ZEBNS2
