#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/Format.hpp>

#include "Parse.hpp"
#include "Repeat.hpp"

using zeb::foundation::Array;
using zeb::foundation::Format;
using zeb::foundation::OutOfBoundsException;
using zeb::foundation::String;
using zeb::test::parse;
using zeb::test::repeat;
using zeb::xmltoolkit::XMLNode;
using zeb::xmltoolkit::XMLParserDOM;

namespace {

static_assert(std::is_nothrow_default_constructible_v<XMLNode>);
static_assert(std::is_nothrow_copy_constructible_v<XMLNode>);
static_assert(std::is_nothrow_move_constructible_v<XMLNode>);
static_assert(std::is_nothrow_copy_assignable_v<XMLNode>);
static_assert(!std::is_convertible_v<XMLNode, bool>);

using Attributes = Array<std::pair<String, String>>;

void expectNull(XMLNode const& node) {
    EXPECT_TRUE(node.isNull());
    EXPECT_FALSE(static_cast<bool>(node));
    EXPECT_EQ(node.getName(), "");
    EXPECT_EQ(node.nameView(), "");
    EXPECT_TRUE(node.getAttrs().empty());
    EXPECT_EQ(node.attributeCount(), 0u);
    EXPECT_THROW(static_cast<void>(node.attributeNameView(0)), OutOfBoundsException);
    EXPECT_THROW(static_cast<void>(node.attributeValueView(0)), OutOfBoundsException);
    EXPECT_EQ(node.getText(), "");
    EXPECT_TRUE(node.getChild().isNull());
    EXPECT_TRUE(node.getNext().isNull());
    EXPECT_EQ(node.toString(), "");
    std::ostringstream stream;
    stream << '[' << node << ']';
    EXPECT_EQ(stream.str(), "[]");
}

TEST(XMLNodeTest, ADefaultHandleIsNullAndAllowsEverything) { expectNull(XMLNode()); }

TEST(XMLNodeTest, AMovedFromHandleIsNull) {
    XMLNode node = parse("<a/>");
    XMLNode const other = std::move(node);
    expectNull(node);  // NOLINT(bugprone-use-after-move): that is what is promised
    EXPECT_EQ(other.getName(), "a");
}

TEST(XMLNodeTest, ThereIsNoRelativeBeyondTheTree) {
    XMLNode const node = parse("<a>text</a>");
    expectNull(node.getChild());
    expectNull(node.getNext());
    expectNull(parse("<a/>").getChild());
}

TEST(XMLNodeTest, CopiesReferToTheSameNode) {
    XMLNode const node = parse("<a><b/></a>").getChild();
    XMLNode copy = node;
    EXPECT_EQ(copy.getName(), "b");
    EXPECT_EQ(copy.nameView().data(), node.nameView().data());
    XMLNode assigned;
    assigned = copy;
    copy = XMLNode();
    EXPECT_EQ(assigned.getName(), "b");
    expectNull(copy);
}

TEST(XMLNodeTest, AnyHandleKeepsTheTreeAlive) {
    XMLNode leaf = parse("<a><b><c x='1'>t</c></b></a>").getChild().getChild();
    EXPECT_EQ(leaf.toString(), "<c x=\"1\">t</c>");
    XMLNode root = parse("<a><b/><c/></a>");
    XMLNode const last = root.getChild().getNext();
    root = XMLNode();
    EXPECT_EQ(last.getName(), "c");
}

TEST(XMLNodeTest, AttributesComeInTheOrderWritten) {
    XMLNode const node = parse("<a z='1' b='' a='&lt;3'/>");
    Attributes const attributes = node.getAttrs();
    EXPECT_EQ(attributes, (Attributes{{"z", "1"}, {"b", ""}, {"a", "<3"}}));
    ASSERT_EQ(node.attributeCount(), 3u);
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        EXPECT_EQ(node.attributeNameView(i), std::string_view(attributes[i].first));
        EXPECT_EQ(node.attributeValueView(i), std::string_view(attributes[i].second));
    }
    EXPECT_THROW(static_cast<void>(node.attributeNameView(3)), OutOfBoundsException);
    EXPECT_THROW(static_cast<void>(node.attributeValueView(3)), OutOfBoundsException);
    EXPECT_TRUE(parse("<a/>").getAttrs().empty());
}

