#pragma once
// Links per rule and per day, for the rules page's flow chart.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "core/activity/calendar_day.hpp"

namespace pivra {

// The count key of links that went to the fallback; a rule's key is its id.
inline constexpr std::string_view kFallbackCountKey = "fallback";

// How many days of counts are kept: the day of the latest link and the 29 before it.
inline constexpr int kCountDaysKept = 30;
// One key's count on one day never goes beyond this (2^53), so totals cannot overflow.
inline constexpr std::int64_t kMaxDayCount = std::int64_t{1} << 53;

struct LinkCounts {
    // Day key ("YYYY-MM-DD") → count key → links.
    std::map<std::string, std::map<std::string, std::int64_t>> days;

    // Counts one link for `key` on `day`, then drops the days before the 30
    // that end on `day`.
    void add(std::string_view key, CalendarDay day);

    // Adds every count of `increments` (a day's count stops at kMaxDayCount),
    // then drops the days before the 30 that end on `today`.
    void merge(const LinkCounts& increments, CalendarDay today);

    // Links per count key over the `dayCount` days that end on `today`.
    std::map<std::string, std::int64_t> totals(CalendarDay today, int dayCount) const;

    // The links of one key over the same range.
    std::int64_t total(std::string_view key, CalendarDay today, int dayCount) const;

    bool operator==(const LinkCounts&) const = default;
};

namespace LinkCountsCoding {

// {"days": {day: {key: count}}} in the layout of every file Pivra writes.
std::string encode(const LinkCounts& counts);

// Absent when the text is not exactly that shape (counts must be whole numbers).
std::optional<LinkCounts> decode(std::string_view text);

}  // namespace LinkCountsCoding

}  // namespace pivra
