#pragma once

#include "OrventoXMLOperations.hpp"

#include <pthread.h>

#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/LazyGlobal.hpp>
#include <zeb/foundation/Logger.hpp>

#include <cstddef>
#include <ostream>
#include <string_view>
#include <utility>
#include <vector>

#include "OrventoTextOperations.hpp"

/// @file
/// The query language: its parser, and the search for the node that fits a query.
///
/// A part of OrventoXMLOperations.cpp: only that and tests include it. Its functions are in an
/// unnamed namespace because the log records their signatures.

namespace ZEBNS2 {
// Included by one source.
namespace {  // NOLINT(cert-dcl59-cpp): the log records the signatures

using zeb::foundation::Exception;
using zeb::foundation::Format;
using zeb::foundation::LazyGlobal;
using zeb::foundation::Logger;

constexpr char UNIT[] = "OrventoXMLOperations";

LazyGlobal<String> COMPONENT_NAME = {"zeb.common", nullptr, 0, PTHREAD_MUTEX_INITIALIZER};

[[noreturn]] inline void throwXMLException(int line, String const& message) {
    throw OrventoXMLException(UNIT, line, message.c_str(), Exception::NO_CODE, nullptr,
                              Exception::NO_CODE);
}

// ------------------------------------------------------------------------------- Query language

/// One step of a query. One without a name fits any node name and has at least one attribute.
struct XMLQueryEntry {
    String name;
    /// Names and values in the order written. An empty value means any value.
    Array<std::pair<String, String>> attributes;
};

using XMLQueryIterator = Array<XMLQueryEntry>::const_iterator;

/// Writes a step as the messages show it: "Name=disk[id=5,type=]".
inline std::ostream& operator<<(std::ostream& out, XMLQueryEntry const& entry) {
    out << "Name=" << entry.name;
    char separator = '[';
    for (auto const& [name, value] : entry.attributes) {
        out << separator << name << '=' << value;
        separator = ',';
    }
    return entry.attributes.empty() ? out : out << ']';
}

/// Name and value of a demanded attribute; both are empty when `specifier` is blank.
inline std::pair<String, String> XMLQuery_parse_attribute_specifier(String const& specifier) {
    Logger const logger(COMPONENT_NAME.get());
    String const trimmed = specifier.trim();
    ZEB_LOG_DEBUG(logger, UNIT,
                  Format("XMLQueryParser: Parsing attribute specifier from \"%1\"", trimmed));
    std::pair<String, String> attribute;
    if (trimmed.empty()) {
        ZEB_LOG_DEBUG(logger, UNIT, "XMLQueryParser: parse_attribute_specifier: Query empty.");
        return attribute;
    }
    StringArray const pieces = quoted_string_tokenization(trimmed, "=");
    if (pieces.size() > 2) {
        throwXMLException(__LINE__,
                          Format("Too many attribute values in attribute specifier (%1): %2",
                                 pieces.size(), trimmed));
    }
    if (!pieces.empty()) {
        attribute.first = remove_quotes(pieces[0]);
    }
    if (pieces.size() == 2) {
        attribute.second = remove_quotes(pieces[1]);
    }
    return attribute;
}

/// One step, possibly without name and attributes.
inline XMLQueryEntry XMLQuery_parse_node_specifier(String const& specifier) {
    Logger const logger(COMPONENT_NAME.get());
    String const trimmed = specifier.trim();
    ZEB_LOG_DEBUG(logger, UNIT,
                  Format("XMLQueryParser: Parsing node specifier from \"%1\"", trimmed));
    XMLQueryEntry entry;
    StringArray const pieces = quoted_string_tokenization(trimmed, "[],");
    if (pieces.empty()) {
        return entry;
    }
    entry.name = remove_quotes(pieces[0]);
    for (std::size_t i = 1; i < pieces.size(); ++i) {
        std::pair<String, String> attribute = XMLQuery_parse_attribute_specifier(pieces[i]);
        if (!attribute.first.empty() || !attribute.second.empty()) {
            entry.attributes.append(std::move(attribute));
        }
    }
    return entry;
}

/// The steps of `query`, each with a name or an attribute, the outermost first.
inline Array<XMLQueryEntry> parseXMLQuery(String const& query) {
    Logger const logger(COMPONENT_NAME.get());
    ZEB_LOG_DEBUG(logger, UNIT, Format("XMLQueryParser: Parsing the XML query: \"%1\"", query));
    Array<XMLQueryEntry> entries;
    StringArray const pieces = quoted_string_tokenization(query, ".");
    for (String const& piece : pieces) {
        XMLQueryEntry entry = XMLQuery_parse_node_specifier(piece);
        if (!entry.name.empty() || !entry.attributes.empty()) {
            entries.append(std::move(entry));
        }
    }
    return entries;
}

// ---------------------------------------------------------------------------------- Node search

/// Whether the texts are equal, ignoring case. Most differ in length, which needs no call.
inline bool equalIgnoringCase(String const& wanted, std::string_view text) {
    return wanted.length() == text.size() && wanted.equalsIgnoreCase(text);
}

/// Whether `node` fits one step.
/// @param logger a search passes its own: building one counts references to the component's name,
///   on which searching threads would contend
inline bool XMLQueryEntryMatches(XMLNode const& node, XMLQueryEntry const& entry,
                                 Logger const& logger = Logger(COMPONENT_NAME.get())) {
    ZEB_LOG_DEBUG2(logger, UNIT, Format("XMLNodeSearch: Comparing %1 to %2", entry, node));
    if (!entry.name.empty() && !equalIgnoringCase(entry.name, node.nameView())) {
        return false;
    }
    // Every attribute that fits counts, even a second one whose name differs in case alone: such a
    // node is deliberately not a match.
    std::size_t matched = 0;
    std::size_t const count = node.attributeCount();
    for (auto const& [name, value] : entry.attributes) {
        for (std::size_t i = 0; i < count; ++i) {
            if (!equalIgnoringCase(name, node.attributeNameView(i))) {
                continue;
            }
            if (value.empty()) {
                ZEB_LOG_DEBUG2(
                    logger, UNIT,
                    Format("XMLNodeSearch: XML attribute matched required name (%1)", name));
                ++matched;
            } else if (equalIgnoringCase(value, node.attributeValueView(i))) {
                ZEB_LOG_DEBUG2(logger, UNIT,
                               Format("XMLNodeSearch: XML attribute matched required name (%1) and "
                                      "value (%2)",
                                      name, value));
                ++matched;
            }
        }
    }
    if (matched != entry.attributes.size()) {
        ZEB_LOG_DEBUG2(
            logger, UNIT,
            Format("XMLNodeSearch: Not a match: only matched %1 of %2 required attributes.",
                   matched, entry.attributes.size()));
        return false;
    }
    ZEB_LOG_DEBUG2(logger, UNIT,
                   "XMLNodeSearch: Node matched.  The node name and all required attributes are "
                   "match.");
    return true;
}

/// Searches `node` and its following siblings for the steps from `current` to `end`, depth first.
///
/// The recursion over the levels is a loop with an explicit stack, since a query may have any
/// number of steps. `path` contains the node of each level entered, which matched the steps before
/// `current`; removing one returns from its level.
/// @param[out] found the first node that completes the query; unchanged when there is none
inline bool RecursiveNodeSearch(XMLNode const& node, XMLQueryIterator current, XMLQueryIterator end,
                                XMLNode& found) {
    Logger const logger(COMPONENT_NAME.get());
    ZEB_LOG_DEBUG(logger, UNIT, Format("XMLNodeSearch: Querying node: %1", node.toString()));
    if (current == end) {
        return false;
    }
    std::vector<XMLNode> path;
    XMLNode candidate = node;
    for (;;) {
        while (candidate.isNull()) {
            if (path.empty()) {
                return false;
            }
            candidate = std::move(path.back()).getNext();
            path.pop_back();
            --current;
        }
        if (XMLQueryEntryMatches(candidate, *current, logger)) {
            ZEB_LOG_DEBUG(logger, UNIT,
                          Format("XMLNodeSearch: Node matches query entry... Recursing for further "
                                 "checks: %1",
                                 candidate.toString()));
            if (current + 1 == end) {
                ZEB_LOG_DEBUG(logger, UNIT,
                              Format("XMLNodeSearch: Ran out of query... Must be a match: %1",
                                     candidate.toString()));
                found = std::move(candidate);
                for (std::size_t level = 0; level < path.size(); ++level) {
                    ZEB_LOG_DEBUG(logger, UNIT, "XMLNodeSearch: Recursive checks found a match...");
                }
                return true;
            }
            XMLNode child = candidate.getChild();
            if (child) {
                path.push_back(std::move(candidate));
                ++current;
                candidate = std::move(child);
                ZEB_LOG_DEBUG(logger, UNIT,
                              Format("XMLNodeSearch: Querying node: %1", candidate.toString()));
                continue;
            }
            ZEB_LOG_DEBUG(logger, UNIT,
                          Format("XMLNodeSearch: Have more query than children for node \"%1\".  "
                                 "Checking next sibling.",
                                 candidate.getName()));
        }
        candidate = std::move(candidate).getNext();
    }
}

}  // namespace
}  // namespace ZEBNS2
