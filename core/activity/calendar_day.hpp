#pragma once
// A day of the user's calendar, as the counts and the report name days.

#include <compare>
#include <string>

namespace pivra {

// A civil date (proleptic Gregorian). Which day "now" is belongs to the
// caller: the core never looks at a clock or a time zone.
struct CalendarDay {
    int year = 2001;
    unsigned month = 1;  // 1-12
    unsigned day = 1;    // 1-31

    // "YYYY-MM-DD", so that keys sort in date order.
    std::string key() const;

    // The day `count` days later (earlier for a negative count), by the calendar.
    CalendarDay addingDays(int count) const;

    bool operator==(const CalendarDay&) const = default;
    auto operator<=>(const CalendarDay&) const = default;
};

}  // namespace pivra
