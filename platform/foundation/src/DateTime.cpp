#include <zeb/foundation/DateTime.hpp>

#include <chrono>

namespace zeb::foundation {

namespace {
constexpr std::int64_t MICROSECONDS = 1'000'000;  // in a second
}

DateTime::DateTime(std::int64_t seconds, std::uint32_t microseconds) noexcept
    : seconds_(seconds + microseconds / MICROSECONDS),
      microseconds_(static_cast<std::uint32_t>(microseconds % MICROSECONDS)) {}

void DateTime::setToCurrent() noexcept {
    using namespace std::chrono;
    auto const now = system_clock::now().time_since_epoch();
    auto const whole = floor<seconds>(now);
    seconds_ = whole.count();
    microseconds_ = static_cast<std::uint32_t>(duration_cast<microseconds>(now - whole).count());
}

}  // namespace zeb::foundation
