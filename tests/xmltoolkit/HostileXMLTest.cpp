#include <gtest/gtest.h>

#include <string>

#include "Parse.hpp"
#include "Repeat.hpp"

using zeb::test::inUTF16;
using zeb::test::parse;
using zeb::test::rejection;
using zeb::test::repeat;
using zeb::xmltoolkit::XMLNode;

namespace {

constexpr std::string_view AMPLIFIED =
    ": limit on input amplification factor (from DTD and entities) breached";

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

TEST(HostileXML, AMillionNestedElementsAreRefused) {
    EXPECT_EQ(rejection(repeat("<a>", 1'000'000) + repeat("</a>", 1'000'000)),
              "line 1, column 30001: elements are nested deeper than 10000");
    EXPECT_EQ(rejection(repeat("<a>", 1'000'000)),
              "line 1, column 30001: elements are nested deeper than 10000");
}

TEST(HostileXML, AMillionSiblingsAreATree) {
    XMLNode const node = parse("<a>" + repeat("<b/>", 1'000'000) + "</a>");
    std::size_t count = 0;
    for (XMLNode child = node.getChild(); child; child = std::move(child).getNext()) {
        ++count;
    }
    EXPECT_EQ(count, 1'000'000u);
}

TEST(HostileXML, AMillionAttributesOfOneElementAreKept) {
    std::string xml = "<a";
    for (int i = 0; i < 1'000'000; ++i) {
        xml += " n" + std::to_string(i) + "='" + std::to_string(i) + "'";
    }
    XMLNode const node = parse(xml + "/>");
    ASSERT_EQ(node.attributeCount(), 1'000'000u);
    EXPECT_EQ(node.attributeNameView(0), "n0");
    EXPECT_EQ(node.attributeNameView(999'999), "n999999");
    EXPECT_EQ(node.attributeValueView(777'777), "777777");
}

TEST(HostileXML, ManyDistinctNamesStayDistinct) {
    std::string xml = "<r>";
    for (int i = 0; i < 200'000; ++i) {
        xml += "<n" + std::to_string(i) + "/>";
    }
    XMLNode child = parse(xml + "</r>").getChild();
    for (int i = 0; i < 200'000; ++i) {
        ASSERT_EQ(child.nameView(), "n" + std::to_string(i));
        child = std::move(child).getNext();
    }
    EXPECT_TRUE(child.isNull());
}

TEST(HostileXML, LongNamesAndValuesAreKept) {
    std::string const name(1'000'000, 'n');
    std::string const value(5'000'000, 'v');
    XMLNode const node = parse("<" + name + " " + name + "='" + value + "'/>");
    EXPECT_TRUE(node.nameView() == name);
    EXPECT_TRUE(node.attributeNameView(0) == name);
    EXPECT_TRUE(node.attributeValueView(0) == value);
}

std::string billionLaughs() {
    std::string xml = "<!DOCTYPE a [<!ENTITY e0 'ha'>";
    for (int i = 1; i <= 10; ++i) {
        xml += "<!ENTITY e" + std::to_string(i) + " '" +
               repeat("&e" + std::to_string(i - 1) + ";", 10) + "'>";
    }
    return xml + "]>";
}

TEST(HostileXML, BillionLaughsAreRefused) {
    EXPECT_TRUE(endsWith(rejection(billionLaughs() + "<a>&e10;</a>"), AMPLIFIED));
    EXPECT_TRUE(endsWith(rejection(billionLaughs() + "<a x='&e10;'/>"), AMPLIFIED));
}

TEST(HostileXML, BillionLaughsOfParameterEntitiesAreRefused) {
    std::string xml = "<!DOCTYPE a [<!ENTITY % e0 '<!ELEMENT b ANY>'>";
    for (int i = 1; i <= 10; ++i) {
        xml += "<!ENTITY % e" + std::to_string(i) + " '" +
               repeat("&#37;e" + std::to_string(i - 1) + ";", 10) + "'>";
    }
    EXPECT_TRUE(endsWith(rejection(xml + "%e10;]><a/>"), AMPLIFIED));
}

TEST(HostileXML, QuadraticBlowupIsRefused) {
    std::string const xml = "<!DOCTYPE a [<!ENTITY e '" + std::string(100'000, 'x') + "'>]><a>" +
                            repeat("&e;", 50'000) + "</a>";
    EXPECT_TRUE(endsWith(rejection(xml), AMPLIFIED));
}

TEST(HostileXML, AmplificationIsThatOfTheGivenBytes) {
    // In UTF-8 the text is half as long again, so that the limit must count what was given.
    auto const document = [](std::size_t references) {
        return "\xFF\xFE" + inUTF16("<!DOCTYPE a [<!ENTITY e '", true) +
               repeat("\x2D\x4E", 200'000) +
               inUTF16("'>]><a>" + repeat("&e;", references) + "</a>", true);
    };
    EXPECT_EQ(parse(document(60)).getText().length(), 36'000'000u);
    EXPECT_TRUE(endsWith(rejection(document(90)), AMPLIFIED));
}

TEST(HostileXML, EntitiesThatHoldElementsAreLimitedToo) {
    std::string const xml = "<!DOCTYPE a [<!ENTITY e '" + repeat("<b/>", 25'000) + "'>]><a>" +
                            repeat("&e;", 50'000) + "</a>";
    EXPECT_TRUE(endsWith(rejection(xml), AMPLIFIED));
}

TEST(HostileXML, DefaultAttributesCannotBlowUpTheTree) {
    // libexpat passes one stored value for each element; the tree would take 100 GB.
    std::string const oneLong = "<!DOCTYPE a [<!ATTLIST b x CDATA '" + std::string(1'000'000, 'x') +
                                "'>]><a>" + repeat("<b/>", 100'000) + "</a>";
    EXPECT_TRUE(endsWith(rejection(oneLong),
                         ": default attributes make the text more than 100 times as long"));
    std::string many = "<!DOCTYPE a [<!ATTLIST b";
    for (int i = 0; i < 2'000; ++i) {
        many += " n" + std::to_string(i) + " CDATA ''";
    }
    many += ">]><a>" + repeat("<b/>", 100'000) + "</a>";
    EXPECT_TRUE(endsWith(rejection(many),
                         ": default attributes make the text more than 100 times as long"));
}

TEST(HostileXML, ModestDefaultAttributesAreNoAttack) {
    // 400 times as long, but below 8 MiB altogether.
    std::string const xml = "<!DOCTYPE a [<!ATTLIST b x CDATA '" + std::string(5'000, 'x') +
                            "'>]><a>" + repeat("<b/>", 1'600) + "</a>";
    EXPECT_EQ(rejection(xml), "");
}

TEST(HostileXML, ADeeplyNestedContentModelNeedsNoStack) {
    std::size_t const depth = 200'000;
    EXPECT_EQ(rejection("<!DOCTYPE a [<!ELEMENT a " + repeat("(", depth) + "b" +
                        repeat(")", depth) + ">]><a/>"),
              "");
}

}  // namespace
