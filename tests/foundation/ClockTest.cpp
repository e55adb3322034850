// A clock of our own replaces the system's: every library of the program calls it.

#include <zeb/foundation/DateTime.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>

namespace {
timespec pretended{};
}

extern "C" int clock_gettime(clockid_t, timespec* now) noexcept {
    *now = pretended;
    return 0;
}

namespace {

using zeb::foundation::DateTime;

DateTime currentAt(std::int64_t seconds, long nanoseconds) {
    pretended.tv_sec = seconds;
    pretended.tv_nsec = nanoseconds;
    DateTime now;
    now.setToCurrent();
    pretended = {};
    return now;
}

TEST(Clock, IsReadBehind2038) {
    DateTime const now = currentAt(2'208'988'800, 999'999'999);  // the start of 2040
    EXPECT_EQ(now.getSeconds(), 2'208'988'800);
    EXPECT_EQ(now.getMicroseconds(), 999'999U);
}

TEST(Clock, IsReadBefore1970) {
    DateTime const now = currentAt(-1, 500'000'000);
    EXPECT_EQ(now.getSeconds(), -1);
    EXPECT_EQ(now.getMicroseconds(), 500'000U);
}

}  // namespace
