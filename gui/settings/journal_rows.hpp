#pragma once
// The General page's journal view: the last seven days, newest first, under
// a heading for each day.

#include <functional>
#include <vector>

#include "core/activity/calendar_day.hpp"
#include "core/activity/log_entry.hpp"

namespace pivra {

// How many days the journal view shows, today included.
inline constexpr int kJournalViewDays = 7;

struct JournalRow {
    bool isHeading = false;
    CalendarDay day;
    int daysAgo = 0;  // 0 today, 1 yesterday...
    LogEntry entry;   // for an entry row

    bool operator==(const JournalRow&) const = default;
};

// `entries` in file order; `localDay` gives an instant's day in the user's
// calendar. Entries of days before the seven are left out, and so are any
// from after today (a clock set back).
std::vector<JournalRow> journalRows(const std::vector<LogEntry>& entries, CalendarDay today,
                                    const std::function<CalendarDay(Instant)>& localDay);

}  // namespace pivra
