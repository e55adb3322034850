#include <OrventoXMLOperations.hpp>

#include <gtest/gtest.h>

#include <exception>
#include <type_traits>
#include <typeinfo>

#include "DerivedException.hpp"

namespace zeb::test {

using common::JORLibraryException;
using ZEBNS2::OrventoXMLException;

static_assert(std::is_base_of_v<JORLibraryException, OrventoXMLException>);

INSTANTIATE_TYPED_TEST_SUITE_P(OrventoXMLException, DerivedException, OrventoXMLException,
                               ExceptionName);

// This program links to the library only: what the library throws is caught on its other side.
TEST(OrventoXMLException, IsCaughtAsAnyOfItsBases) {
    EXPECT_THROW(ZEBNS2::validateXML("<a>"), OrventoXMLException);
    EXPECT_THROW(ZEBNS2::validateXML("<a>"), JORLibraryException);
    EXPECT_THROW(ZEBNS2::validateXML("<a>"), foundation::Exception);
    EXPECT_THROW(ZEBNS2::validateXML("<a>"), std::exception);
}

TEST(OrventoXMLException, TypeIsItsName) {
    OrventoXMLException const exception("", 0, "", 0, nullptr, 0);
    EXPECT_STREQ(exception.type(), "OrventoXMLException");
    EXPECT_STREQ(typeid(exception).name(), "N6ZEBNS219OrventoXMLExceptionE");
}

}  // namespace zeb::test
