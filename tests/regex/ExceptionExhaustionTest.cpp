// A program of its own, because it replaces a function of the whole process.

#include <OrventoCommonRegex.hpp>
#include <RE.hpp>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>

namespace {

bool exhausted = false;

}  // namespace

void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    return exhausted ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void* operator new(std::size_t size) {
    if (void* const memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

template <typename T>
class ExceptionExhaustion : public testing::Test {};

using Classes = testing::Types<ZEBNS2::BadRegexException, ZEBNS2::RegularExpressionException>;
TYPED_TEST_SUITE(ExceptionExhaustion, Classes, );

TYPED_TEST(ExceptionExhaustion, CloneIsNullAndTheOriginalUsable) {
    TypeParam const exception("Unit", 12, "message", 7, nullptr, 9);
    exhausted = true;
    std::unique_ptr<TypeParam const> clone(exception.clone());
    exhausted = false;
    EXPECT_EQ(clone, nullptr);

    clone.reset(exception.clone());
    ASSERT_NE(clone, nullptr);
    EXPECT_STREQ(clone->getMessage(), "message");
}

}  // namespace
