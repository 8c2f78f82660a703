#include "core/activity/link_counts.hpp"

#include <algorithm>

#include <boost/json/object.hpp>

#include "core/text/json_reader.hpp"
#include "core/text/json_writer.hpp"

namespace pivra {

namespace json = boost::json;

namespace {

// Drops the days before the kept ones that end on `today`. Keys are
// "YYYY-MM-DD", so string order is date order.
void dropOldDays(std::map<std::string, std::map<std::string, std::int64_t>>& days, CalendarDay today) {
    const std::string cutoff = today.addingDays(-(kCountDaysKept - 1)).key();
    days.erase(days.begin(), days.lower_bound(cutoff));
}

}  // namespace

void LinkCounts::add(std::string_view key, CalendarDay day) {
    auto& perKey = days[day.key()];
    auto& count = perKey[std::string(key)];
    if (count < kMaxDayCount) ++count;
    dropOldDays(days, day);
}

void LinkCounts::merge(const LinkCounts& increments, CalendarDay today) {
    for (const auto& [day, perKey] : increments.days) {
        auto& into = days[day];
        for (const auto& [key, count] : perKey) {
            auto& total = into[key];
            // Both within [0, kMaxDayCount]: the sum cannot overflow.
            total = std::min(total + std::max<std::int64_t>(count, 0), kMaxDayCount);
        }
    }
    dropOldDays(days, today);
}

std::map<std::string, std::int64_t> LinkCounts::totals(CalendarDay today, int dayCount) const {
    std::map<std::string, std::int64_t> sums;
    if (dayCount <= 0) return sums;
    const auto first = days.lower_bound(today.addingDays(-(dayCount - 1)).key());
    const auto last = days.upper_bound(today.key());
    for (auto day = first; day != last; ++day) {
        for (const auto& [key, count] : day->second) sums[key] += count;
    }
    return sums;
}

std::int64_t LinkCounts::total(std::string_view key, CalendarDay today, int dayCount) const {
    const auto sums = totals(today, dayCount);
    const auto found = sums.find(std::string(key));
    return found == sums.end() ? 0 : found->second;
}

std::string LinkCountsCoding::encode(const LinkCounts& counts) {
    json::object daysObject;
    for (const auto& [day, perKey] : counts.days) {
        json::object keys;
        for (const auto& [key, count] : perKey) keys[key] = count;
        daysObject[day] = std::move(keys);
    }
    json::object top;
    top["days"] = std::move(daysObject);
    // Whole numbers only, so the writer cannot fail.
    return writePrettyJson(top).value_or("{\"days\":{}}");
}

std::optional<LinkCounts> LinkCountsCoding::decode(std::string_view text) {
    const auto document = parseJson(text);
    if (!document || !document->is_object()) return std::nullopt;
    const auto* daysValue = document->get_object().if_contains("days");
    if (daysValue == nullptr || !daysValue->is_object()) return std::nullopt;
    LinkCounts counts;
    for (const auto& day : daysValue->get_object()) {
        if (!day.value().is_object()) return std::nullopt;
        auto& perKey = counts.days[std::string(day.key())];
        for (const auto& entry : day.value().get_object()) {
            if (!entry.value().is_int64()) return std::nullopt;
            // A hand-edited count is kept within bounds that sums over any period cannot overflow.
            perKey[std::string(entry.key())] = std::clamp<std::int64_t>(entry.value().get_int64(), 0, kMaxDayCount);
        }
    }
    return counts;
}

}  // namespace pivra
