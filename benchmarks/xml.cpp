// X: parsing XML into a tree, dropping the tree and searching it, compared with bare libexpat,
// pugixml and libxml2. All trees include blank text.

#include "bench.hpp"
#include "inputs.hpp"

#include <OrventoXMLOperations.hpp>
#include <zeb/xmltoolkit/XMLParserDOM.hpp>

#include <expat.h>
#include <stdio.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#ifdef ZEB_HAVE_PUGIXML
#include <pugixml.hpp>
#endif
#ifdef ZEB_HAVE_LIBXML2
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xpath.h>
#endif

namespace bench {

namespace {

using zeb::xmltoolkit::XMLParserDOM;
using ZEBNS2::String;
using ZEBNS2::XMLNode;

constexpr std::size_t BYTES = std::size_t{20} << 20;

/// The counts that all parsers must agree on.
struct Digest {
    std::size_t elements = 0;
    std::size_t attributes = 0;
    std::size_t nameBytes = 0;
    std::size_t valueBytes = 0;
    std::size_t textBytes = 0;

    [[nodiscard]] std::string text() const {
        return std::to_string(elements) + " elements, " + std::to_string(attributes) +
               " attributes, bytes of names " + std::to_string(nameBytes) + ", of values " +
               std::to_string(valueBytes) + ", of text " + std::to_string(textBytes);
    }
};

// -------------------------------------------------------------------------------------- libexpat

Digest parseWithExpat(String const& xml) {
    Digest digest;
    XML_Parser const parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &digest);
    XML_SetElementHandler(
        parser,
        [](void* user, char const* name, char const** attributes) {
            Digest& own = *static_cast<Digest*>(user);
            ++own.elements;
            own.nameBytes += std::strlen(name);
            for (; *attributes != nullptr; attributes += 2) {
                ++own.attributes;
                own.nameBytes += std::strlen(attributes[0]);
                own.valueBytes += std::strlen(attributes[1]);
            }
        },
        [](void*, char const*) {});
    XML_SetCharacterDataHandler(parser, [](void* user, char const*, int count) {
        static_cast<Digest*>(user)->textBytes += static_cast<std::size_t>(count);
    });
    XML_Parse(parser, xml.c_str(), static_cast<int>(xml.length()), XML_TRUE);
    XML_ParserFree(parser);
    return digest;
}

// --------------------------------------------------------------------------------------- library

void count(XMLNode const& node, Digest& digest) {
    ++digest.elements;
    digest.nameBytes += node.nameView().size();
    digest.attributes += node.attributeCount();
    for (std::size_t i = 0; i < node.attributeCount(); ++i) {
        digest.nameBytes += node.attributeNameView(i).size();
        digest.valueBytes += node.attributeValueView(i).size();
    }
    digest.textBytes += node.getText().length();
    for (XMLNode child = node.getChild(); child; child = std::move(child).getNext()) {
        count(child, digest);
    }
}

std::string parsedBy(XMLNode const& tree) {
    Digest digest;
    count(tree, digest);
    return digest.text();
}

/// The text of the wanted element, found by a loop over handles.
std::string searchByLoop(XMLNode const& config, std::string const& id) {
    for (XMLNode disk = config.getChild(); disk; disk = std::move(disk).getNext()) {
        if (disk.nameView() != "disk") {
            continue;
        }
        bool found = false;
        for (std::size_t i = 0; i < disk.attributeCount(); ++i) {
            found =
                found || (disk.attributeNameView(i) == "id" && disk.attributeValueView(i) == id);
        }
        if (!found) {
            continue;
        }
        for (XMLNode part = disk.getChild(); part; part = std::move(part).getNext()) {
            if (part.nameView() == "partition" && part.attributeValueView(0) == "p2") {
                return std::string(std::string_view(part.getChild().getText()));
            }
        }
    }
    return {};
}

// --------------------------------------------------------------------------------------- pugixml

#ifdef ZEB_HAVE_PUGIXML
using PugiDocument = std::unique_ptr<pugi::xml_document>;

PugiDocument parseWithPugi(String const& xml) {
    auto document = std::make_unique<pugi::xml_document>();
    document->load_buffer(xml.c_str(), xml.length(), pugi::parse_default | pugi::parse_ws_pcdata);
    return document;
}

void count(pugi::xml_node node, Digest& digest) {
    ++digest.elements;
    digest.nameBytes += std::strlen(node.name());
    for (pugi::xml_attribute const attribute : node.attributes()) {
        ++digest.attributes;
        digest.nameBytes += std::strlen(attribute.name());
        digest.valueBytes += std::strlen(attribute.value());
    }
    for (pugi::xml_node const child : node.children()) {
        if (child.type() == pugi::node_element) {
            count(child, digest);
        } else {
            digest.textBytes += std::strlen(child.value());
        }
    }
}

std::string parsedBy(PugiDocument const& document) {
    Digest digest;
    count(document->document_element(), digest);
    return digest.text();
}

std::string searchByLoop(PugiDocument const& document, std::string const& id) {
    for (pugi::xml_node const disk : document->document_element().children("disk")) {
        if (id != disk.attribute("id").value()) {
            continue;
        }
        for (pugi::xml_node const partition : disk.children("partition")) {
            if (std::strcmp(partition.attribute("n").value(), "p2") == 0) {
                return partition.child("mount").child_value();
            }
        }
    }
    return {};
}
#endif

// --------------------------------------------------------------------------------------- libxml2

#ifdef ZEB_HAVE_LIBXML2
struct FreeXML {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
    void operator()(xmlXPathContext* context) const { xmlXPathFreeContext(context); }
    void operator()(xmlXPathCompExpr* expression) const { xmlXPathFreeCompExpr(expression); }
    void operator()(xmlXPathObject* object) const { xmlXPathFreeObject(object); }
    void operator()(xmlChar* text) const { xmlFree(text); }
};
template <typename T>
using Owned = std::unique_ptr<T, FreeXML>;

Owned<xmlDoc> parseWithLibxml2(String const& xml) {
    return Owned<xmlDoc>(xmlReadMemory(xml.c_str(), static_cast<int>(xml.length()), nullptr,
                                       nullptr, XML_PARSE_NONET | XML_PARSE_HUGE));
}

std::size_t lengthOf(xmlChar const* text) { return static_cast<std::size_t>(xmlStrlen(text)); }

void count(xmlNode const* node, Digest& digest) {
    ++digest.elements;
    digest.nameBytes += lengthOf(node->name);
    for (xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next) {
        ++digest.attributes;
        digest.nameBytes += lengthOf(attribute->name);
        Owned<xmlChar> const value(xmlNodeListGetString(node->doc, attribute->children, 1));
        digest.valueBytes += lengthOf(value.get());
    }
    for (xmlNode const* child = node->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE) {
            count(child, digest);
        } else {
            digest.textBytes += lengthOf(child->content);
        }
    }
}

