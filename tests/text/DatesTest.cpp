#include <OrventoTextOperations.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "LogCapture.hpp"

namespace {

using namespace std::string_view_literals;
using ZEBNS2::extractGenericDate;
using ZEBNS2::String;

// ---------------------------------------------------------------------------- dates in a text

TEST(ExtractGenericDate, FindsTheDateInTheText) {
    struct Row {
        std::string_view text;
        std::string_view date;
    };
    constexpr Row ROWS[] = {
        {"at Tue Mar 14 09:26:53 2023, done", "Tue Mar 14 09:26:53 2023"},
        {"at Tue Mar 14 09:26:53 UTC 2023, done", "Tue Mar 14 09:26:53 UTC 2023"},
        {"Tue Mar 14 09:26:53 2023", "Tue Mar 14 09:26:53 2023"},
        {"Tue Mar 4 09:26:53 2023", "Tue Mar 4 09:26:53 2023"},
        {"Tue Mar 04 9:26:53 2023", "Tue Mar 04 9:26:53 2023"},
        {"Tue Mar 14 09:26:53 cet 2023", "Tue Mar 14 09:26:53 cet 2023"},
        {"xTue Mar 14 09:26:53 20234", "Tue Mar 14 09:26:53 2023"},  // no word boundaries
        {"Tue Mar 14 09:26:53 2023\nWed Mar 15 10:00:00 2023", "Tue Mar 14 09:26:53 2023"},
        {"Wed Mar 15 10:00:00 UTC 2023 Tue Mar 14 09:26:53 2023", "Wed Mar 15 10:00:00 UTC 2023"},
        {"Tue Tue Mar 14 09:26:53 2023", "Tue Mar 14 09:26:53 2023"},
        {"Mon Feb 99 99:99:99 0000", "Mon Feb 99 99:99:99 0000"},  // values are not checked
        {"Tue Mar 14 109:26:53 2023", ""},
        {"Tue Mar  4 09:26:53 2023", ""},  // a second blank before the day
        {"Tue  Mar 14 09:26:53 2023", ""},
        {"Tue Mar 14  09:26:53 2023", ""},
        {"Tue Mar 14 09:26:53  2023", ""},
        {"Tue Mar 14 09:26:53 UTC  2023", ""},
        {"Tue\tMar 14 09:26:53 2023", ""},
        {"tue Mar 14 09:26:53 2023", ""},  // capitals as shown
        {"TUE Mar 14 09:26:53 2023", ""},
        {"Tue mar 14 09:26:53 2023", ""},
        {"Tue Mar 14 09:26 2023", ""},
        {"Tue Mar 14 09:26:5 2023", ""},
        {"Tue Mar 14 09:6:53 2023", ""},
        {"Tue Mar 14 09:26:53 UT 2023", ""},
        {"Tue Mar 14 09:26:53 CEST 2023", ""},
        {"Tue Mar 14 09:26:53 +01 2023", ""},
        {"Tue Mar 14 09:26:53 202", ""},
        {"Tue Mar 14 09:26:53", ""},
        {"Tue Mar 114 09:26:53 2023", ""},
        {"Tue 14 Mar 09:26:53 2023", ""},
        {"Tuesday Mar 14 09:26:53 2023", ""},
        {"2023-03-14 09:26:53", ""},
        {"no date", ""},
        {"", ""},
        {"Tue Mar 14 09:26:53\0 2023"sv, ""},  // a text ends at its NUL
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(extractGenericDate(String(row.text)), row.date);
    }
}

TEST(ExtractGenericDate, KnowsAllWeekdaysAndMonths) {
    constexpr char const* WEEKDAYS[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    constexpr char const* MONTHS[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (std::string const weekday : WEEKDAYS) {
        for (std::string const month : MONTHS) {
            for (std::string const rest : {" 1 2:03:04 1970", " 31 23:59:59 EST 9999"}) {
                std::string const date = weekday + ' ' + month + rest;
                EXPECT_EQ(extractGenericDate('[' + date + ']'), date);
            }
        }
        EXPECT_EQ(extractGenericDate(weekday + " Mai 1 2:03:04 1970"), "");
    }
    EXPECT_EQ(extractGenericDate("Son Jan 1 2:03:04 1970"), "");
}

TEST(ExtractGenericDate, TakesByteStringsToo) {
    char const* const text = "on Tue Mar 14 09:26:53 2023";
    EXPECT_EQ(extractGenericDate(text), "Tue Mar 14 09:26:53 2023");
    EXPECT_EQ(extractGenericDate(static_cast<char const*>(nullptr)), "");
}

TEST(ExtractGenericDate, LogsNothing) {
    zeb::test::LogCapture const log;
    (void)extractGenericDate("Tue Mar 14 09:26:53 2023");
    (void)ZEBNS2::get_unit_size("kb");
    (void)ZEBNS2::getCurrentCIMDateTime();
    EXPECT_TRUE(log.lines().empty());
}

// ---------------------------------------------------------------------------- the current time

/// Sets an environment variable while it lives.
class EnvironmentVariable {
public:
    EnvironmentVariable(char const* name, char const* value) : name_(name) {
        if (char const* const old = std::getenv(name)) {
            old_ = old;
        }
        ::setenv(name, value, 1);
        ::tzset();
    }
    EnvironmentVariable(EnvironmentVariable const&) = delete;
    EnvironmentVariable& operator=(EnvironmentVariable const&) = delete;
    ~EnvironmentVariable() {
        if (old_) {
            ::setenv(name_, old_->c_str(), 1);
        } else {
            ::unsetenv(name_);
        }
        ::tzset();
    }

private:
    char const* name_;
    std::optional<std::string> old_;
};

/// The seconds since 1970 of a datetime in UTC.
std::optional<std::int64_t> secondsOf(std::string const& datetime) {
    std::tm time{};
    int microseconds = 0;
    int offset = 0;
    int length = 0;
    int const fields = std::sscanf(datetime.c_str(), "%4d%2d%2d%2d%2d%2d.%6d+%3d%n", &time.tm_year,
                                   &time.tm_mon, &time.tm_mday, &time.tm_hour, &time.tm_min,
                                   &time.tm_sec, &microseconds, &offset, &length);
    if (fields != 8 || length != 25 || datetime.size() != 25 || offset != 0) {
        return std::nullopt;
    }
    time.tm_year -= 1900;
    time.tm_mon -= 1;
    return ::timegm(&time);
}

TEST(GetCurrentCIMDateTime, IsTheSystemClocksTimeInUTCUnderEachTimeZone) {
    static_assert(sizeof(std::time_t) == 8, "a clock behind 2038 can be read");
    for (char const* const zone : {"UTC", "America/New_York", "EST5EDT", "XYZ-11:30"}) {
        SCOPED_TRACE(zone);
        EnvironmentVariable const variable("TZ", zone);
        std::int64_t const earliest = std::time(nullptr) - 1;  // time() may be a tick late
        std::string const now = ZEBNS2::getCurrentCIMDateTime().c_str();
        std::int64_t const latest = std::time(nullptr) + 1;
        std::optional<std::int64_t> const seconds = secondsOf(now);
        ASSERT_TRUE(seconds) << now;
        EXPECT_GE(*seconds, earliest) << now;
        EXPECT_LE(*seconds, latest) << now;
    }
}

TEST(GetCurrentCIMDateTime, TheSecondIsNotEarlierThanTheFirst) {
    String const first = ZEBNS2::getCurrentCIMDateTime();
    String const second = ZEBNS2::getCurrentCIMDateTime();
    EXPECT_TRUE(secondsOf(first.c_str()));
    EXPECT_TRUE(secondsOf(second.c_str()));
    EXPECT_LE(first, second);  // texts of this form compare as the times do
}

}  // namespace
