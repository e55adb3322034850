// Attributes by name, loops over children, and which handles are equal.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "Parse.hpp"

using zeb::foundation::String;
using zeb::test::parse;
using zeb::xmltoolkit::XMLChildren;
using zeb::xmltoolkit::XMLNode;

namespace {

TEST(XMLNodeGetAttr, TellsAMissingAttributeFromAnEmptyOne) {
    XMLNode const node = parse("<a id='7' label='' ID='8' x:id='9' xmlns:x='u'/>");
    EXPECT_EQ(node.getAttr("id"), String("7"));
    EXPECT_EQ(node.getAttr("ID"), String("8"));
    EXPECT_EQ(node.getAttr("x:id"), String("9"));
    EXPECT_EQ(node.getAttr("label"), String());
    EXPECT_EQ(node.getAttr("Id"), std::nullopt);
    EXPECT_EQ(node.getAttr("i"), std::nullopt);
    EXPECT_EQ(node.getAttr("idd"), std::nullopt);
    EXPECT_EQ(node.getAttr(""), std::nullopt);
    EXPECT_EQ(XMLNode().getAttr("id"), std::nullopt);
}

TEST(XMLNodeGetAttr, FindsDefaultsOfTheDocumentType) {
    EXPECT_EQ(parse("<!DOCTYPE a [<!ATTLIST a b CDATA 'c'>]><a/>").getAttr("b"), String("c"));
}

std::string namesOf(XMLChildren const& children) {
    std::string names;
    for (XMLNode const& child : children) {
        names += child.getName() + ",";
    }
    return names;
}

TEST(XMLNodeChildren, AreTheElementsInOrder) {
    EXPECT_EQ(namesOf(parse("<a>x<b><c/></b><!-- --><d/><?p?><b/>y</a>").children()), "b,d,b,");
    EXPECT_EQ(namesOf(parse("<a>text</a>").children()), "");
    EXPECT_TRUE(parse("<a/>").children().empty());
    EXPECT_FALSE(parse("<a><b/></a>").children().empty());
    EXPECT_TRUE(XMLNode().children().empty());
}

TEST(XMLNodeChildren, KeepTheTreeAlive) {
    XMLChildren const children = parse("<a><b/><c/></a>").children();
    EXPECT_EQ(namesOf(children), "b,c,");
    EXPECT_EQ(namesOf(children), "b,c,");
}

TEST(XMLNodeChildren, OfAChildEndWithItsParent) {
    XMLNode const top = parse("<a><b><c/><d/></b><e/></a>");
    EXPECT_EQ(namesOf(top.getChild().children()), "c,d,");
}

TEST(XMLNodeChildren, ServeTheStandardsAlgorithms) {
    XMLNode const top = parse("<a><d id='1'/><e/><d id='2'/></a>");
    XMLChildren const children = top.children();
    EXPECT_EQ(std::count_if(children.begin(), children.end(),
                            [](XMLNode const& node) { return node.nameView() == "d"; }),
              2);
    std::vector<XMLNode> const nodes(children.begin(), children.end());
    EXPECT_EQ(nodes.size(), 3u);
    auto position = children.begin();
    EXPECT_EQ(position++->getAttr("id"), String("1"));
    EXPECT_EQ((*position).getName(), "e");
    EXPECT_NE(position, children.end());
    static_assert(std::is_nothrow_move_constructible_v<XMLChildren>);
}

TEST(XMLNodeEquality, IsThatOfTheElement) {
    XMLNode const top = parse("<a><b/><b/></a>");
    XMLNode const first = top.getChild();
    EXPECT_EQ(first, top.getChild());
    EXPECT_NE(first, first.getNext());
    EXPECT_NE(first, top);
    EXPECT_NE(top, parse("<a><b/><b/></a>"));
    EXPECT_FALSE(top == XMLNode());
    EXPECT_FALSE(XMLNode() != XMLNode());
    XMLNode moved = first;
    XMLNode const taken = std::move(moved);
    EXPECT_EQ(taken, first);
    EXPECT_EQ(moved, XMLNode());  // NOLINT(bugprone-use-after-move): it is null then
}

}  // namespace
