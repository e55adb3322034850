#include <OrventoCommonRegex.hpp>
#include <RE.hpp>

#include <gtest/gtest.h>

#include <exception>
#include <typeinfo>

#include "DerivedException.hpp"

namespace zeb::test {

using ZEBNS2::BadRegexException;
using ZEBNS2::RE;
using ZEBNS2::RegularExpression;
using ZEBNS2::RegularExpressionException;

static_assert(BadRegexException::SOURCE_LINE == 24);
static_assert(RegularExpressionException::SOURCE_LINE == 136);

INSTANTIATE_TYPED_TEST_SUITE_P(BadRegexException, DerivedException, BadRegexException,
                               ExceptionName);
INSTANTIATE_TYPED_TEST_SUITE_P(RegularExpressionException, DerivedException,
                               RegularExpressionException, ExceptionName);

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
    EXPECT_THROW(RE("a(b", 0), foundation::Exception);
    EXPECT_THROW(RE("a(b", 0), std::exception);
}

TEST(RegularExpressionException, CrossesTheBoundaryOfTheLibrary) {
    EXPECT_THROW(RegularExpression("a(b", 0), RegularExpressionException);
    EXPECT_THROW(RegularExpression("a(b", 0), foundation::Exception);
    EXPECT_THROW(RegularExpression("a(b", 0), std::exception);
}

}  // namespace zeb::test
