#include <zeb/foundation/DateTime.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <limits>
#include <type_traits>

namespace {

using zeb::foundation::DateTime;

static_assert(std::is_same_v<decltype(DateTime().getSeconds()), std::int64_t>);
static_assert(std::is_same_v<decltype(DateTime().getMicroseconds()), std::uint32_t>);

TEST(DateTime, StartsWith1970) {
    EXPECT_EQ(DateTime().getSeconds(), 0);
    EXPECT_EQ(DateTime().getMicroseconds(), 0u);
}

TEST(DateTime, KeepsSecondsAndMicroseconds) {
    struct Row {
        std::int64_t seconds;
        std::uint32_t microseconds;
        std::int64_t expectedSeconds;
        std::uint32_t expectedMicroseconds;
    };
    constexpr Row ROWS[] = {
        {1, 2, 1, 2},
        {0, 999999, 0, 999999},
        {0, 1000000, 1, 0},              // carried over
        {5, 2500000, 7, 500000},         //
        {0, 4294967295U, 4294, 967295},  //
        {-1, 500000, -1, 500000},        // half a second before 1970
        {-1, 1000000, 0, 0},             //
        {1LL << 40, 0, 1LL << 40, 0},    // far beyond 2038
        {std::numeric_limits<std::int64_t>::min(), 1, std::numeric_limits<std::int64_t>::min(), 1},
        {std::numeric_limits<std::int64_t>::max(), 1000001,
         std::numeric_limits<std::int64_t>::max(), 1},  // no overflow
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.seconds);
        DateTime const time(row.seconds, row.microseconds);
        EXPECT_EQ(time.getSeconds(), row.expectedSeconds);
        EXPECT_EQ(time.getMicroseconds(), row.expectedMicroseconds);
    }
    EXPECT_EQ(DateTime(7).getMicroseconds(), 0u);
}

TEST(DateTime, CurrentIsWhatTheSystemClockSays) {
    auto const microseconds = [](std::int64_t seconds, std::int64_t fraction) {
        return seconds * 1000000 + fraction;
    };
    auto const systemNow = [&] {
        timespec now{};
        ::clock_gettime(CLOCK_REALTIME, &now);
        return microseconds(now.tv_sec, now.tv_nsec / 1000);
    };
    std::int64_t const before = systemNow();
    DateTime time;
    time.setToCurrent();
    std::int64_t const after = systemNow();
    EXPECT_LT(time.getMicroseconds(), 1000000u);
    EXPECT_LE(before, microseconds(time.getSeconds(), time.getMicroseconds()));
    EXPECT_LE(microseconds(time.getSeconds(), time.getMicroseconds()), after);
}

}  // namespace
