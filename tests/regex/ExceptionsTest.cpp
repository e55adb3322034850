#include <OrventoCommonRegex.hpp>
#include <RE.hpp>

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
using zeb::foundation::Exception;
using ZEBNS2::BadRegexException;
using ZEBNS2::RE;
using ZEBNS2::RegularExpression;
using ZEBNS2::RegularExpressionException;

static_assert(BadRegexException::SOURCE_LINE == 24);
static_assert(RegularExpressionException::SOURCE_LINE == 136);

/// What both classes have in common.
template <typename T>
class RegexExceptions : public testing::Test {};

using Classes = testing::Types<BadRegexException, RegularExpressionException>;

struct ClassNames {
    template <typename T>
    static std::string GetName(int) {
        return T("", 0, "", 0, nullptr, 0).type();
    }
};

TYPED_TEST_SUITE(RegexExceptions, Classes, ClassNames);

TYPED_TEST(RegexExceptions, AddNothingToTheirBaseButTheType) {
    EXPECT_TRUE((std::is_base_of_v<Exception, TypeParam>));
    EXPECT_EQ(sizeof(TypeParam), sizeof(Exception));
    EXPECT_TRUE(std::is_nothrow_copy_constructible_v<TypeParam>);
}

TYPED_TEST(RegexExceptions, HandTheirArgumentsToTheirBase) {
    TypeParam const cause("Cause", 3, "why", 4, nullptr, 5);
    TypeParam const exception("Unit", 12, "message", 7, &cause, 9);
    EXPECT_STREQ(exception.getFile(), "Unit");
    EXPECT_EQ(exception.getLine(), 12);
    EXPECT_STREQ(exception.getMessage(), "message");
    EXPECT_STREQ(exception.what(), "message");
    EXPECT_EQ(exception.getSubclassCode(), 7);
    EXPECT_EQ(exception.getErrorCode(), 9);
    ASSERT_NE(exception.getChained(), nullptr);
    EXPECT_STREQ(exception.getChained()->getMessage(), "why");
}

TYPED_TEST(RegexExceptions, CloneIsAnEqualObjectOfTheSameClass) {
    TypeParam const exception("Unit", 12, "message", 7, nullptr, 9);
    Exception const& base = exception;
    std::unique_ptr<Exception const> const clone(base.clone());
    ASSERT_NE(clone, nullptr);
    EXPECT_NE(clone.get(), &base);
    Exception const& copy = *clone;
    EXPECT_EQ(typeid(copy), typeid(TypeParam));
    EXPECT_STREQ(clone->type(), exception.type());
    EXPECT_STREQ(clone->getFile(), "Unit");
    EXPECT_EQ(clone->getLine(), 12);
    EXPECT_STREQ(clone->getMessage(), "message");
    EXPECT_EQ(clone->getSubclassCode(), 7);
    EXPECT_EQ(clone->getErrorCode(), 9);
}

TYPED_TEST(RegexExceptions, RethrowThrowsTheDerivedClass) {
    TypeParam const exception("Unit", 12, "message", 7, nullptr, 9);
    Exception const& base = exception;
    try {
        base.rethrow();
    } catch (TypeParam const& caught) {
        EXPECT_NE(&caught, &exception);
        EXPECT_STREQ(caught.getMessage(), "message");
    }
}

TYPED_TEST(RegexExceptions, AreCaughtAsTheFoundationsAndTheStandardsException) {
    TypeParam const exception("Unit", 12, "message", 7, nullptr, 9);
    EXPECT_THROW(throw TypeParam(exception), Exception);
    EXPECT_THROW(throw TypeParam(exception), std::exception);
}

TYPED_TEST(RegexExceptions, VirtualSlotsAreInOrder) {
    TypeParam const exception("Unit", 12, "message", 7, nullptr, 9);
    std::string const name = exception.type();
    std::string const scope = "ZEBNS2::" + name + "::";
    EXPECT_THAT(zeb::test::virtualSlots(exception, 7),
                ElementsAre(scope + "~" + name + "()", scope + "~" + name + "()",
                            "zeb::foundation::Exception::what() const", scope + "type() const",
                            "zeb::foundation::Exception::getMessage() const",
                            scope + "clone() const", scope + "rethrow() const"));
}

TEST(BadRegexException, TypeIsItsName) {
    EXPECT_STREQ(BadRegexException("", 0, "", 0, nullptr, 0).type(), "BadRegexException");
    EXPECT_STREQ(typeid(BadRegexException).name(), "N6ZEBNS217BadRegexExceptionE");
}

TEST(RegularExpressionException, TypeIsItsName) {
    EXPECT_STREQ(RegularExpressionException("", 0, "", 0, nullptr, 0).type(),
                 "RegularExpressionException");
    EXPECT_STREQ(typeid(RegularExpressionException).name(),
                 "N6ZEBNS226RegularExpressionExceptionE");
}

// This program links to the library only: what the library throws is caught on its other side.
TEST(BadRegexException, CrossesTheBoundaryOfTheLibrary) {
    EXPECT_THROW(RE("a(b", 0), BadRegexException);
    EXPECT_THROW(RE("a(b", 0), Exception);
    EXPECT_THROW(RE("a(b", 0), std::exception);
}

TEST(RegularExpressionException, CrossesTheBoundaryOfTheLibrary) {
    EXPECT_THROW(RegularExpression("a(b", 0), RegularExpressionException);
    EXPECT_THROW(RegularExpression("a(b", 0), Exception);
    EXPECT_THROW(RegularExpression("a(b", 0), std::exception);
}

}  // namespace
