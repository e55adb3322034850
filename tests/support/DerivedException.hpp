#pragma once

#include <zeb/foundation/Exception.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "VirtualSlots.hpp"

namespace zeb::test {

/// Tests for classes that add only their name to the foundation's exception: instantiate it for
/// each of them.
template <typename T>
class DerivedException : public testing::Test {
protected:
    T const cause_{"Cause", 3, "why", 4, nullptr, 5};
    T const exception_{"Unit", 12, "message", 7, &cause_, 9};
    foundation::Exception const& base_ = exception_;
};
TYPED_TEST_SUITE_P(DerivedException);

/// Names the instantiations in what the tests print.
struct ExceptionName {
    template <typename T>
    static std::string GetName(int) {
        return T("", 0, "", 0, nullptr, 0).type();
    }
};

TYPED_TEST_P(DerivedException, AddsNothingToItsBaseButTheType) {
    EXPECT_TRUE((std::is_base_of_v<foundation::Exception, TypeParam>));
    EXPECT_EQ(sizeof(TypeParam), sizeof(foundation::Exception));
    EXPECT_TRUE(std::is_nothrow_copy_constructible_v<TypeParam>);
}

TYPED_TEST_P(DerivedException, HandsItsArgumentsToItsBase) {
    TypeParam const& exception = this->exception_;
    EXPECT_STREQ(exception.getFile(), "Unit");
    EXPECT_EQ(exception.getLine(), 12);
    EXPECT_STREQ(exception.getMessage(), "message");
    EXPECT_STREQ(exception.what(), "message");
    EXPECT_EQ(exception.getSubclassCode(), 7);
    EXPECT_EQ(exception.getErrorCode(), 9);
    ASSERT_NE(exception.getChained(), nullptr);
    EXPECT_STREQ(exception.getChained()->getMessage(), "why");
    EXPECT_STREQ(exception.getChained()->type(), exception.type());
}

TYPED_TEST_P(DerivedException, CloneIsAnEqualObjectOfTheSameClass) {
    std::unique_ptr<foundation::Exception const> const clone(this->base_.clone());
    ASSERT_NE(clone, nullptr);
    EXPECT_NE(clone.get(), &this->base_);
    foundation::Exception const& copy = *clone;
    EXPECT_EQ(typeid(copy), typeid(TypeParam));
    EXPECT_STREQ(copy.type(), this->exception_.type());
    EXPECT_STREQ(copy.getFile(), "Unit");
    EXPECT_EQ(copy.getLine(), 12);
    EXPECT_STREQ(copy.getMessage(), "message");
    EXPECT_EQ(copy.getSubclassCode(), 7);
    EXPECT_EQ(copy.getErrorCode(), 9);
}

TYPED_TEST_P(DerivedException, RethrowThrowsACopyOfTheDerivedClass) {
    bool caughtDerived = false;
    try {
        this->base_.rethrow();
    } catch (TypeParam const& caught) {
        caughtDerived = true;
        EXPECT_NE(&caught, &this->exception_);
        EXPECT_STREQ(caught.getMessage(), "message");
    }
    EXPECT_TRUE(caughtDerived);
}

TYPED_TEST_P(DerivedException, IsCaughtAsTheFoundationsAndTheStandardsException) {
    EXPECT_THROW(throw TypeParam(this->exception_), foundation::Exception);
    EXPECT_THROW(throw TypeParam(this->exception_), std::exception);
}

TYPED_TEST_P(DerivedException, TypeAndVirtualSlotsAreInOrder) {
    std::string const name = this->exception_.type();
    std::vector<std::string> const slots = virtualSlots(this->exception_, 7);
    std::string const scope = slots[0].substr(0, slots[0].find('~'));
    EXPECT_THAT(scope, testing::EndsWith("::" + name + "::"));
    EXPECT_THAT(slots, testing::ElementsAre(scope + "~" + name + "()", scope + "~" + name + "()",
                                            "zeb::foundation::Exception::what() const",
                                            scope + "type() const",
                                            "zeb::foundation::Exception::getMessage() const",
                                            scope + "clone() const", scope + "rethrow() const"));
}

REGISTER_TYPED_TEST_SUITE_P(DerivedException, AddsNothingToItsBaseButTheType,
                            HandsItsArgumentsToItsBase, CloneIsAnEqualObjectOfTheSameClass,
                            RethrowThrowsACopyOfTheDerivedClass,
                            IsCaughtAsTheFoundationsAndTheStandardsException,
                            TypeAndVirtualSlotsAreInOrder);

}  // namespace zeb::test
