#include "core/activity/calendar_day.hpp"

#include <chrono>
#include <cstdio>

namespace pivra {

std::string CalendarDay::key() const {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%04d-%02u-%02u", year, month, day);
    return buffer;
}

CalendarDay CalendarDay::addingDays(int count) const {
    using namespace std::chrono;
    const sys_days start{std::chrono::year{year} / std::chrono::month{month} / std::chrono::day{day}};
    const year_month_day result{start + days{count}};
    return CalendarDay{static_cast<int>(result.year()), static_cast<unsigned>(result.month()),
                       static_cast<unsigned>(result.day())};
}

}  // namespace pivra
