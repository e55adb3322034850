#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include <zeb/foundation/String.hpp>
#include <zeb/xmltoolkit/XMLParserDOM.hpp>

#include "FailingMalloc.hpp"
#include "Parse.hpp"
#include "Repeat.hpp"

using zeb::foundation::String;
using zeb::test::exhaust;
using zeb::test::Exhaustion;
using zeb::xmltoolkit::DOMException;
using zeb::xmltoolkit::XMLNode;
using zeb::xmltoolkit::XMLParserDOM;

namespace {

/// A text that makes every block of a tree grow.
String sample() {
    std::string xml =
        "<!DOCTYPE a [<!ENTITY e 'x<b/>y'><!ATTLIST b x CDATA 'd'>]><a>&e;<![CDATA[<]]>";
    for (int i = 0; i < 100; ++i) {
        std::string const number = std::to_string(i);
        xml +=
            "<n" + number + " a" + number + "='" + std::string(50, 'v') + "'>t</n" + number + ">";
    }
    return xml + zeb::test::repeat("<b>", 100) + zeb::test::repeat("</b>", 100) + "</a>";
}

TEST(XMLMemoryExhaustion, ParsingThrowsBadAllocAndLeaksNothing) {
    String const xml = sample();
    Exhaustion const result = exhaust([&] { static_cast<void>(XMLParserDOM::parse(xml)); });
    EXPECT_GT(result.refusals, 30);
    EXPECT_FALSE(result.leaked);
}

TEST(XMLMemoryExhaustion, RejectingThrowsBadAllocUntilItCanTellTheReason) {
    String const deep = std::string(XMLParserDOM::MAXIMUM_DEPTH * 2, ' ') + "<a>&unknown;</a>";
    Exhaustion const result =
        exhaust([&] { EXPECT_THROW(static_cast<void>(XMLParserDOM::parse(deep)), DOMException); });
    EXPECT_GT(result.refusals, 5);
    EXPECT_FALSE(result.leaked);
}

TEST(XMLMemoryExhaustion, ReadingThrowsBadAllocAndLeavesTheTree) {
    XMLNode const node = XMLParserDOM::parse(sample());
    XMLNode const child = node.getChild().getNext();
    String const rendered = node.toString();
    EXPECT_GT(exhaust([&] { static_cast<void>(node.toString()); }).refusals, 1);
    EXPECT_GT(exhaust([&] { static_cast<void>(node.getText()); }).refusals, 0);
    EXPECT_GT(exhaust([&] { static_cast<void>(node.getName()); }).refusals, 0);
    EXPECT_GT(exhaust([&] { static_cast<void>(child.getAttrs()); }).refusals, 1);
    EXPECT_FALSE(exhaust([&] { static_cast<void>(child.getAttrs()); }).leaked);
    EXPECT_FALSE(exhaust([&] { static_cast<void>(node.toString()); }).leaked);
    EXPECT_EQ(node.toString(), rendered);
}

TEST(XMLMemoryExhaustion, WalkingAllocatesNothing) {
    XMLNode const node = XMLParserDOM::parse(sample());
    std::size_t bytes = 0;
    Exhaustion const result = exhaust([&] {
        for (XMLNode child = node.getChild(); child; child = child.getNext()) {
            bytes += child.nameView().size();
            for (std::size_t i = 0; i < child.attributeCount(); ++i) {
                bytes += child.attributeNameView(i).size() + child.attributeValueView(i).size();
            }
        }
    });
    EXPECT_EQ(result.refusals, 0);
    EXPECT_GT(bytes, 5000u);
}

TEST(XMLMemoryExhaustion, AnExceptionThatCannotBeClonedGivesNull) {
    DOMException const exception("unit", 1, "text", -1, nullptr, -1);
    zeb::test::allocationsLeft = 0;
    DOMException const* const clone = exception.clone();
    zeb::test::allocationsLeft = zeb::test::UNLIMITED;
    EXPECT_EQ(clone, nullptr);
}

}  // namespace
