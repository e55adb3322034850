#include <zeb/common/JORLibraryException.hpp>

#include <gtest/gtest.h>

#include <typeinfo>

#include "DerivedException.hpp"

namespace zeb::test {

using common::JORLibraryException;

INSTANTIATE_TYPED_TEST_SUITE_P(JORLibraryException, DerivedException, JORLibraryException,
                               ExceptionName);

TEST(JORLibraryException, TypeIsItsName) {
    JORLibraryException const exception("", 0, "", 0, nullptr, 0);
    EXPECT_STREQ(exception.type(), "JORLibraryException");
    EXPECT_STREQ(typeid(exception).name(), "N3zeb6common19JORLibraryExceptionE");
}

}  // namespace zeb::test
