#include <zeb/foundation/DateTime.hpp>
#include <zeb/foundation/Exception.hpp>
#include <zeb/xmltoolkit/CIMDateTime.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <limits>
#include <string>

#include "Random.hpp"
#include "Sanitized.hpp"

namespace {

using zeb::foundation::DateTime;
using zeb::xmltoolkit::CIMDateTime;

constexpr std::int64_t FIRST_SECOND = -62'167'219'200;
constexpr std::int64_t LAST_SECOND = 253'402'300'799;

TEST(CIMDateTime, RendersKnownTimes) {
    struct Row {
        std::int64_t seconds;
        std::uint32_t microseconds;
        char const* text;
    };
    constexpr Row ROWS[] = {
        {0, 0, "19700101000000.000000+000"},
        {1'678'786'013, 42, "20230314092653.000042+000"},
        {951'782'399, 999'999, "20000228235959.999999+000"},
        {951'782'400, 0, "20000229000000.000000+000"},  // 2000 is a leap year
        {951'868'800, 0, "20000301000000.000000+000"},
        {4'107'542'400, 1, "21000301000000.000001+000"},  // 2100 is none
        {4'107'542'399, 0, "21000228235959.000000+000"},
        {-1, 0, "19691231235959.000000+000"},
        {2'147'483'647, 0, "20380119031407.000000+000"},  // the last second of 32 bits
        {2'147'483'648, 0, "20380119031408.000000+000"},  // and the next
        {-2'147'483'649, 0, "19011213204551.000000+000"},
        {FIRST_SECOND, 0, "00000101000000.000000+000"},
        {FIRST_SECOND + 59 * 86'400, 0, "00000229000000.000000+000"},
        {LAST_SECOND, 999'999, "99991231235959.999999+000"},
    };
    for (Row const& row : ROWS) {
        EXPECT_EQ(CIMDateTime(DateTime(row.seconds, row.microseconds)).toString(), row.text);
    }
}

TEST(CIMDateTime, CarriedMicrosecondsCount) {
    EXPECT_EQ(CIMDateTime(DateTime(0, 1'500'000)).toString(), "19700101000001.500000+000");
}

// A calendar that only knows how long months are.
TEST(CIMDateTime, EachDayFollowsTheOneBefore) {
    int year = zeb::test::SANITIZED ? 9600 : 0;
    int month = 1;
    int day = 1;
    std::int64_t days = year / 400 * 146'097;
    for (; year <= 9999; ++days) {
        std::string expected = "00000000123456.000007+000";
        auto const put = [&expected](std::size_t start, std::size_t width, int value) {
            for (std::size_t i = start + width; i-- > start; value /= 10) {
                expected[i] = static_cast<char>('0' + value % 10);
            }
        };
        put(0, 4, year);
        put(4, 2, month);
        put(6, 2, day);
        ASSERT_EQ(CIMDateTime(DateTime(FIRST_SECOND + days * 86'400 + 45'296, 7)).toString(),
                  expected);
        bool const leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
        constexpr int LENGTHS[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        if (++day > LENGTHS[month - 1] + (month == 2 && leap ? 1 : 0)) {
            day = 1;
            if (++month > 12) {
                month = 1;
                ++year;
            }
        }
    }
    EXPECT_EQ(days, 3'652'425);
    EXPECT_EQ(FIRST_SECOND + days * 86'400 - 1, LAST_SECOND);
}

TEST(CIMDateTime, AgreesWithGmtimeOnRandomTimes) {
    static_assert(sizeof(std::time_t) == 8);
    zeb::test::Random random(1);
    for (int i = 0; i < 100'000; ++i) {
        auto const part = static_cast<std::int64_t>(random.below(1U << 31));
        std::time_t const seconds =
            FIRST_SECOND + (part * 147 + static_cast<std::int64_t>(random.below(147))) %
                               (LAST_SECOND - FIRST_SECOND + 1);
        std::tm time{};
        ASSERT_NE(::gmtime_r(&seconds, &time), nullptr);
        char expected[128];
        std::snprintf(expected, sizeof expected, "%04d%02d%02d%02d%02d%02d.123456+000",
                      time.tm_year + 1900, time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min,
                      time.tm_sec);
        ASSERT_EQ(CIMDateTime(DateTime(seconds, 123'456)).toString(), expected) << seconds;
    }
}

TEST(CIMDateTime, YearsOfOtherThanFourDigitsThrow) {
    for (std::int64_t const seconds :
         {FIRST_SECOND - 1, LAST_SECOND + 1, std::numeric_limits<std::int64_t>::min(),
          std::numeric_limits<std::int64_t>::max()}) {
        SCOPED_TRACE(seconds);
        try {
            CIMDateTime const time{DateTime(seconds)};
            FAIL() << "no exception";
        } catch (zeb::foundation::Exception const& exception) {
            EXPECT_EQ(std::to_string(seconds) +
                          " seconds since 1970 lie outside the years 0 to 9999 of a CIM datetime",
                      exception.getMessage());
            EXPECT_STREQ(exception.getFile(), "CIMDateTime");
            EXPECT_EQ(exception.getErrorCode(), -1);
        }
    }
}

}  // namespace
