// Checking XML, and finding an element in it.

#include <OrventoXMLOperations.hpp>

#include <zeb/xmltoolkit/XMLParserDOM.hpp>

#include <iostream>

using ZEBNS2::String;
using ZEBNS2::XMLNode;

int main() {
    String const text =
        "<config>"
        "<disk id='1' type='raw'><partition n='p1'/></disk>"
        "<disk id='2'><partition n='p2'>root</partition><partition n='p3'/></disk>"
        "</config>";

    String reason;
    std::cout << ZEBNS2::validateXML(text, reason) << '\n';
    std::cout << ZEBNS2::validateXML("<a>\n<b></a>", reason) << ' ' << reason << '\n';

    // A query goes from the node itself down; its result is null when there is no such element.
    XMLNode const config = zeb::xmltoolkit::XMLParserDOM::parse(text);
    for (char const* const query : {"config.disk[id=2].partition", "config.disk.partition[n=p3]",
                                    "CONFIG.Disk[TYPE=raw]", "config.disk[size]"}) {
        XMLNode const node = ZEBNS2::XMLNodeSearch(config, query);
        std::cout << query << ": " << (node ? node.toString() : "nothing") << '\n';
    }
    std::cout << ZEBNS2::XMLNodeSearch(config, "config.disk[id=2].partition").getText() << '\n';

    try {
        static_cast<void>(ZEBNS2::XMLNodeSearch(config, "config.disk[id=1=2]"));
    } catch (ZEBNS2::OrventoXMLException const& exception) {
        std::cout << exception.what() << '\n';
    }
}