std::string parsedBy(Owned<xmlDoc> const& document) {
    Digest digest;
    count(xmlDocGetRootElement(document.get()), digest);
    return digest.text();
}
#endif

// ----------------------------------------------------------------------------------------- Works

void addParse(std::string const& name, char const* title, String const& xml) {
    if (!wanted(name)) {
        return;
    }
    Contest contest(name, title, xml.length());
    contest.add(
        LIBRARY, [xml] { return XMLParserDOM::parse(xml); }, parsedBy(XMLParserDOM::parse(xml)));
    contest.add(
        "bare libexpat", [xml] { return parseWithExpat(xml).elements; },
        parseWithExpat(xml).text());
#ifdef ZEB_HAVE_PUGIXML
    contest.add("pugixml", [xml] { return parseWithPugi(xml); }, parsedBy(parseWithPugi(xml)));
#endif
#ifdef ZEB_HAVE_LIBXML2
    contest.add(
        "libxml2", [xml] { return parseWithLibxml2(xml); }, parsedBy(parseWithLibxml2(xml)));
#endif
    if (xml.length() >= BYTES / 2) {
        contest.aim("bare libexpat", 1 / 1.4);
    }
}

/// Calls `use` with the name of each tree-building parser, and with the parser.
template <typename Use>
void forEachTreeParser(Use use) {
    use(LIBRARY, [](String const& xml) { return XMLParserDOM::parse(xml); });
#ifdef ZEB_HAVE_PUGIXML
    use("pugixml", [](String const& xml) { return parseWithPugi(xml); });
#endif
#ifdef ZEB_HAVE_LIBXML2
    use("libxml2", [](String const& xml) { return parseWithLibxml2(xml); });
#endif
}

constexpr double MOST_MILLISECONDS_FOR_DROP = 5;

/// Times only the destruction of trees, in a process that has made and dropped others before, so
/// that libc keeps their memory for the next ones.
void addDrops(String const& xml) {
    if (!wanted("X3")) {
        return;
    }
    Contest("X3", "dropping the tree of X1, one of many", xml.length())
        .limit(MOST_MILLISECONDS_FOR_DROP);
    forEachTreeParser([&xml](std::string const& contestant, auto parse) {
        benchmark::RegisterBenchmark(("X3/" + contestant).c_str(),
                                     [parse, xml](benchmark::State& state) {
                                         for ([[maybe_unused]] auto _ : state) {
                                             state.PauseTiming();
                                             auto tree = parse(xml);
                                             state.ResumeTiming();
                                             tree = {};
                                             benchmark::ClobberMemory();
                                         }
                                     })
            ->UseRealTime()
            ->Iterations(3);
    });
}

/// The result of `firstDrop` in a separate process.
double firstDropElsewhere(std::string const& contestant) {
    std::string const program = std::filesystem::read_symlink("/proc/self/exe");
    std::string const command =
        "'" + program + "' " + std::string(FIRST_DROP) + " '" + contestant + "'";
    std::FILE* const output = ::popen(command.c_str(), "r");
    double seconds = 0;
    if (output == nullptr || std::fscanf(output, "%lf", &seconds) != 1 || ::pclose(output) != 0) {
        std::abort();
    }
    return seconds;
}

