#pragma once
// The current time and the user's calendar: the app's only source of "now".

#include "core/activity/calendar_day.hpp"
#include "core/time/time.hpp"

namespace pivra {

class Clock {
public:
    virtual ~Clock() = default;

    // The current wall-clock time. Every platform has one.
    virtual Instant now() const = 0;

    // The Gregorian date of the day that `instant` falls on in the user's time
    // zone (days start at local midnight whatever calendar the user shows);
    // where the zone is unknown, the day in UTC.
    virtual CalendarDay localDay(Instant instant) const = 0;
};

}  // namespace pivra
