// The manual scheduler drives every debounce boundary in these tests, so its
// order and its window are checked once here.

#include "tests/support/manual_time.hpp"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace pivra::testing_support {
namespace {

TEST(ManualScheduler, RunsWhatFallsDueInOrderWithTheClockAtEachTimeAndSkipsCancelled) {
    ManualClock clock;
    ManualScheduler scheduler(clock);
    const Instant start = clock.now();
    std::vector<std::pair<std::string, double>> ran;
    const auto record = [&](std::string name) {
        return [&, name] { ran.emplace_back(name, Seconds(clock.now() - start).count()); };
    };
    scheduler.runAfter(Seconds(2), record("b"));
    scheduler.runAfter(Seconds(1), [&] {
        record("a")();
        scheduler.runAfter(Seconds(1.5), record("from a"));  // due at 2.5: inside the window
    });
    scheduler.runAfter(Seconds(2), record("b2"));  // same time: scheduling order
    const TaskId cancelled = scheduler.runAfter(Seconds(1), record("cancelled"));
    scheduler.runAfter(Seconds(2.51), record("late"));
    scheduler.post(record("posted"));
    scheduler.cancel(cancelled);
    scheduler.cancel(cancelled);

    scheduler.advance(2.5);
    const std::vector<std::pair<std::string, double>> expected{
        {"posted", 0}, {"a", 1}, {"b", 2}, {"b2", 2}, {"from a", 2.5}};
    EXPECT_EQ(ran, expected);
    EXPECT_DOUBLE_EQ(Seconds(clock.now() - start).count(), 2.5);
    EXPECT_EQ(scheduler.pendingCount(), 1u);
}

}  // namespace
}  // namespace pivra::testing_support
