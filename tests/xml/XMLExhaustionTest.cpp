#include <OrventoXMLOperations.hpp>

#include <gtest/gtest.h>

#include <new>
#include <string>

#include <zeb/xmltoolkit/XMLParserDOM.hpp>

#include "FailingMalloc.hpp"

namespace {

using zeb::test::exhaust;
using zeb::test::Exhaustion;
using zeb::xmltoolkit::XMLParserDOM;
using ZEBNS2::OrventoXMLException;
using ZEBNS2::String;
using ZEBNS2::validateXML;
using ZEBNS2::XMLNode;
using ZEBNS2::XMLNodeSearch;

String disks(int count) {
    std::string xml = "<config>";
    for (int i = 0; i < count; ++i) {
        xml += "<disk><partition/></disk>";
    }
    return xml + "<disk><volume/></disk></config>";
}

TEST(XMLExhaustion, ValidationLetsBadAllocThroughAndLeavesTheMessage) {
    String const xml = disks(10);
    String message = "as it was";
    Exhaustion const good = exhaust([&] { EXPECT_TRUE(validateXML(xml, message)); });
    EXPECT_GT(good.refusals, 5);
    EXPECT_FALSE(good.leaked);
    EXPECT_EQ(message, "as it was");

    Exhaustion const malformed =
        exhaust([&] { EXPECT_THROW(validateXML("<a>"), OrventoXMLException); });
    EXPECT_GT(malformed.refusals, 5);
    EXPECT_FALSE(malformed.leaked);
}

TEST(XMLExhaustion, ASearchThrowsBadAllocAndLeaksNothing) {
    XMLNode const tree = XMLParserDOM::parse(disks(10));
    // Builds the component's name, which stays.
    ASSERT_TRUE(XMLNodeSearch(tree, "config"));
    Exhaustion const result =
        exhaust([&] { EXPECT_TRUE(XMLNodeSearch(tree, "config.\"disk\".volume[].\"\"")); });
    EXPECT_GT(result.refusals, 5);
    EXPECT_FALSE(result.leaked);
    EXPECT_EQ(tree.getName(), "config");
}

TEST(XMLExhaustion, ASearchThatIsNotLoggedRendersNothing) {
    XMLNode const small = XMLParserDOM::parse(disks(1));
    XMLNode const large = XMLParserDOM::parse(disks(1000));
    auto const allocations = [](XMLNode const& tree) {
        long const before = zeb::test::allocationsMade;
        EXPECT_EQ(XMLNodeSearch(tree, "config.disk.volume").getName(), "volume");
        return zeb::test::allocationsMade - before;
    };
    static_cast<void>(allocations(small));
    EXPECT_EQ(allocations(small), allocations(large));
}

TEST(XMLExhaustion, AnExceptionThatCannotBeClonedGivesNull) {
    OrventoXMLException const exception("unit", 1, "text", -1, nullptr, -1);
    zeb::test::allocationsLeft = 0;
    OrventoXMLException const* const clone = exception.clone();
    zeb::test::allocationsLeft = zeb::test::UNLIMITED;
    EXPECT_EQ(clone, nullptr);
}

}  // namespace
