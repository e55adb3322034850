// The commands that check and search XML.

#include "Commands.hpp"
#include "Excerpt.hpp"
#include "Json.hpp"

#include <OrventoTextOperations.hpp>
#include <OrventoXMLOperations.hpp>

#include <zeb/foundation/Exception.hpp>
#include <zeb/xmltoolkit/DOMException.hpp>
#include <zeb/xmltoolkit/XMLParserDOM.hpp>

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zeb::cli {

using xmltoolkit::DOMException;
using xmltoolkit::XMLParserDOM;
using ZEBNS2::String;
using ZEBNS2::XMLNode;

namespace {

/// The parser's result for a malformed text.
class Malformed {
public:
    explicit Malformed(DOMException const& exception)
        : line(exception.getTextLine()),
          column(exception.getTextColumn()),
          reason(exception.getReason()) {}

    /// "file:L:C: reason", which editors understand.
    [[nodiscard]] std::string located(std::string const& file) const {
        return file + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " + reason;
    }

    /// The place in the text, as `excerpt` shows it.
    [[nodiscard]] std::string place(String const& input, bool colored) const {
        String utf8 = input;
        try {
            utf8 = utf8ByMark(input);
        } catch (foundation::Exception const&) {
            // Malformed UTF-16 is shown by its bytes.
        }
        std::string_view text(utf8);
        for (std::uint64_t i = 1; i < line; ++i) {
            std::size_t const end = std::min(text.find_first_of("\r\n"), text.size());
            bool const two = text.substr(end, 2) == "\r\n";
            text.remove_prefix(std::min(end + (two ? 2 : 1), text.size()));
        }
        text = text.substr(0, text.find_first_of("\r\n"));
        // A column is a character of any number of bytes. So is the mark, which is invisible and is
        // gone from converted UTF-16.
        constexpr std::string_view MARK = "\xEF\xBB\xBF";
        bool const hasMark = line == 1 && text.substr(0, MARK.size()) == MARK;
        bool const hadMark = line == 1 && utf8 != input;
        text.remove_prefix(hasMark ? MARK.size() : 0);
        std::size_t offset = 0;
        for (std::uint64_t i = hasMark || hadMark ? 2 : 1; i < column && offset < text.size();
             ++i) {
            do {
                ++offset;
            } while (offset < text.size() &&
                     (static_cast<unsigned char>(text[offset]) & 0xC0) == 0x80);
        }
        return excerpt(text, offset, colored);
    }

    std::uint64_t line;
    std::uint64_t column;
    std::string reason;
};

/// The top element of a text.
/// @throws Failure that shows where it is malformed
XMLNode parsed(std::string const& name, String const& input) {
    try {
        return XMLParserDOM::parse(input);
    } catch (DOMException const& exception) {
        Malformed const malformed(exception);
        throw Failure(malformed.located(name), malformed.place(input, isColored(STDERR_FILENO)));
    }
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

std::string jsonOf(std::string const& file, XMLNode const& node) {
    JsonObject attributes;
    for (auto const& [name, value] : node.getAttrs()) {
        attributes.add(name, value);
    }
    return JsonObject()
        .add("file", file)
        .add("name", node.getName())
        .addJson("attributes", attributes.text())
        .add("text", node.getText())
        .add("xml", node.toString())
        .text();
}

/// A query whose matches can be found one after the other, while the library's search returns the
/// first: it is searched step by step, with the siblings after each element found.
class StepwiseQuery {
public:
    /// @throws std::exception as the library does for the query
    explicit StepwiseQuery(String const& query) {
        // The only step that fits both of these is one without name and attributes, which the
        // library skips.
        XMLNode const a = XMLParserDOM::parse("<a/>");
        XMLNode const b = XMLParserDOM::parse("<b/>");
        for (String const& step : ZEBNS2::quoted_string_tokenization(query, ".")) {
            XMLNode const fitting = ZEBNS2::XMLNodeSearch(a, step);
            if (fitting.isNull() || ZEBNS2::XMLNodeSearch(b, step).isNull()) {
                steps_.push_back(step);
            }
        }
    }

    /// Passes every element that fits to `work`, in document order.
    template <typename Work>
    void forEachFit(XMLNode const& top, Work const& work) const {
        if (steps_.empty()) {
            work(top);
            return;
        }
        std::vector<XMLNode> path{ZEBNS2::XMLNodeSearch(top, steps_[0])};  // one for each level
        while (!path.empty()) {
            if (path.back().isNull()) {
                path.pop_back();
                if (path.empty()) {
                    return;
                }
            } else if (path.size() < steps_.size()) {
                path.push_back(ZEBNS2::XMLNodeSearch(path.back().getChild(), steps_[path.size()]));
                continue;
            } else {
                work(path.back());
            }
            path.back() = ZEBNS2::XMLNodeSearch(path.back().getNext(), steps_[path.size() - 1]);
        }
    }

private:
    std::vector<String> steps_;
};

}  // namespace

Status xmlCheck(Words const& words, Output& out) {
    Arguments arguments("xml check",
                        "Prints for each file whether it is well-formed XML, or where and why it "
                        "is not.\nThe exit status is 1 when one is not.",
                        "  zeb-text xml check *.xml\n");
    Words files;
    bool json = false;
    arguments.rest("FILE", files, "Files to read; without one, standard input");
    arguments.flag("--json", json,
                   "Print each file as an object: file, wellFormed; and line, column, reason");
    arguments.parse(words);

    bool allWellFormed = true;
    bool const allWell = forEachInput(out, files, [&](std::string const& name, String const& text) {
        std::optional<Malformed> malformed;
        try {
            static_cast<void>(XMLParserDOM::parse(text));
        } catch (DOMException const& exception) {
            malformed.emplace(exception);
            allWellFormed = false;
        }
        if (!malformed) {
            if (json) {
                out.line(JsonObject().add("file", name).addJson("wellFormed", "true").text());
            } else {
                out.line(name + ": ok");
            }
        } else if (json) {
            out.line(JsonObject()
                         .add("file", name)
                         .addJson("wellFormed", "false")
                         .addJson("line", std::to_string(malformed->line))
                         .addJson("column", std::to_string(malformed->column))
                         .add("reason", malformed->reason)
                         .text());
        } else {
            out.line(malformed->located(name));
            out.write(malformed->place(text, isColored(STDOUT_FILENO)));
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
        "  zeb-text xml find --text 'config.host[ip=\"10.0.0.1\"].name' disks.xml\n"
        "  zeb-text xml find --all --attribute id 'config.disk[type=ssd]' disks.xml\n");
    std::string query;
    std::optional<std::string> attribute;
    bool all = false;
    bool text = false;
    bool json = false;
    Words files;
    arguments.word("QUERY", query, "The query");
    arguments.rest("FILE", files, "Files to read; without one, standard input");
    arguments.flag("--all", all, "Print every element that fits, not only the first");
    arguments.flag("--text", text, "Print the text of the element");
    arguments.option("--attribute", "NAME", attribute, "Print the value of an attribute of it");
    arguments.flag("--json", json,
                   "Print each element as an object: file, name, attributes, text, xml");
    arguments.exclusive({"--text", "--attribute", "--json"});
    arguments.parse(words);

    bool found = false;
    bool const allWell =
        forEachInput(out, files, [&](std::string const& name, String const& input) {
            XMLNode const top = parsed(name, input);
            auto const print = [&](XMLNode const& node) {
                String shown;
                if (node.isNull() || (attribute && !findAttribute(node, *attribute, shown))) {
                    return;
                }
                if (!attribute) {
                    shown = text ? node.getText() : node.toString();
                }
                found = true;
                if (json) {
                    out.line(jsonOf(name, node));
                } else {
                    out.line(shown);
                }
            };
            if (all) {
                StepwiseQuery(query).forEachFit(top, print);
            } else {
                print(ZEBNS2::XMLNodeSearch(top, query));
            }
        });
    return searchStatus(allWell, found);
}

}  // namespace zeb::cli
