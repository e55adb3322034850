#include <OrventoXMLOperations.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>

#include "VirtualSlots.hpp"

namespace {

using testing::ElementsAre;
using zeb::common::JORLibraryException;
using zeb::foundation::Exception;
using ZEBNS2::OrventoXMLException;

TEST(OrventoXMLExceptionTest, AddsNothingToItsBaseButTheType) {
    EXPECT_TRUE((std::is_base_of_v<JORLibraryException, OrventoXMLException>));
    EXPECT_EQ(sizeof(OrventoXMLException), sizeof(Exception));
    EXPECT_TRUE(std::is_nothrow_copy_constructible_v<OrventoXMLException>);
}

TEST(OrventoXMLExceptionTest, HandsItsArgumentsToItsBase) {
    OrventoXMLException const cause("Cause", 3, "why", 4, nullptr, 5);
    OrventoXMLException const exception("Unit", 12, "message", 7, &cause, 9);
    EXPECT_STREQ(exception.getFile(), "Unit");
    EXPECT_EQ(exception.getLine(), 12);
    EXPECT_STREQ(exception.getMessage(), "message");
    EXPECT_STREQ(exception.what(), "message");
    EXPECT_EQ(exception.getSubclassCode(), 7);
    EXPECT_EQ(exception.getErrorCode(), 9);
    ASSERT_NE(exception.getChained(), nullptr);
    EXPECT_STREQ(exception.getChained()->getMessage(), "why");
}

TEST(OrventoXMLExceptionTest, CloneIsAnEqualObjectOfTheSameClass) {
    OrventoXMLException const exception("Unit", 12, "message", 7, nullptr, 9);
    Exception const& base = exception;
    std::unique_ptr<Exception const> const clone(base.clone());
    ASSERT_NE(clone, nullptr);
    EXPECT_NE(clone.get(), &base);
    Exception const& copy = *clone;
    EXPECT_EQ(typeid(copy), typeid(OrventoXMLException));
    EXPECT_STREQ(clone->type(), exception.type());
    EXPECT_STREQ(clone->getFile(), "Unit");
    EXPECT_EQ(clone->getLine(), 12);
    EXPECT_STREQ(clone->getMessage(), "message");
    EXPECT_EQ(clone->getSubclassCode(), 7);
    EXPECT_EQ(clone->getErrorCode(), 9);
}

TEST(OrventoXMLExceptionTest, RethrowThrowsTheDerivedClass) {
    OrventoXMLException const exception("Unit", 12, "message", 7, nullptr, 9);
    Exception const& base = exception;
    EXPECT_THROW(base.rethrow(), OrventoXMLException);
}

// This program links to the library only: what the library throws is caught on its other side.
TEST(OrventoXMLExceptionTest, IsCaughtAsAnyOfItsBases) {
    EXPECT_THROW(ZEBNS2::validateXML("<a>"), OrventoXMLException);
    EXPECT_THROW(ZEBNS2::validateXML("<a>"), JORLibraryException);
    EXPECT_THROW(ZEBNS2::validateXML("<a>"), Exception);
    EXPECT_THROW(ZEBNS2::validateXML("<a>"), std::exception);
}

TEST(OrventoXMLExceptionTest, TypeIsItsName) {
    OrventoXMLException const exception("", 0, "", 0, nullptr, 0);
    EXPECT_STREQ(exception.type(), "OrventoXMLException");
    EXPECT_STREQ(typeid(exception).name(), "N6ZEBNS219OrventoXMLExceptionE");
}

TEST(OrventoXMLExceptionTest, VirtualSlotsAreInOrder) {
    OrventoXMLException const exception("", 0, "", 0, nullptr, 0);
    std::string const scope = "ZEBNS2::OrventoXMLException::";
    EXPECT_THAT(zeb::test::virtualSlots(exception, 7),
                ElementsAre(scope + "~OrventoXMLException()", scope + "~OrventoXMLException()",
                            "zeb::foundation::Exception::what() const", scope + "type() const",
                            "zeb::foundation::Exception::getMessage() const",
                            scope + "clone() const", scope + "rethrow() const"));
}

}  // namespace
