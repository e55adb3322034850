#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Parse.hpp"
#include "Random.hpp"

using zeb::test::parse;
using zeb::xmltoolkit::XMLNode;

namespace {

/// A tree as a parser should build it: what a random text was made from.
struct Element {
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;
    /// Content in order; a child is an index into `children`, a text is itself.
    std::vector<std::pair<int, std::string>> content;
    std::vector<std::unique_ptr<Element>> children;
};

constexpr int TEXT = -1;

class Generator {
public:
    explicit Generator(std::uint32_t seed) : random_(seed) {}

    std::unique_ptr<Element> element(unsigned int depth) {
        auto result = std::make_unique<Element>();
        result->name = name();
        for (std::size_t i = random_.below(4); i > 0; --i) {
            std::string const attribute = name() + std::to_string(i);
            result->attributes.emplace_back(attribute, text());
        }
        bool afterText = false;
        for (std::size_t i = random_.below(5); i > 0; --i) {
            if (depth > 0 && random_.oneIn(2)) {
                result->content.emplace_back(static_cast<int>(result->children.size()), "");
                result->children.push_back(element(depth - 1));
                afterText = false;
            } else if (std::string const piece = text(); !piece.empty() && !afterText) {
                result->content.emplace_back(TEXT, piece);
                afterText = true;
            }
        }
        return result;
    }

    /// `tree` written in one of many ways.
    std::string write(Element const& tree) {
        std::string xml = "<" + tree.name;
        for (auto const& [name, value] : tree.attributes) {
            char const quote = random_.oneIn(2) ? '"' : '\'';
            xml += blank() + name + (random_.oneIn(4) ? " = " : "=") + quote +
                   escape(value, "<&\"'\t\n\r") + quote;
        }
        if (tree.content.empty() && random_.oneIn(2)) {
            return xml + "/>";
        }
        xml += ">";
        for (auto const& [index, text] : tree.content) {
            noise(xml);
            if (index != TEXT) {
                xml += write(*tree.children[static_cast<std::size_t>(index)]);
            } else if (random_.oneIn(4) && text.find("]]>") == std::string::npos &&
                       text.find('\r') == std::string::npos) {
                xml += "<![CDATA[" + text + "]]>";
            } else {
                xml += escape(text, "<&>\r");
            }
        }
        noise(xml);
        return xml + "</" + tree.name + ">";
    }

private:
    std::string name() {
        static char const* const NAMES[] = {
            "a", "b", "disk", "p:partition", "_x.y-z", "\xC3\xA4-pfel", "\xE5\x90\x8D", "A"};
        return random_.pick(NAMES);
    }

    std::string text() {
        static char const* const PIECES[] = {
            "<",    ">", "&", "\"",  "'",    "\t",       "\n",
            "\r",   " ", "x", "]]>", "&lt;", "\xC3\xA9", "\xF0\x9F\x98\x80",
            "word "};
        std::string result;
        for (std::size_t i = random_.below(8); i > 0; --i) {
            result += random_.pick(PIECES);
        }
        return result;
    }

    std::string blank() { return random_.oneIn(3) ? "\n\t" : " "; }

    std::string escape(std::string const& text, std::string const& special) {
        std::string result;
        for (char const byte : text) {
            if (special.find(byte) == std::string::npos) {
                result += byte;
            } else {
                result += "&#" + std::to_string(static_cast<int>(byte)) + ";";
            }
        }
        return result;
    }

    /// Things that leave no trace in the tree.
    void noise(std::string& xml) {
        switch (random_.below(8)) {
            case 0:
                xml += "<!-- <a> & -->";
                break;
            case 1:
                xml += "<?pi <a> & ?>";
                break;
            default:
                break;
        }
    }

    zeb::test::Random random_;
};

void expectEqual(XMLNode const& node, Element const& expected) {
    ASSERT_EQ(node.getName(), expected.name);
    auto const attributes = node.getAttrs();
    ASSERT_EQ(attributes.size(), expected.attributes.size());
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        EXPECT_EQ(attributes[i].first, expected.attributes[i].first);
        EXPECT_EQ(attributes[i].second, expected.attributes[i].second);
    }
    std::string text;
    XMLNode child = node.getChild();
    for (auto const& [index, piece] : expected.content) {
        text += piece;
        if (index != TEXT) {
            ASSERT_TRUE(child);
            expectEqual(child, *expected.children[static_cast<std::size_t>(index)]);
            child = child.getNext();
        }
    }
    EXPECT_TRUE(child.isNull());
    EXPECT_EQ(node.getText(), text);
}

/// The content of `node` in order, with the children's content in brackets, as `toString` writes
/// it.
std::string order(Element const& tree) {
    std::string result;
    for (auto const& [index, piece] : tree.content) {
        result += index == TEXT
                      ? piece
                      : "\x01" + order(*tree.children[static_cast<std::size_t>(index)]) + "\x02";
    }
    return result;
}

/// The same from a rendering: tags made brackets, references replaced.
std::string order(std::string xml) {
    static std::pair<char const*, char const*> const REFERENCES[] = {
        {"&lt;", "<"}, {"&gt;", ">"}, {"&#13;", "\r"}, {"&amp;", "&"}};
    std::string result;
    for (std::size_t i = 0; i < xml.size(); ++i) {
        if (xml[i] == '<') {
            std::size_t const end = xml.find('>', i);
            result += xml[i + 1] == '/' ? "\x02" : xml[end - 1] == '/' ? "\x01\x02" : "\x01";
            i = end;
        } else if (xml[i] == '&') {
            std::size_t const end = xml.find(';', i);
            for (auto const& [reference, character] : REFERENCES) {
                if (xml.compare(i, end + 1 - i, reference) == 0) {
                    result += character;
                }
            }
            i = end;
        } else {
            result += xml[i];
        }
    }
    return result.substr(1, result.size() - 2);
}

TEST(XMLRoundTrip, RandomTreesComeBack) {
    for (std::uint32_t seed = 0; seed < 3000; ++seed) {
        Generator generator(seed);
        std::unique_ptr<Element> const tree = generator.element(6);
        std::string const xml = generator.write(*tree);
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + xml);
        XMLNode const node = parse(xml);
        expectEqual(node, *tree);

        std::string const rendered{std::string_view(node.toString())};
        EXPECT_EQ(order(rendered), order(*tree));
        XMLNode const again = parse(rendered);
        expectEqual(again, *tree);
        EXPECT_EQ(again.toString(), rendered);
        if (HasFailure()) {
            break;
        }
    }
}

}  // namespace
