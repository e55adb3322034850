#include <OrventoXMLOperations.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "LogCapture.hpp"

namespace {

using testing::IsEmpty;
using ZEBNS2::OrventoXMLException;
using ZEBNS2::String;
using ZEBNS2::validateXML;

TEST(ValidateXML, AWellFormedTextIsTrueAndLeavesTheMessage) {
    String message = "as it was";
    EXPECT_TRUE(validateXML("<a><b x='1'/>text</a>", message));
    EXPECT_EQ(message, "as it was");
}

TEST(ValidateXML, AMalformedTextIsFalseAndGivesTheParsersText) {
    String message = "as it was";
    EXPECT_FALSE(validateXML("<a>\n</b>", message));
    EXPECT_EQ(message, "line 2, column 3: mismatched tag");
}

TEST(ValidateXML, TheTextMayBeTheMessage) {
    String text = "<a>";
    EXPECT_FALSE(validateXML(text, text));
    EXPECT_EQ(text, "line 1, column 4: no element found");
}

TEST(ValidateXML, SeveralTopElementsAreMalformed) {
    String message;
    EXPECT_FALSE(validateXML("<a/><b/>", message));
    EXPECT_EQ(message, "line 1, column 5: junk after document element");
}

TEST(ValidateXML, NulBytesAreSeen) {
    String message;
    EXPECT_FALSE(validateXML(String("<a/>\0", 5), message));
    EXPECT_EQ(message, "line 1, column 5: not well-formed (invalid token)");
}

TEST(ValidateXML, TheOneArgumentFormReturnsOrThrows) {
    validateXML("<a/>");
    try {
        validateXML("<a></b>");
        FAIL() << "accepted";
    } catch (OrventoXMLException const& exception) {
        EXPECT_STREQ(exception.getMessage(), "Invalid XML: line 1, column 6: mismatched tag");
        EXPECT_STREQ(exception.getFile(), "OrventoXMLOperations");
        EXPECT_GT(exception.getLine(), 0);
        EXPECT_EQ(exception.getSubclassCode(), -1);
        EXPECT_EQ(exception.getErrorCode(), -1);
        EXPECT_EQ(exception.getChained(), nullptr);
    }
}

TEST(ValidateXML, NothingIsLogged) {
    zeb::test::LogCapture const log;
    String message;
    EXPECT_TRUE(validateXML("<a/>", message));
    EXPECT_FALSE(validateXML("<a>", message));
    EXPECT_THROW(validateXML("<a>"), OrventoXMLException);
    EXPECT_THAT(log.lines(), IsEmpty());
}

}  // namespace
