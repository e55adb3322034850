// The query up to the newline, then the document.

#include <OrventoXMLOperations.hpp>
#include <zeb/foundation/Exception.hpp>
#include <zeb/xmltoolkit/XMLParserDOM.hpp>

#include "Property.hpp"
#include "Tokens.hpp"

namespace {

using ZEBNS2::XMLNode;

struct Step {
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;
};

struct Faulty {};

std::string trimmed(std::string const& text) {
    static constexpr char BLANKS[] = " \t\n\v\f\r";
    std::size_t const start = text.find_first_not_of(BLANKS);
    return start == std::string::npos
               ? std::string()
               : text.substr(start, text.find_last_not_of(BLANKS) - start + 1);
}

std::string unquoted(std::string const& text) {
    bool const quoted = !text.empty() && text.front() == '"' && text.back() == '"';
    return !quoted ? text : text.size() == 1 ? std::string() : text.substr(1, text.size() - 2);
}

std::vector<Step> parse(std::string_view query) {
    using zeb::fuzz::expectedTokens;
    std::vector<Step> steps;
    for (std::string const& piece : expectedTokens(query, ".")) {
        Step step;
        bool first = true;
        for (std::string const& part : expectedTokens(trimmed(piece), "[],")) {
            if (first) {
                step.name = unquoted(part);
                first = false;
                continue;
            }
            std::vector<std::string> sides = expectedTokens(trimmed(part), "=");
            if (sides.size() > 2) {
                throw Faulty();
            }
            sides.resize(2);
            if (!unquoted(sides[0]).empty() || !unquoted(sides[1]).empty()) {
                step.attributes.emplace_back(unquoted(sides[0]), unquoted(sides[1]));
            }
        }
        if (!step.name.empty() || !step.attributes.empty()) {
            steps.push_back(step);
        }
    }
    return steps;
}

bool matches(XMLNode const& node, Step const& step) {
    if (!step.name.empty() && !node.getName().equalsIgnoreCase(step.name)) {
        return false;
    }
    std::size_t hits = 0;
    for (auto const& [name, value] : node.getAttrs()) {
        for (auto const& wanted : step.attributes) {
            bool const sameValue = wanted.second.empty() || value.equalsIgnoreCase(wanted.second);
            hits += name.equalsIgnoreCase(wanted.first) && sameValue ? 1 : 0;
        }
    }
    return hits == step.attributes.size();
}

XMLNode search(XMLNode node, std::vector<Step> const& steps, std::size_t index) {
    if (index == steps.size()) {
        return node;
    }
    for (; node; node = node.getNext()) {
        if (!matches(node, steps[index])) {
            continue;
        }
        if (index + 1 == steps.size()) {
            return node;
        }
        if (XMLNode const found = search(node.getChild(), steps, index + 1)) {
            return found;
        }
    }
    return {};
}

}  // namespace

void zeb::fuzz::query(std::string_view input) {
    auto const [text, document] = cutLine(input);
    XMLNode tree;
    try {
        tree = zeb::xmltoolkit::XMLParserDOM::parse(document);
    } catch (zeb::xmltoolkit::DOMException const&) {
        return;
    }
    XMLNode found;
    bool refused = false;
    try {
        found = ZEBNS2::XMLNodeSearch(tree, text);
    } catch (ZEBNS2::OrventoXMLException const&) {
        refused = true;
    }
    try {
        XMLNode const expected = search(tree, parse(text), 0);
        require(!refused, "accepts the query");
        require(found.isNull() == expected.isNull(), "finds a node where there is one");
        require(found.toString() == expected.toString(), "finds the first such node");
    } catch (Faulty const&) {
        require(refused, "refuses a faulty query");
    }
}