TEST(XMLNodeTest, TextIsThatOfTheElementAlone) {
    XMLNode const node = parse("<a>1<b>2<c>3</c></b><![CDATA[<4>]]><d/>&amp;5\n</a>");
    EXPECT_EQ(node.getText(), "1<4>&5\n");
    EXPECT_EQ(node.getChild().getText(), "2");
    EXPECT_EQ(node.getChild().getNext().getText(), "");
}

TEST(XMLNodeTest, OnlyElementsAreRelatives) {
    XMLNode const node = parse("<a> 1 <!-- x --><?pi?><b/>2<c/><!-- y -->3</a>");
    XMLNode const b = node.getChild();
    EXPECT_EQ(b.getName(), "b");
    XMLNode const c = b.getNext();
    EXPECT_EQ(c.getName(), "c");
    expectNull(c.getNext());
}

TEST(XMLNodeTest, TheLastChildIsFollowedByNothingThoughItsParentIs) {
    XMLNode const node = parse("<a><b><c/></b><d/></a>");
    expectNull(node.getChild().getChild().getNext());
    EXPECT_EQ(node.getChild().getNext().getName(), "d");
}

TEST(XMLNodeTest, MovingWalkVisitsTheSameNodesAsTheCopyingOne) {
    XMLNode const node = parse("<a>x<b/>x<c><e/></c>x<d/>x</a>");
    std::string copying;
    for (XMLNode child = node.getChild(); child; child = child.getNext()) {
        copying += child.nameView();
    }
    std::string moving;
    for (XMLNode child = node.getChild(); child; child = std::move(child).getNext()) {
        moving += child.nameView();
    }
    EXPECT_EQ(copying, "bcd");
    EXPECT_EQ(moving, "bcd");
}

TEST(XMLNodeTest, ToStringEscapesWhatAParserWouldChange) {
    EXPECT_EQ(parse("<a x='&amp;&lt;&gt;&quot;&apos;&#9;&#10;&#13;'>&amp;&lt;&gt;\"'\t\n&#13;</a>")
                  .toString(),
              "<a x=\"&amp;&lt;&gt;&quot;'&#9;&#10;&#13;\">&amp;&lt;&gt;\"'\t\n&#13;</a>");
    EXPECT_EQ(parse("<a>]]&gt;</a>").toString(), "<a>]]&gt;</a>");
}

TEST(XMLNodeTest, ToStringKeepsMixedContentInOrder) {
    EXPECT_EQ(parse("<a>1<b>2</b>3<c/>4<d></d></a>").toString(), "<a>1<b>2</b>3<c/>4<d/></a>");
}

TEST(XMLNodeTest, ToStringRendersTheSubtreeAlone) {
    XMLNode const node = parse("<a>1<b x='1'>2<c/></b>3<d/></a>");
    EXPECT_EQ(node.getChild().toString(), "<b x=\"1\">2<c/></b>");
    EXPECT_EQ(node.getChild().getNext().toString(), "<d/>");
}

TEST(XMLNodeTest, StreamInsertionWritesWhatToStringReturns) {
    XMLNode const node = parse("<a><b/></a>");
    std::ostringstream stream;
    stream << node << std::setw(6) << std::setfill('.') << node.getChild();
    EXPECT_EQ(stream.str(), "<a><b/></a>..<b/>");
    EXPECT_EQ(String(Format("[%1]", node)), "[<a><b/></a>]");
}

TEST(XMLNodeTest, TheDeepestTreeIsWalkedRenderedAndDropped) {
    std::size_t const depth = XMLParserDOM::MAXIMUM_DEPTH;
    std::string const xml = repeat("<a>x", depth - 1) + "<b/>" + repeat("y</a>", depth - 1);
    XMLNode node = parse(xml);
    EXPECT_EQ(node.toString(), std::string_view(xml));
    std::size_t levels = 1;
    for (XMLNode child = node.getChild(); child; child = std::move(child).getChild()) {
        node = child;
        ++levels;
    }
    EXPECT_EQ(levels, depth);
    EXPECT_EQ(node.toString(), "<b/>");
}

}  // namespace
