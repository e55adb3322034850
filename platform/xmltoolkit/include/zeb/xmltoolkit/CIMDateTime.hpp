#pragma once

#include <zeb/foundation/DateTime.hpp>
#include <zeb/foundation/Export.hpp>
#include <zeb/foundation/String.hpp>

namespace zeb::xmltoolkit {

/// A point in time as CIM writes it: the 25-byte form `yyyymmddhhmmss.mmmmmm+ooo` of the DMTF's
/// datetime type, with microseconds and the offset from UTC in minutes. It is always rendered in
/// UTC, offset `+000`; time zone and locale of the process have no influence.
/// @par Complexity constant.
/// @par Thread safety one object may be read by several threads at once. A copy costs a few words.
class ZEB_EXPORT CIMDateTime {
public:
    /// @param time in the Gregorian calendar, continued backwards, in the years 0 to 9999
    /// @throws zeb::foundation::Exception naming the seconds since 1970 when the year is another,
    ///   which four digits cannot express
    explicit CIMDateTime(foundation::DateTime const& time);

    /// The 25 bytes; dates of different points in time compare as the times do.
    /// @par Exceptions `std::bad_alloc`.
    /// ```cpp
    /// CIMDateTime(DateTime(0)).toString() == "19700101000000.000000+000"
    /// DateTime const last(253402300799, 999999);
    /// CIMDateTime(last).toString() == "99991231235959.999999+000"
    /// ```
    [[nodiscard]] foundation::String toString() const;

private:
    foundation::DateTime time_;
};

}  // namespace zeb::xmltoolkit
