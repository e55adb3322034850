#include <zeb/foundation/Exception.hpp>

#include <LogCapture.hpp>
#include <VirtualSlots.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using zeb::foundation::Exception;
using zeb::foundation::FileSystemException;
using zeb::foundation::OutOfBoundsException;
using zeb::foundation::StringConversionException;

/// What every class of the family promises at compile time.
template <typename T, typename Parent>
constexpr bool keepsThePromises() {
    static_assert(std::is_base_of_v<Parent, T>);
    static_assert(std::is_convertible_v<T*, Parent*>, "derived publicly");
    static_assert(std::is_nothrow_copy_constructible_v<T>);
    static_assert(std::is_nothrow_copy_assignable_v<T>);
    static_assert(std::is_nothrow_move_constructible_v<T>);
    static_assert(std::is_nothrow_destructible_v<T>);
    static_assert(std::has_virtual_destructor_v<T>);
    static_assert(
        std::is_constructible_v<T, char const*, int, char const*, int, Exception const*, int>);
    static_assert(
        !std::is_constructible_v<T, char const*, int, char const*, int, Exception const*>);
    static_assert(noexcept(std::declval<T const&>().what()));
    static_assert(noexcept(std::declval<T const&>().type()));
    static_assert(noexcept(std::declval<T const&>().getMessage()));
    static_assert(noexcept(std::declval<T const&>().clone()));
    static_assert(std::is_same_v<decltype(std::declval<T const&>().clone()), T*>);
    return true;
}
static_assert(keepsThePromises<Exception, std::exception>());
static_assert(keepsThePromises<OutOfBoundsException, Exception>());
static_assert(keepsThePromises<StringConversionException, Exception>());
static_assert(keepsThePromises<FileSystemException, Exception>());
static_assert(Exception::NO_CODE == -1);

template <typename T>
constexpr char const* TYPE_NAME = nullptr;
template <>
constexpr char const* TYPE_NAME<Exception> = "Exception";
template <>
constexpr char const* TYPE_NAME<OutOfBoundsException> = "OutOfBoundsException";
template <>
constexpr char const* TYPE_NAME<StringConversionException> = "StringConversionException";
template <>
constexpr char const* TYPE_NAME<FileSystemException> = "FileSystemException";

template <typename T>
class ExceptionFamily : public testing::Test {};
using Family =
    testing::Types<Exception, OutOfBoundsException, StringConversionException, FileSystemException>;
TYPED_TEST_SUITE(ExceptionFamily, Family, );

void expectEqual(Exception const& a, Exception const& b) {
    EXPECT_STREQ(a.type(), b.type());
    EXPECT_EQ(typeid(a), typeid(b));
    EXPECT_STREQ(a.getMessage(), b.getMessage());
    EXPECT_STREQ(a.what(), b.what());
    EXPECT_STREQ(a.getFile(), b.getFile());
    EXPECT_EQ(a.getLine(), b.getLine());
    EXPECT_EQ(a.getSubclassCode(), b.getSubclassCode());
    EXPECT_EQ(a.getErrorCode(), b.getErrorCode());
    EXPECT_EQ(a.getChained(), b.getChained());
}

TYPED_TEST(ExceptionFamily, TellsWhatItWasMadeWith) {
    TypeParam const exception("Unit", 12, "the message", 3, nullptr, -4);
    EXPECT_STREQ(exception.type(), TYPE_NAME<TypeParam>);
    EXPECT_STREQ(exception.getMessage(), "the message");
    EXPECT_STREQ(exception.what(), "the message");
    EXPECT_STREQ(exception.getFile(), "Unit");
    EXPECT_EQ(exception.getLine(), 12);
    EXPECT_EQ(exception.getSubclassCode(), 3);
    EXPECT_EQ(exception.getErrorCode(), -4);
    EXPECT_EQ(exception.getChained(), nullptr);
}

TYPED_TEST(ExceptionFamily, NullTextsAreEmpty) {
    TypeParam const exception(nullptr, 0, nullptr, 0, nullptr, 0);
    EXPECT_STREQ(exception.getMessage(), "");
    EXPECT_STREQ(exception.what(), "");
    EXPECT_STREQ(exception.getFile(), "");
}

TYPED_TEST(ExceptionFamily, CopiesItsTexts) {
    char file[] = "Unit";
    char message[] = "message";
    TypeParam const exception(file, 1, message, 0, nullptr, 0);
    file[0] = message[0] = 'X';
    EXPECT_STREQ(exception.getFile(), "Unit");
    EXPECT_STREQ(exception.getMessage(), "message");
}

