#include <zeb/foundation/DateTime.hpp>

#include <algorithm>
#include <ctime>
#include <limits>

namespace zeb::foundation {

namespace {

constexpr std::int64_t MICROSECONDS = 1'000'000;  // in a second

std::int64_t saturatedSum(std::int64_t seconds, std::int64_t carried) noexcept {
    return std::min(seconds, std::numeric_limits<std::int64_t>::max() - carried) + carried;
}

}  // namespace

DateTime::DateTime(std::int64_t seconds, std::uint32_t microseconds) noexcept
    : seconds_(saturatedSum(seconds, microseconds / MICROSECONDS)),
      microseconds_(static_cast<std::uint32_t>(microseconds % MICROSECONDS)) {}

void DateTime::setToCurrent() noexcept {
    // Not std::chrono: on 32-bit x86 libstdc++'s clock fails from 2038 on.
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    static_assert(sizeof now.tv_sec == sizeof seconds_, "seconds end in 2038");
    seconds_ = now.tv_sec;
    microseconds_ = static_cast<std::uint32_t>(now.tv_nsec / 1000);
}

}  // namespace zeb::foundation
