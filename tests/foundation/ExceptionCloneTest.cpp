#include <zeb/foundation/Exception.hpp>

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <new>

// This program replaces the allocation that reports exhausted memory by null, and with it the one
// that throws, so that both allocate and free the same memory.

namespace {
bool memoryIsExhausted = false;
int throwingAllocations = 0;
}  // namespace

void* operator new(std::size_t size) {
    ++throwingAllocations;
    if (void* const block = std::malloc(size)) {
        return block;
    }
    throw std::bad_alloc();
}
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    return memoryIsExhausted ? nullptr : std::malloc(size);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete(void* block, std::nothrow_t const&) noexcept { std::free(block); }

namespace {

using namespace zeb::foundation;

template <typename T>
class ExceptionClone : public testing::Test {};
using Family =
    testing::Types<Exception, OutOfBoundsException, StringConversionException, FileSystemException>;
TYPED_TEST_SUITE(ExceptionClone, Family, );

TYPED_TEST(ExceptionClone, IsNullWhenMemoryIsExhausted) {
    TypeParam const exception("Unit", 1, "message", 2, nullptr, 3);
    memoryIsExhausted = true;
    TypeParam* const clone = exception.clone();
    memoryIsExhausted = false;
    EXPECT_EQ(clone, nullptr);
    EXPECT_STREQ(exception.getMessage(), "message");
}

TYPED_TEST(ExceptionClone, NeverUsesTheAllocationThatThrows) {
    TypeParam const exception("Unit", 1, "message", 2, nullptr, 3);
    int const before = throwingAllocations;
    std::unique_ptr<TypeParam> const clone(exception.clone());
    EXPECT_EQ(throwingAllocations, before);
    ASSERT_NE(clone, nullptr);
    EXPECT_STREQ(clone->getMessage(), "message");
}

TYPED_TEST(ExceptionClone, OfACauseThatFailsLeavesItOut) {
    TypeParam const cause("Cause", 1, "cause", 2, nullptr, 3);
    memoryIsExhausted = true;
    Exception const exception("Unit", 1, "message", 2, &cause, 3);
    memoryIsExhausted = false;
    EXPECT_EQ(exception.getChained(), nullptr);
    EXPECT_STREQ(exception.getMessage(), "message");
}

}  // namespace