TYPED_TEST(ExceptionFamily, VirtualFunctionsHaveTheirOrder) {
    TypeParam const exception("", 0, "", 0, nullptr, 0);
    std::string const own = std::string("zeb::foundation::") + TYPE_NAME<TypeParam>;
    // Destructors that do the same may share their code, and then go by the name of one of them.
    auto const destructor = AllOf(StartsWith("zeb::foundation::"), HasSubstr("Exception::~"));
    EXPECT_THAT(
        zeb::test::virtualSlots(static_cast<Exception const&>(exception), 7),
        ElementsAre(destructor, destructor, "zeb::foundation::Exception::what() const",
                    own + "::type() const", "zeb::foundation::Exception::getMessage() const",
                    own + "::clone() const", own + "::rethrow() const"));
}

TYPED_TEST(ExceptionFamily, CopyAndAssignmentKeepEverything) {
    Exception const cause("Cause", 1, "cause", 0, nullptr, 0);
    TypeParam const exception("Unit", 12, "message", 3, &cause, 4);
    TypeParam const copy(exception);
    expectEqual(copy, exception);
    TypeParam assigned("Other", 0, "other", 0, nullptr, 0);
    assigned = exception;
    expectEqual(assigned, exception);
    TypeParam& same = assigned;
    assigned = same;
    expectEqual(assigned, exception);
}

TYPED_TEST(ExceptionFamily, CloneOfABaseReferenceIsOfItsOwnClass) {
    Exception const cause("Cause", 1, "cause", 0, nullptr, 0);
    TypeParam const exception("Unit", 12, "message", 3, &cause, 4);
    Exception const& base = exception;
    std::unique_ptr<Exception> const clone(base.clone());
    ASSERT_NE(clone, nullptr);
    EXPECT_NE(clone.get(), &base);
    expectEqual(*clone, exception);
}

TYPED_TEST(ExceptionFamily, RethrowOfABaseReferenceIsCaughtAsItsOwnClass) {
    TypeParam const exception("Unit", 12, "message", 3, nullptr, 4);
    Exception const& base = exception;
    try {
        base.rethrow();
        FAIL() << "nothing thrown";
    } catch (TypeParam const& caught) {
        EXPECT_NE(&caught, &exception);
        expectEqual(caught, exception);
    }
    EXPECT_THROW(base.rethrow(), Exception);
    EXPECT_THROW(base.rethrow(), std::exception);
}

TYPED_TEST(ExceptionFamily, LivesLongerThanTheExceptionItWasCopiedFrom) {
    std::unique_ptr<Exception> copy;
    {
        Exception const cause("Cause", 1, std::string(1000, 'c').c_str(), 0, nullptr, 0);
        TypeParam const exception("Unit", 12, std::string(1000, 'm').c_str(), 3, &cause, 4);
        copy.reset(exception.clone());
    }
    EXPECT_EQ(copy->getMessage(), std::string(1000, 'm'));
    EXPECT_EQ(copy->getChained()->getMessage(), std::string(1000, 'c'));
}

TEST(ExceptionChain, IsAClonedCause) {
    std::unique_ptr<Exception const> outer;
    {
        OutOfBoundsException const cause("Cause", 1, "cause", 2, nullptr, 3);
        outer = std::make_unique<Exception>("Unit", 4, "outer", 5, &cause, 6);
        ASSERT_NE(outer->getChained(), nullptr);
        EXPECT_NE(outer->getChained(), &cause);
    }
    Exception const& chained = *outer->getChained();
    EXPECT_STREQ(chained.type(), "OutOfBoundsException");
    EXPECT_STREQ(chained.getMessage(), "cause");
    EXPECT_STREQ(chained.getFile(), "Cause");
    EXPECT_EQ(chained.getLine(), 1);
    EXPECT_EQ(chained.getSubclassCode(), 2);
    EXPECT_EQ(chained.getErrorCode(), 3);
    EXPECT_EQ(chained.getChained(), nullptr);
}

TEST(ExceptionChain, HasAnyNumberOfLinks) {
    Exception const first("A", 1, "first", 0, nullptr, 0);
    Exception const second("B", 2, "second", 0, &first, 0);
    FileSystemException const third("C", 3, "third", 0, &second, 0);
    ASSERT_NE(third.getChained(), nullptr);
    EXPECT_STREQ(third.getChained()->getMessage(), "second");
    ASSERT_NE(third.getChained()->getChained(), nullptr);
    EXPECT_STREQ(third.getChained()->getChained()->getMessage(), "first");
    EXPECT_EQ(third.getChained()->getChained()->getChained(), nullptr);
}

