#include <OrventoCommonRegex.hpp>

#include <zeb/foundation/Logger.hpp>

#include <gtest/gtest.h>

#include <string>

#include "FailingMalloc.hpp"
#include "LogCapture.hpp"
#include "Repeat.hpp"

namespace {

using zeb::foundation::Logger;
using zeb::test::repeat;
using ZEBNS2::realSed;
using ZEBNS2::String;

/// Allocations of a command on so many lines. Its expressions are literals, so that libc is not
/// asked; the second call finds all that is built at the first use.
long allocations(char const* command, std::size_t lines) {
    String const text(repeat("one line\n", lines) + "end");
    static_cast<void>(realSed(text, command, 0));
    long const before = zeb::test::allocationsMade;
    static_cast<void>(realSed(text, command, 0));
    return zeb::test::allocationsMade - before;
}

constexpr char const* COMMANDS[] = {"s/line/LINE/g", "s/none/some/", "/line/d", "/one/,/line/d"};

/// A longer text takes some more, whether it is returned or shown.
constexpr long FEW = 20;

TEST(SedAllocation, MessagesThatNobodyWantsAreNotFormatted) {
    for (char const* command : COMMANDS) {
        EXPECT_LT(allocations(command, 1000), allocations(command, 10) + FEW) << command;
        {
            zeb::test::LogCapture const log(Logger::DEBUG_LEVEL);
            EXPECT_LT(allocations(command, 1000), allocations(command, 10) + FEW) << command;
        }
        zeb::test::LogCapture const log;
        EXPECT_GT(allocations(command, 1000), allocations(command, 10) + FEW) << command;
    }
}

}  // namespace
