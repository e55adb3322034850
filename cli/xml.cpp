// The commands that check and search XML.

#include "Commands.hpp"

#include <OrventoXMLOperations.hpp>

#include <zeb/xmltoolkit/XMLParserDOM.hpp>

namespace zeb::cli {

using xmltoolkit::DOMException;
using xmltoolkit::XMLParserDOM;
using ZEBNS2::String;
using ZEBNS2::XMLNode;

namespace {

/// The parser's "line L, column C: reason" as "file:L:C: reason", which editors understand.
String located(std::string const& file, String const& message) {
    return String(file) + ":" + ZEBNS2::sed(message, "^line ([0-9]+), column ([0-9]+):", "%1:%2:");
}

/// The value of the first attribute with that name, in either case as in queries.
/// @return whether there is one
bool findAttribute(XMLNode const& node, String const& name, String& value) {
    for (auto const& [attribute, text] : node.getAttrs()) {
        if (attribute.equalsIgnoreCase(name)) {
            value = text;
            return true;
        }
    }
    return false;
}

}  // namespace

Status xmlCheck(Words const& words, Output& out) {
    Arguments arguments("xml check",
                        "Prints for each file whether it is well-formed XML, or where and why it "
                        "is not.\nThe exit status is 1 when one is not.",
                        "  zeb-text xml check *.xml\n");
    Words files;
    arguments.rest("FILE", files, "Files to read; without one, standard input");
    arguments.parse(words);

    bool allWellFormed = true;
    bool const allWell = forEachInput(files, [&](std::string const& name, String const& text) {
        String reason;
        if (ZEBNS2::validateXML(text, reason)) {
            out.line(name + ": ok");
        } else {
            allWellFormed = false;
            out.line(located(name, reason));
        }
    });
    return searchStatus(allWell, allWellFormed);
}

Status xmlFind(Words const& words, Output& out) {
    Arguments arguments(
        "xml find",
        "Prints the first element of each input that QUERY describes: names from "
        "the top element down,\nseparated by full stops, each with the attributes "
        "that the element must have, if any.\nThe case of letters does not "
        "matter. The exit status is 1 when nothing was found.",
        "  zeb-text xml find 'config.disk[id=2].partition' disks.xml\n"
        "  zeb-text xml find --attribute size 'config.disk[type=ssd,id]' disks.xml\n"
        "  zeb-text xml find --text 'config.host[ip=\"10.0.0.1\"].name' disks.xml\n");
    std::string query;
    std::string attribute;
    bool text = false;
    Words files;
    arguments.word("QUERY", query, "The query");
    arguments.rest("FILE", files, "Files to read; without one, standard input");
    arguments.flag("--text", text, "Print the text of the element");
    arguments.option("--attribute", "NAME", attribute, "Print the value of an attribute of it");
    arguments.exclusive({"--text", "--attribute"});
    arguments.parse(words);

    bool found = false;
    bool const allWell = forEachInput(files, [&](std::string const& name, String const& input) {
        XMLNode top;
        try {
            top = XMLParserDOM::parse(input);
        } catch (DOMException const& exception) {
            throw Failure(located(name, exception.what()).c_str());
        }
        XMLNode const node = ZEBNS2::XMLNodeSearch(top, query);
        String shown;
        if (node.isNull() || (!attribute.empty() && !findAttribute(node, attribute, shown))) {
            return;
        }
        if (attribute.empty()) {
            shown = text ? node.getText() : node.toString();
        }
        found = true;
        out.line(shown);
    });
    return searchStatus(allWell, found);
}

}  // namespace zeb::cli
