#pragma once

#include <zeb/foundation/Export.hpp>

#include <cstdint>

namespace zeb::foundation {

/// A point in time with a resolution of a microsecond, counted in UTC without leap seconds. Time
/// zone and locale have no influence.
/// @par Complexity constant.
/// @par Thread safety one object may be read by several threads at once.
class ZEB_EXPORT DateTime {
public:
    /// The start of 1970, UTC.
    DateTime() noexcept = default;
    /// @param seconds since the start of 1970, UTC; 64 bits on every machine
    /// @param microseconds 0 to 999,999, added to them; greater values are carried over, up to
    ///   the greatest number of seconds
    explicit DateTime(std::int64_t seconds, std::uint32_t microseconds = 0) noexcept;

    /// Becomes the system clock's current time.
    void setToCurrent() noexcept;

    /// Whole seconds since the start of 1970, UTC; negative before.
    [[nodiscard]] std::int64_t getSeconds() const noexcept { return seconds_; }
    /// Microseconds after those seconds, 0 to 999,999.
    [[nodiscard]] std::uint32_t getMicroseconds() const noexcept { return microseconds_; }

private:
    std::int64_t seconds_ = 0;
    std::uint32_t microseconds_ = 0;
};

}  // namespace zeb::foundation
