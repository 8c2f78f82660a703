#include "tests/support/manual_time.hpp"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace pivra::testing_support {
namespace {

TEST(ManualScheduler, RunsWhatFallsDueInTimeOrderWithTheClockAtEachTime) {
    ManualClock clock;
    ManualScheduler scheduler(clock);
    const Instant start = clock.now();
    std::vector<std::pair<std::string, double>> ran;
    const auto record = [&](std::string name) {
        return [&, name] { ran.emplace_back(name, Seconds(clock.now() - start).count()); };
    };
    scheduler.runAfter(Seconds(2), record("b"));
    scheduler.runAfter(Seconds(1), record("a"));
    scheduler.runAfter(Seconds(2), record("b2"));  // same time: scheduling order
    scheduler.runAfter(Seconds(5), record("late"));
    scheduler.post(record("posted"));

    scheduler.advance(2.5);
    const std::vector<std::pair<std::string, double>> expected{{"posted", 0}, {"a", 1}, {"b", 2}, {"b2", 2}};
    EXPECT_EQ(ran, expected);
    EXPECT_DOUBLE_EQ(Seconds(clock.now() - start).count(), 2.5);
    EXPECT_EQ(scheduler.pendingCount(), 1u);
}

TEST(ManualScheduler, TasksScheduledWhileAdvancingRunWhenDueInTheWindow) {
    ManualClock clock;
    ManualScheduler scheduler(clock);
    int runs = 0;
    std::function<void()> again = [&] {
        ++runs;
        scheduler.runAfter(Seconds(1), again);
    };
    scheduler.runAfter(Seconds(1), again);
    scheduler.advance(3.5);
    EXPECT_EQ(runs, 3);
    scheduler.post([&] { runs += 10; });
    scheduler.runAfter(Seconds(0), [&] { runs += 100; });
    scheduler.runDue();
    EXPECT_EQ(runs, 113);
}

TEST(ManualScheduler, CancelledTasksNeverRunAndCancellingTwiceIsHarmless) {
    ManualClock clock;
    ManualScheduler scheduler(clock);
    bool ran = false;
    const TaskId id = scheduler.runAfter(Seconds(1), [&] { ran = true; });
    scheduler.cancel(id);
    scheduler.cancel(id);
    scheduler.cancel(999);
    scheduler.advance(10);
    EXPECT_FALSE(ran);
    EXPECT_EQ(scheduler.pendingCount(), 0u);
}

TEST(ManualClock, LocalDayFollowsTheConfiguredOffset) {
    ManualClock clock;  // 2026-03-14 12:00 UTC
    EXPECT_EQ(clock.localDay(clock.now()), (CalendarDay{2026, 3, 14}));
    clock.setUtcOffset(Seconds(13 * 3600));
    EXPECT_EQ(clock.localDay(clock.now()), (CalendarDay{2026, 3, 15}));
    clock.setUtcOffset(Seconds(-13 * 3600));
    EXPECT_EQ(clock.localDay(clock.now()), (CalendarDay{2026, 3, 13}));
}

}  // namespace
}  // namespace pivra::testing_support
