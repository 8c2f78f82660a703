#include "gui/settings/journal_rows.hpp"

#include <algorithm>
#include <optional>

namespace pivra {

std::vector<JournalRow> journalRows(const std::vector<LogEntry>& entries, CalendarDay today,
                                    const std::function<CalendarDay(Instant)>& localDay) {
    const CalendarDay first = today.addingDays(-(kJournalViewDays - 1));
    std::vector<std::pair<CalendarDay, const LogEntry*>> kept;
    for (const auto& entry : entries) {
        const CalendarDay day = localDay(entry.t);
        if (day < first || day > today) continue;
        kept.emplace_back(day, &entry);
    }
    // Newest first; of entries with the same time, the one appended last.
    std::reverse(kept.begin(), kept.end());
    std::stable_sort(kept.begin(), kept.end(), [](const auto& a, const auto& b) { return a.second->t > b.second->t; });

    std::vector<JournalRow> rows;
    std::optional<CalendarDay> current;
    for (const auto& [day, entry] : kept) {
        int daysAgo = 0;
        while (today.addingDays(-daysAgo) != day && daysAgo < kJournalViewDays) ++daysAgo;
        if (day != current) {
            rows.push_back(JournalRow{true, day, daysAgo, LogEntry{}});
            current = day;
        }
        rows.push_back(JournalRow{false, day, daysAgo, *entry});
    }
    return rows;
}

}  // namespace pivra
