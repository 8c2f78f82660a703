#include "core/activity/calendar_day.hpp"

#include <gtest/gtest.h>

namespace pivra {
namespace {

TEST(CalendarDay, AddsDaysAcrossMonthsYearsAndLeapDays) {
    const struct { CalendarDay start; int offset; CalendarDay expected; } cases[] = {
        {{2026, 3, 14}, 0, {2026, 3, 14}}, {{2026, 3, 14}, -29, {2026, 2, 13}},
        {{2026, 1, 10}, -29, {2025, 12, 12}}, {{2024, 3, 1}, -1, {2024, 2, 29}},  // leap year
        {{2025, 3, 1}, -1, {2025, 2, 28}}, {{2026, 12, 31}, 1, {2027, 1, 1}}};
    for (const auto& c : cases) {
        EXPECT_EQ(c.start.addingDays(c.offset), c.expected);
        EXPECT_EQ(c.expected.addingDays(-c.offset), c.start);
    }
}

TEST(CalendarDay, KeysAreZeroPaddedSoTheySortByDate) {
    EXPECT_EQ((CalendarDay{2026, 3, 4}).key(), "2026-03-04");
    EXPECT_EQ((CalendarDay{987, 12, 31}).key(), "0987-12-31");
    EXPECT_LT((CalendarDay{2026, 9, 30}).key(), (CalendarDay{2026, 10, 1}).key());
}

}  // namespace
}  // namespace pivra
