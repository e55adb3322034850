#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/IntrusiveReference.hpp>

#include <LogCapture.hpp>
#include "ThrowingDestructor.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zeb::foundation::IntrusiveCounted;
using zeb::foundation::IntrusiveReference;
using zeb::test::LogCapture;

/// Reports when it is destroyed.
class Object : public IntrusiveCounted {
public:
    explicit Object(int* count) : destroyed(count) {}
    Object(Object const&) = default;
    Object& operator=(Object const&) = default;
    ~Object() { ++*destroyed; }

    int* destroyed;
};

using Reference = IntrusiveReference<Object>;

static_assert(std::is_nothrow_default_constructible_v<Reference>);
static_assert(std::is_nothrow_copy_constructible_v<Reference>);
static_assert(std::is_nothrow_copy_assignable_v<Reference>);
static_assert(std::is_nothrow_move_constructible_v<Reference>);
static_assert(std::is_nothrow_move_assignable_v<Reference>);
static_assert(std::is_nothrow_destructible_v<Reference>);
static_assert(!std::is_convertible_v<Object*, Reference>, "taking ownership is written out");
static_assert(sizeof(Reference) == sizeof(void*));

TEST(IntrusiveReference, NullIsAllowed) {
    Reference const none;
    Reference const null(nullptr);
    Reference copy(null);
    copy = none;
    EXPECT_EQ(none.get(), nullptr);
    EXPECT_EQ(null.get(), nullptr);
    EXPECT_EQ(copy.get(), nullptr);
    EXPECT_FALSE(none);
}

TEST(IntrusiveReference, LeadsToItsObject) {
    int destroyed = 0;
    auto* const object = new Object(&destroyed);
    Reference const reference(object);
    EXPECT_TRUE(reference);
    EXPECT_EQ(reference.get(), object);
    EXPECT_EQ(&*reference, object);
    EXPECT_EQ(reference->destroyed, &destroyed);
}

TEST(IntrusiveReference, TheLastOneDestroysTheObject) {
    int destroyed = 0;
    {
        Reference first(new Object(&destroyed));
        {
            Reference const second(first);
            Reference third;
            third = second;
            EXPECT_EQ(third.get(), first.get());
        }
        EXPECT_EQ(destroyed, 0);
        Reference const again(first.get());  // the count lives in the object
        first = Reference();
        EXPECT_EQ(destroyed, 0);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST(IntrusiveReference, AssignmentDropsTheOldObject) {
    int firstDestroyed = 0;
    int secondDestroyed = 0;
    Reference reference(new Object(&firstDestroyed));
    reference = Reference(new Object(&secondDestroyed));
    EXPECT_EQ(firstDestroyed, 1);
    EXPECT_EQ(secondDestroyed, 0);
    Reference const null;
    reference = null;
    EXPECT_EQ(secondDestroyed, 1);
}

TEST(IntrusiveReference, SelfAssignmentKeepsTheObject) {
    int destroyed = 0;
    Reference reference(new Object(&destroyed));
    Reference& same = reference;
    reference = same;
    reference = std::move(same);
    EXPECT_EQ(destroyed, 0);
    ASSERT_TRUE(reference);
    EXPECT_EQ(reference->destroyed, &destroyed);
}

TEST(IntrusiveReference, MoveLeavesNull) {
    int destroyed = 0;
    Reference reference(new Object(&destroyed));
    Reference moved(std::move(reference));
    EXPECT_FALSE(reference);  // NOLINT(bugprone-use-after-move): what is left is promised
    Reference assigned;
    assigned = std::move(moved);
    EXPECT_FALSE(moved);  // NOLINT(bugprone-use-after-move): likewise
    EXPECT_TRUE(assigned);
    EXPECT_EQ(destroyed, 0);
    assigned.swap(moved);
    EXPECT_TRUE(moved);
    EXPECT_FALSE(assigned);
}

TEST(IntrusiveReference, ACopiedObjectStartsWithoutReferences) {
    int destroyed = 0;
    {
        Reference const original(new Object(&destroyed));
        Reference const copy(new Object(*original));
        *copy = *original;
        EXPECT_NE(copy.get(), original.get());
    }
    EXPECT_EQ(destroyed, 2);
}

/// An object that is destroyed through its base and fails at it.
class Base : public IntrusiveCounted {
public:
    virtual ~Base() noexcept(false) = default;
};
class Failing : public Base {
public:
    explicit Failing(zeb::test::Thrown what) : what_(what) {}
    ~Failing() noexcept(false) override { zeb::test::throwFromDestructor(what_); }

private:
    zeb::test::Thrown what_;
};

void dropLast(zeb::test::Thrown what) {
    IntrusiveReference<Base> reference(new Failing(what));
    IntrusiveReference<Base> const other(reference);
    reference = IntrusiveReference<Base>();
}

TEST(IntrusiveReferenceDestructor, LogsAnExceptionOfTheFamily) {
    LogCapture const log;
    dropLast(zeb::test::Thrown::FOUNDATION_EXCEPTION);
    EXPECT_THAT(log.lines(),
                ElementsAre("ERROR zeb.foundation: Caught exception in the IntrusiveReference "
                            "destructor: of the foundation"));
}

TEST(IntrusiveReferenceDestructor, LogsAStandardException) {
    LogCapture const log;
    dropLast(zeb::test::Thrown::STANDARD_EXCEPTION);
    EXPECT_THAT(log.lines(),
                ElementsAre("ERROR zeb.foundation: Caught exception in the IntrusiveReference "
                            "destructor: of the standard library"));
}

TEST(IntrusiveReferenceDestructor, LogsAnythingElseByTheTextAlone) {
    LogCapture const log;
    dropLast(zeb::test::Thrown::NUMBER);
    EXPECT_THAT(log.lines(), ElementsAre("ERROR zeb.foundation: Caught exception in the "
                                         "IntrusiveReference destructor"));
}

TEST(IntrusiveReferenceDestructor, LogsNothingOtherwise) {
    LogCapture const log;
    dropLast(zeb::test::Thrown::NOTHING);
    EXPECT_THAT(log.lines(), IsEmpty());
}

}  // namespace