/// Times the destruction of the only tree that a process makes.
void addFirstDrops(String const& xml) {
    if (!wanted("X6")) {
        return;
    }
    Contest("X6", "dropping the tree of X1, the first of its process", xml.length())
        .limit(MOST_MILLISECONDS_FOR_DROP);
    forEachTreeParser([](std::string const& contestant, auto const& /*parse*/) {
        benchmark::RegisterBenchmark(("X6/" + contestant).c_str(),
                                     [contestant](benchmark::State& state) {
                                         double seconds = 0;
                                         for ([[maybe_unused]] auto _ : state) {
                                             seconds = firstDropElsewhere(contestant);
                                         }
                                         state.counters["processor_seconds"] = seconds;
                                     })
            ->UseRealTime()
            ->Iterations(1);
    });
}

/// Finds the mount point of the last partition of the disk `id`.
void addSearch(std::string const& name, char const* title, String const& xml,
               std::string const& id) {
    if (!wanted(name)) {
        return;
    }
    Contest contest(name, title, xml.length());
    XMLNode const tree = XMLParserDOM::parse(xml);
    String const query = "config.disk[id=" + id + "].partition[n=p2].mount";
    contest.add(LIBRARY, [tree, query] {
        return std::string(std::string_view(ZEBNS2::XMLNodeSearch(tree, query).getText()));
    });
    contest.add("loop over XMLNode", [tree, id] { return searchByLoop(tree, id); });
    contest.aim("loop over XMLNode", 1);
#if defined ZEB_HAVE_PUGIXML || defined ZEB_HAVE_LIBXML2
    std::string const path = "/config/disk[@id='" + id + "']/partition[@n='p2']/mount";
#endif
#ifdef ZEB_HAVE_PUGIXML
    std::shared_ptr<pugi::xml_document const> const pugi = parseWithPugi(xml);
    auto const compiled = std::make_shared<pugi::xpath_query>(path.c_str());
    contest.add("pugixml, compiled XPath", [pugi, compiled] {
        return std::string(pugi->select_node(*compiled).node().child_value());
    });
    auto const document = std::make_shared<PugiDocument>(parseWithPugi(xml));
    contest.add("pugixml, loop", [document, id] { return searchByLoop(*document, id); });
    contest.aim("pugixml, compiled XPath", 1).aim("pugixml, loop", 1);
#endif
#ifdef ZEB_HAVE_LIBXML2
    std::shared_ptr<xmlDoc> const doc(parseWithLibxml2(xml));
    std::shared_ptr<xmlXPathContext> const context(
        Owned<xmlXPathContext>(xmlXPathNewContext(doc.get())));
    std::shared_ptr<xmlXPathCompExpr> const expression(
        Owned<xmlXPathCompExpr>(xmlXPathCompile(reinterpret_cast<xmlChar const*>(path.c_str()))));
    contest.add("libxml2, compiled XPath", [doc, context, expression] {
        Owned<xmlXPathObject> const nodes(xmlXPathCompiledEval(expression.get(), context.get()));
        if (xmlXPathNodeSetIsEmpty(nodes->nodesetval)) {
            return std::string();
        }
        Owned<xmlChar> const text(xmlNodeGetContent(nodes->nodesetval->nodeTab[0]));
        return std::string(reinterpret_cast<char const*>(text.get()));
    });
#endif
}

void addXML() {
    std::size_t const disks = disksIn(BYTES);
    String const xml = inventoryXML(disks);
    addParse("X1", "parsing 20 MiB of XML into a tree", xml);
    addParse("X1@10", "parsing 2 MiB of XML into a tree", inventoryXML(disks / 10));
    addParse("X1@1", "parsing 0.2 MiB of XML into a tree", inventoryXML(disks / 100));
    addParse("X2", "parsing 0.5 KB of XML into a tree", inventoryXML(1));
    addDrops(xml);
    addFirstDrops(xml);
    addSearch("X4", "XMLNodeSearch, the last of the disks of X1", xml, std::to_string(disks - 1));
    addSearch("X4@10", "XMLNodeSearch in 2 MiB of XML", inventoryXML(disks / 10),
              std::to_string(disks / 10 - 1));
    addSearch("X4@1", "XMLNodeSearch in 0.2 MiB of XML", inventoryXML(disks / 100),
              std::to_string(disks / 100 - 1));
    addSearch("X5", "XMLNodeSearch, nothing found", xml, "none");
}

Family const xml(addXML);

}  // namespace

double firstDrop(std::string_view contestant) {
    String const text = inventoryXML(disksIn(BYTES));
    double seconds = 0;
    forEachTreeParser([&](std::string_view parser, auto parse) {
        if (parser == contestant) {
            auto tree = parse(text);
            double const start = used().processorSeconds;
            tree = {};
            seconds = used().processorSeconds - start;
        }
    });
    return seconds;
}

}  // namespace bench
