#include <zeb/common/JORLibraryException.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <type_traits>

#include "VirtualSlots.hpp"

namespace {

using zeb::common::JORLibraryException;
using zeb::foundation::Exception;

static_assert(std::is_base_of_v<Exception, JORLibraryException>);
static_assert(std::is_nothrow_copy_constructible_v<JORLibraryException>);
static_assert(sizeof(JORLibraryException) == sizeof(Exception), "no data of its own");

JORLibraryException const CAUSE("Cause", 3, "why", 4, nullptr, 5);

TEST(JORLibraryException, HandsItsArgumentsToItsBase) {
    JORLibraryException const exception("Unit", 12, "message", 7, &CAUSE, 9);
    EXPECT_STREQ(exception.getFile(), "Unit");
    EXPECT_EQ(exception.getLine(), 12);
    EXPECT_STREQ(exception.getMessage(), "message");
    EXPECT_STREQ(exception.what(), "message");
    EXPECT_EQ(exception.getSubclassCode(), 7);
    EXPECT_EQ(exception.getErrorCode(), 9);
    ASSERT_NE(exception.getChained(), nullptr);
    EXPECT_STREQ(exception.getChained()->getMessage(), "why");
    EXPECT_STREQ(exception.getChained()->type(), "JORLibraryException");
}

TEST(JORLibraryException, TypeIsItsName) { EXPECT_STREQ(CAUSE.type(), "JORLibraryException"); }

TEST(JORLibraryException, CloneIsAnEqualObjectOfTheSameClass) {
    Exception const& base = CAUSE;
    std::unique_ptr<Exception const> const clone(base.clone());
    ASSERT_NE(clone, nullptr);
    EXPECT_NE(clone.get(), &base);
    EXPECT_NE(dynamic_cast<JORLibraryException const*>(clone.get()), nullptr);
    EXPECT_STREQ(clone->type(), "JORLibraryException");
    EXPECT_STREQ(clone->getMessage(), "why");
    EXPECT_STREQ(clone->getFile(), "Cause");
    EXPECT_EQ(clone->getLine(), 3);
    EXPECT_EQ(clone->getSubclassCode(), 4);
    EXPECT_EQ(clone->getErrorCode(), 5);
}

TEST(JORLibraryException, RethrowThrowsTheDerivedClass) {
    Exception const& base = CAUSE;
    EXPECT_THROW(base.rethrow(), JORLibraryException);
}

TEST(JORLibraryException, IsCaughtAsTheFoundationsAndTheStandardsException) {
    EXPECT_THROW(throw JORLibraryException(CAUSE), Exception);
    EXPECT_THROW(throw JORLibraryException(CAUSE), std::exception);
}

TEST(JORLibraryException, VirtualSlotsAreInOrder) {
    EXPECT_THAT(zeb::test::virtualSlots(CAUSE, 7),
                testing::ElementsAre("zeb::common::JORLibraryException::~JORLibraryException()",
                                     "zeb::common::JORLibraryException::~JORLibraryException()",
                                     "zeb::foundation::Exception::what() const",
                                     "zeb::common::JORLibraryException::type() const",
                                     "zeb::foundation::Exception::getMessage() const",
                                     "zeb::common::JORLibraryException::clone() const",
                                     "zeb::common::JORLibraryException::rethrow() const"));
}

}  // namespace