TEST(ExceptionChain, IsSharedByCopies) {
    Exception const cause("Cause", 1, "cause", 0, nullptr, 0);
    auto original = std::make_unique<Exception>("Unit", 4, "outer", 5, &cause, 6);
    Exception const copy(*original);
    EXPECT_EQ(copy.getChained(), original->getChained());
    original.reset();
    EXPECT_STREQ(copy.getChained()->getMessage(), "cause");
}

/// A cause that cannot be cloned, as when memory is exhausted.
class Unclonable : public Exception {
public:
    Unclonable() : Exception("Cause", 1, "cause", 0, nullptr, 0) {}
    Exception* clone() const noexcept override { return nullptr; }
};

TEST(ExceptionChain, IsMissingWhenTheCauseCannotBeCloned) {
    Exception const exception("Unit", 4, "outer", 5, Unclonable().getChained(), 6);
    EXPECT_EQ(exception.getChained(), nullptr);
    Unclonable const cause;
    Exception const outer("Unit", 4, "outer", 5, &cause, 6);
    EXPECT_EQ(outer.getChained(), nullptr);
    EXPECT_STREQ(outer.getMessage(), "outer");
}

// ---------------------------------------------------------------- logErroneousException

using zeb::foundation::logErroneousException;
using zeb::test::LogCapture;

static_assert(noexcept(logErroneousException("")));
static_assert(noexcept(logErroneousException("", std::declval<Exception const&>())));
static_assert(noexcept(logErroneousException("", std::declval<std::exception const&>())));

/// Expects one message of the foundation at error level.
void expectError(LogCapture const& log, std::string const& text) {
    EXPECT_THAT(log.lines(), ElementsAre("ERROR zeb.foundation: " + text));
    ASSERT_EQ(log.messages().size(), 1u);
    EXPECT_EQ(log.messages()[0].file, "Exception");
    EXPECT_GT(log.messages()[0].line, 0);
}

TEST(LogErroneousException, TextAlone) {
    LogCapture const log;
    logErroneousException("Caught something");
    expectError(log, "Caught something");
}

TEST(LogErroneousException, WithAnExceptionOfTheFamily) {
    LogCapture const log;
    Exception const& exception = OutOfBoundsException("Unit", 1, "the message", 2, nullptr, 3);
    logErroneousException("Caught", exception);
    expectError(log, "Caught: the message");
}

TEST(LogErroneousException, WithAStandardException) {
    LogCapture const log;
    logErroneousException("Caught", std::runtime_error("standard text"));
    expectError(log, "Caught: standard text");
}

/// A standard exception whose text is missing.
class Wordless : public std::exception {
public:
    char const* what() const noexcept override { return nullptr; }
};

TEST(LogErroneousException, WithoutTexts) {
    {
        LogCapture const log;
        logErroneousException("Caught", Wordless());
        expectError(log, "Caught");
    }
    LogCapture const log;
    logErroneousException(nullptr);
    expectError(log, "");
}

TEST(LogErroneousException, PercentSignsAreNoPlaceholders) {
    {
        LogCapture const log;
        logErroneousException("100%1 %%");
        expectError(log, "100%1 %%");
    }
    LogCapture const log;
    logErroneousException("%1 %2", std::runtime_error("%1 %%"));
    expectError(log, "%1 %2: %1 %%");
}

TEST(LogErroneousException, IsLoggedFromErrorLevelOn) {
    using zeb::foundation::Logger;
    {
        LogCapture const log(Logger::FATAL_LEVEL);
        logErroneousException("Caught");
        EXPECT_TRUE(log.lines().empty());
    }
    LogCapture const log(Logger::ERROR_LEVEL);
    logErroneousException("Caught");
    expectError(log, "Caught");
}

TEST(LogErroneousException, WithLoggingOffNothingHappens) {
    logErroneousException("Caught");
    logErroneousException("Caught", std::runtime_error("x"));
}

TEST(LogErroneousException, AFailingAppenderIsEndured) {
    using namespace zeb::foundation;
    int calls = 0;
    Logger::setDefault(Logger::ERROR_LEVEL,
                       IntrusiveReference<LogAppender>(new CallbackAppender([&](LogMessage const&) {
                           ++calls;
                           throw std::runtime_error("no room");
                       })));
    logErroneousException("Caught");
    Logger::setDefault(Logger::NO_LEVEL, IntrusiveReference<LogAppender>());
    EXPECT_EQ(calls, 1);
}

}  // namespace
