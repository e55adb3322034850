#include <zeb/foundation/Array.hpp>
#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/FileSystem.hpp>
#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/Logger.hpp>
#include <zeb/foundation/OStringStream.hpp>
#include <zeb/foundation/String.hpp>
#include <zeb/foundation/StringBuffer.hpp>

#include <FailingMalloc.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

#include "TemporaryDirectory.hpp"

namespace {

using zeb::foundation::Array;
using zeb::foundation::Exception;
using zeb::foundation::Format;
using zeb::foundation::Logger;
using zeb::foundation::OStringStream;
using zeb::foundation::String;
using zeb::foundation::StringArray;
using zeb::foundation::StringBuffer;
using zeb::test::exhaust;
using zeb::test::Exhaustion;
using namespace std::string_view_literals;

/// How many allocations `action` makes.
template <typename Action>
long allocationsOf(Action action) {
    long const before = zeb::test::allocationsMade;
    action();
    return zeb::test::allocationsMade - before;
}

// ---------------------------------------------------------------- counts

TEST(AllocationCount, OfStringsMade) {
    std::string const standard(100, 'x');
    EXPECT_EQ(allocationsOf([] { String(); }), 0);
    EXPECT_EQ(allocationsOf([] { String(""); }), 0);
    EXPECT_EQ(allocationsOf([] { String(nullptr); }), 0);
    EXPECT_EQ(allocationsOf([] { String("abc"); }), 1);
    EXPECT_EQ(allocationsOf([&] { String{standard}; }), 1);
}

TEST(AllocationCount, OfStringsCopiedAndReadIsNone) {
    String const text("Some text");
    String const upper("SOME TEXT");
    String const number("12345");
    EXPECT_EQ(allocationsOf([&] {
                  String copy(text);
                  String assigned;
                  assigned = copy;
                  String const moved(std::move(copy));
                  swap(assigned, copy);
                  (void)text.indexOf("text");
                  (void)text.lastIndexOf('t');
                  (void)text.startsWith("Some");
                  (void)text.endsWith(upper);
                  (void)text.equalsIgnoreCase(upper);
                  (void)(text == "Some text");
                  (void)(text != upper);
                  (void)(text < upper);
                  (void)std::hash<String>()(text);
                  (void)number.toInt32();
                  (void)number.toUInt64(16);
                  (void)number.toReal64();
              }),
              0);
}

TEST(AllocationCount, OfSubstringsIsOneAtMost) {
    String const text("  some text ");
    String const trimmed("text");
    EXPECT_EQ(allocationsOf([&] { (void)text.substring(2, 4); }), 1);
    EXPECT_EQ(allocationsOf([&] { (void)text.trim(); }), 1);
    EXPECT_EQ(allocationsOf([&] { (void)text.substring(0); }), 0);
    EXPECT_EQ(allocationsOf([&] { (void)text.substring(100); }), 0);
    EXPECT_EQ(allocationsOf([&] { (void)text.substring(2, 0); }), 0);
    EXPECT_EQ(allocationsOf([&] { (void)trimmed.trim(); }), 0);
}

TEST(AllocationCount, OfTokensIsOneForEachAndThoseOfTheArray) {
    String text;
    for (int i = 0; i < 1000; ++i) {
        text += "line\n";
    }
    long const arrays = allocationsOf([] {
        StringArray array;
        for (int i = 0; i < 1001; ++i) {
            array.append(String());
        }
    });
    EXPECT_LE(arrays, 10);
    EXPECT_EQ(
        allocationsOf([&] {
            EXPECT_EQ(
                text.tokenize("\n", String::DISCARD_DELIMITERS, String::RETURN_EMPTY_TOKENS).size(),
                1001u);
        }),
        1000 + arrays);
    String const one("one");
    EXPECT_EQ(allocationsOf([&] { (void)one.tokenize("\n"); }), 1);  // the array's
    EXPECT_EQ(allocationsOf([] { (void)String().tokenize("\n"); }), 0);
}

TEST(AllocationCount, OfConcatenationsIsOne) {
    String const a("a rather long first part");
    String const b("b");
    EXPECT_EQ(allocationsOf([&] { (void)(a + b); }), 1);
    EXPECT_EQ(allocationsOf([&] { (void)(b + a); }), 1);
    EXPECT_EQ(allocationsOf([&] { (void)(a + "literal"); }), 1);
    EXPECT_EQ(allocationsOf([&] { (void)("literal" + a); }), 1);
    EXPECT_EQ(allocationsOf([&] { (void)(a + 'c'); }), 1);
    EXPECT_EQ(allocationsOf([&] { (void)(a + b + "c" + 'd'); }), 1);  // the first one leaves room
    EXPECT_EQ(allocationsOf([&] { (void)(a + ""); }), 0);
    EXPECT_EQ(allocationsOf([&] { (void)("" + a); }), 0);
}

TEST(AllocationCount, OfAppendingGrowsWithTheLogarithm) {
    constexpr int COUNT = 1000000;
    EXPECT_LE(allocationsOf([] {
                  String text;
                  for (int i = 0; i < COUNT; ++i) {
                      text += 'x';
                  }
              }),
              21);
    EXPECT_LE(allocationsOf([] {
                  StringBuffer buffer;
                  for (int i = 0; i < COUNT; ++i) {
                      buffer.append('x');
                  }
                  EXPECT_EQ(buffer.releaseString().length(), static_cast<std::size_t>(COUNT));
              }),
              15);
    EXPECT_LE(allocationsOf([] {
                  Array<int> array;
                  for (int i = 0; i < COUNT; ++i) {
                      array.append(i);
                  }
              }),
              20);
}

TEST(AllocationCount, OfArraysCopiedAndReadIsNone) {
    StringArray const array{"a", "b", "c"};
    EXPECT_EQ(allocationsOf([&] {
                  StringArray copy(array);
                  StringArray assigned;
                  assigned = copy;
                  std::size_t length = 0;
                  for (String const& text : array) {
                      length += text.length();
                  }
                  for (std::size_t i = 0; i < array.size(); ++i) {
                      length += array[i].length();
                  }
                  EXPECT_EQ(length, 6u);
                  EXPECT_TRUE(assigned == array);
              }),
              0);
    EXPECT_EQ(allocationsOf([] { StringArray(); }), 0);
    EXPECT_EQ(allocationsOf([] { Array<int>{1, 2, 3}; }), 1);
    EXPECT_EQ(allocationsOf([] { Array<int>(0, 1); }), 0);
}

TEST(AllocationCount, OfAFormatIsOne) {
    String const a("first");
    String const b("second");
    EXPECT_EQ(allocationsOf([&] { String const text = Format("'%1' and '%2'", a, b); }), 1);
    EXPECT_EQ(allocationsOf([&] { (void)Format("%1 of %2", 3, 1000ULL).toString(); }), 1);
    EXPECT_EQ(allocationsOf([&] { String const text = Format("%1%2", 'x', true); }), 1);
    EXPECT_EQ(allocationsOf([&] { String const text = Format(""); }), 0);
    EXPECT_EQ(allocationsOf([&] { String const text = Format("%1", ""); }), 0);
}

TEST(AllocationCount, OfLoggingThatIsOffIsThatOfTheComponent) {
    String const component("zeb.test");
    EXPECT_EQ(allocationsOf([] {
                  Logger const logger("zeb.test");
                  ZEB_LOG_DEBUG(logger, "Unit", Format("%1", "not made"));
                  ZEB_LOG_DEBUG3(logger, "Unit", Format("%1", "not made"));
              }),
              1);
    EXPECT_EQ(allocationsOf([&] {
                  Logger const logger(component);
                  ZEB_LOG_DEBUG(logger, "Unit", Format("%1", "not made"));
              }),
              0);
}

TEST(AllocationCount, OfExceptions) {
    Exception const exception("Unit", 1, "message", 0, nullptr, 0);
    EXPECT_EQ(allocationsOf([] { Exception("Unit", 1, "message", 0, nullptr, 0); }), 2);
    EXPECT_EQ(allocationsOf([] { Exception(nullptr, 1, nullptr, 0, nullptr, 0); }), 0);
    EXPECT_EQ(allocationsOf([&] {
                  Exception copy(exception);
                  copy = exception;
              }),
              0);
    EXPECT_EQ(allocationsOf([&] { std::unique_ptr<Exception>{exception.clone()}; }), 1);
}

TEST(AllocationCount, OfAFileIsOneWhenItTellsItsSize) {
    zeb::test::TemporaryDirectory const directory;
    for (std::size_t const size : {1u, 10u, 4096u, 4097u, 1000000u}) {
        String const path = directory.file("file", std::string(size, 'x'));
        EXPECT_EQ(allocationsOf([&] {
                      EXPECT_EQ(zeb::foundation::FileSystem::getFileContents(path).length(), size);
                  }),
                  1);
    }
}

// ---------------------------------------------------------------- exhausted memory

/// Expects that `action` throws `refusals` times for want of memory, one allocation later each
/// time, then succeeds, and leaks no memory.
template <typename Action>
void expectExhaustion(Action action, long refusals) {
    Exhaustion const result = exhaust(action);
    EXPECT_EQ(result.refusals, refusals);
    EXPECT_FALSE(result.leaked);
}

TEST(ExhaustedMemory, LeavesStringsUnchanged) {
    String const shared("some text");
    expectExhaustion([] { String("abc"); }, 1);
    expectExhaustion([&] { (void)shared.substring(1); }, 1);
    expectExhaustion([&] { (void)(shared + "more"); }, 1);
    expectExhaustion([&] { (void)("more" + shared); }, 1);
    expectExhaustion([&] { (void)shared.tokenize(" "); }, 3);
    expectExhaustion(
        [&] {
            String copy(shared);
            try {
                copy += copy;
            } catch (std::bad_alloc const&) {
                EXPECT_EQ(copy.c_str(), shared.c_str());
                throw;
            }
            EXPECT_EQ(copy, "some textsome text");
        },
        1);
    String own = shared + "!";
    String const before(own.c_str());
    exhaust([&] {
        while (own.length() < 1000) {
            String const old(own.c_str(), 5);
            try {
                own += "0123456789";
            } catch (std::bad_alloc const&) {
                EXPECT_EQ(own.substring(0, before.length()), before);
                EXPECT_EQ(own.c_str()[own.length()], '\0');
                throw;
            }
        }
    });
    EXPECT_EQ((own.length() - before.length()) % 10, 0u);
    EXPECT_EQ(shared, "some text");
}

TEST(ExhaustedMemory, LeavesArraysUnchanged) {
    StringArray const shared{"a", "b", "c"};
    using Operation = void (*)(StringArray&);
    constexpr std::pair<Operation, long> ROWS[] = {
        {[](StringArray& array) { array[0] = String(); }, 1},   // detaching
        {[](StringArray& array) { (void)array.begin(); }, 1},   //
        {[](StringArray& array) { array.reserve(100); }, 1},    //
        {[](StringArray& array) { array.remove(0); }, 1},       //
        {[](StringArray& array) { array.append("d"); }, 2},     // the text and the array
        {[](StringArray& array) { array.insert(0, "d"); }, 2},  //
        {[](StringArray& array) {
             array.append(array.size() < 4  // an element of its own
                              ? std::as_const(array)[0]
                              : String());
         },
         1},
    };
    for (auto const& [operation, refusals] : ROWS) {
        expectExhaustion(
            [&, call = operation] {
                StringArray array(shared);
                try {
                    call(array);
                } catch (std::bad_alloc const&) {
                    EXPECT_TRUE(array == shared);
                    EXPECT_EQ(std::as_const(array).data(), shared.data());
                    throw;
                }
            },
            refusals);
    }
    expectExhaustion([] { StringArray{"a", "b"}; }, 3);
    expectExhaustion([] { StringArray(2, "a"); }, 2);
    EXPECT_TRUE(shared == (StringArray{"a", "b", "c"}));
}

TEST(ExhaustedMemory, LeavesABufferUnchanged) {
    expectExhaustion(
        [] {
            StringBuffer buffer(4);
            buffer.append("abcd");
            try {
                buffer.append('e');
            } catch (std::bad_alloc const&) {
                EXPECT_EQ(std::string_view(buffer), "abcd");
                throw;
            }
            EXPECT_EQ(buffer.releaseString(), "abcde");
        },
        2);
    expectExhaustion(
        [] {
            StringBuffer buffer(10000);  // much more than is used: freed at the end
            buffer.append("abcd");
            try {
                EXPECT_EQ(buffer.releaseString(), "abcd");
            } catch (std::bad_alloc const&) {
                EXPECT_EQ(std::string_view(buffer), "abcd");
                throw;
            }
        },
        2);
}

struct Streamed {};
std::ostream& operator<<(std::ostream& out, Streamed) {
    return out << std::string_view("streamed");
}

TEST(ExhaustedMemory, NeverShortensAFormattedText) {
    String const a("first");
    std::string const longText(1000, 'x');
    std::string const both = "first" + longText;
    expectExhaustion([&] { EXPECT_EQ(String(Format("%1", a)), "first"); }, 1);
    expectExhaustion([&] { EXPECT_EQ(String(Format("%1%2", a, longText)), both); }, 2);
    expectExhaustion([] { EXPECT_EQ(String(Format("%1", Streamed())), "streamed"); }, 2);
}

TEST(ExhaustedMemory, SetsBadbitAndRefusesTheIncompleteText) {
    OStringStream stream;
    stream << "kept";
    zeb::test::allocationsLeft = 0;
    stream << std::string_view(
        "0123456789012345678901234567890123456789012345678901234567890123456"
        "7890123456789012345678901234567890123456789012345678901234567890");
    zeb::test::allocationsLeft = zeb::test::UNLIMITED;
    EXPECT_TRUE(stream.bad());
    EXPECT_THROW((void)stream.toString(), std::bad_alloc);
    EXPECT_THROW((void)static_cast<std::string_view>(stream), std::bad_alloc);
    stream.clear();
    stream << "more";  // the gap remains
    EXPECT_THROW((void)stream.toString(), std::bad_alloc);
    EXPECT_EQ(stream.length(), 8u);

    OStringStream other;
    zeb::test::allocationsLeft = 0;
    other.put('x');
    zeb::test::allocationsLeft = zeb::test::UNLIMITED;
    EXPECT_TRUE(other.bad());
    EXPECT_THROW((void)other.toString(), std::bad_alloc);
}

TEST(ExhaustedMemory, AtMakingAnException) {
    Exception const cause("Cause", 1, "cause", 0, nullptr, 0);
    expectExhaustion([] { Exception("Unit", 1, "message", 0, nullptr, 0); }, 2);
    // Without memory for its clone the cause is left out; for the clone's owner it is not.
    Exhaustion const result = exhaust([&] {
        Exception const exception("Unit", 1, "message", 0, &cause, 0);
        if (exception.getChained() != nullptr) {
            EXPECT_STREQ(exception.getChained()->getMessage(), "cause");
        }
    });
    EXPECT_EQ(result.refusals, 2);
    EXPECT_FALSE(result.leaked);
}

TEST(ExhaustedMemory, NeverStopsACopyOfAnException) {
    Exception const cause("Cause", 1, "cause", 0, nullptr, 0);
    Exception const exception("Unit", 1, "message", 0, &cause, 0);
    zeb::test::allocationsLeft = 0;
    Exception copy(exception);
    Exception other(copy);
    other = exception;
    Exception* const clone = exception.clone();
    zeb::test::allocationsLeft = zeb::test::UNLIMITED;
    EXPECT_EQ(clone, nullptr);
    EXPECT_STREQ(copy.getMessage(), "message");
    EXPECT_STREQ(other.getChained()->getMessage(), "cause");
}

TEST(ExhaustedMemory, LosesAnErroneousExceptionsMessageQuietly) {
    using namespace zeb::foundation;
    int calls = 0;
    Logger::setDefault(
        Logger::ERROR_LEVEL,
        IntrusiveReference<LogAppender>(new CallbackAppender([&](LogMessage const&) { ++calls; })));
    std::bad_alloc const caught;
    zeb::test::allocationsLeft = 0;
    logErroneousException("Caught", caught);
    logErroneousException("Caught");
    zeb::test::allocationsLeft = zeb::test::UNLIMITED;
    EXPECT_EQ(calls, 0);
    logErroneousException("Caught", caught);
    EXPECT_EQ(calls, 1);
    Logger::setDefault(Logger::NO_LEVEL, IntrusiveReference<LogAppender>());
}

TEST(ExhaustedMemory, AtReadingAFile) {
    zeb::test::TemporaryDirectory const directory;
    String const path = directory.file("file", "bytes");
    expectExhaustion(
        [&] { EXPECT_EQ(zeb::foundation::FileSystem::getFileContents(path), "bytes"); }, 1);
}

}  // namespace
