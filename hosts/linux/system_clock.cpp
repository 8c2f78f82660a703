#include "hosts/linux/system_clock.hpp"

#include <ctime>

namespace pivra {

Instant SystemClock::now() const { return std::chrono::system_clock::now(); }

CalendarDay SystemClock::localDay(Instant instant) const {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(instant);
    std::tm parts{};
    if (::localtime_r(&seconds, &parts) == nullptr && ::gmtime_r(&seconds, &parts) == nullptr) return {};
    return CalendarDay{parts.tm_year + 1900, static_cast<unsigned>(parts.tm_mon + 1), static_cast<unsigned>(parts.tm_mday)};
}

}  // namespace pivra
