#include <zeb/xmltoolkit/CIMDateTime.hpp>

#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/StringBuffer.hpp>

#include <cstdint>

namespace zeb::xmltoolkit {

using foundation::DateTime;
using foundation::Exception;
using foundation::Format;
using foundation::String;
using foundation::StringBuffer;

namespace {

constexpr std::int64_t SECONDS_PER_DAY = 86'400;
constexpr std::int64_t FIRST_SECOND = -62'167'219'200;  // 0000-01-01 00:00:00
constexpr std::int64_t LAST_SECOND = 253'402'300'799;   // 9999-12-31 23:59:59

void appendDigits(StringBuffer& out, std::int64_t value, std::size_t width) {
    char* const digits = out.prepare(width);
    for (std::size_t i = width; i-- > 0; value /= 10) {
        digits[i] = static_cast<char>('0' + value % 10);
    }
    out.commit(width);
}

struct Date {
    std::int64_t year;
    std::int64_t month;
    std::int64_t day;
};

/// The date `days` days after 0000-03-01. In years that begin in March the leap day is the last,
/// and the months' lengths repeat 31 30 31 30 31, whose sums are (153 * month + 2) / 5.
Date dateOf(std::int64_t days) {
    std::int64_t const era = days / 146'097;  // 400 years
    std::int64_t const dayOfEra = days % 146'097;
    // Subtracts the earlier leap days: one in 4 years, except in 100, but in 400.
    std::int64_t const yearOfEra =
        (dayOfEra - dayOfEra / 1'460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
    std::int64_t const dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    std::int64_t const month = (5 * dayOfYear + 2) / 153;  // 0 is March
    bool const nextYear = month >= 10;
    return {400 * era + yearOfEra + (nextYear ? 1 : 0), nextYear ? month - 9 : month + 3,
            dayOfYear - (153 * month + 2) / 5 + 1};
}

}  // namespace

CIMDateTime::CIMDateTime(DateTime const& time) : time_(time) {
    if (time.getSeconds() < FIRST_SECOND || time.getSeconds() > LAST_SECOND) {
        String const message =
            Format("%1 seconds since 1970 lie outside the years 0 to 9999 of a CIM datetime",
                   time.getSeconds());
        throw Exception("CIMDateTime", __LINE__, message.c_str(), Exception::NO_CODE, nullptr,
                        Exception::NO_CODE);
    }
}

String CIMDateTime::toString() const {
    // Counted from 400 years before the year 0, so that no number is negative.
    static constexpr std::int64_t DAYS_FROM_MARCH_BEFORE_400_YEARS = 146'097 - 60;
    std::int64_t const seconds = time_.getSeconds() - FIRST_SECOND;
    Date const date = dateOf(seconds / SECONDS_PER_DAY + DAYS_FROM_MARCH_BEFORE_400_YEARS);
    std::int64_t const second = seconds % SECONDS_PER_DAY;
    StringBuffer text;
    appendDigits(text, date.year - 400, 4);
    appendDigits(text, date.month, 2);
    appendDigits(text, date.day, 2);
    appendDigits(text, second / 3'600, 2);
    appendDigits(text, second / 60 % 60, 2);
    appendDigits(text, second % 60, 2);
    text.append('.');
    appendDigits(text, time_.getMicroseconds(), 6);
    text.append("+000");
    return text.releaseString();
}

}  // namespace zeb::xmltoolkit
