#include "app/model/debouncer.hpp"

#include <gtest/gtest.h>

#include "tests/support/manual_time.hpp"

namespace pivra {
namespace {

class DebouncerTest : public testing::Test {
protected:
    testing_support::ManualClock clock;
    testing_support::ManualScheduler scheduler{clock};
    int runs = 0;
};

TEST_F(DebouncerTest, ABurstRunsOnceTheDelayAfterTheLastTrigger) {
    Debouncer debouncer(scheduler, Seconds(2.0), [&] { ++runs; });
    for (int i = 0; i < 3; ++i) {
        debouncer.trigger();
        scheduler.advance(1.5);
    }
    EXPECT_EQ(runs, 0);
    scheduler.advance(0.5);
    EXPECT_EQ(runs, 1);
    EXPECT_FALSE(debouncer.isPending());
    scheduler.advance(10);
    EXPECT_EQ(runs, 1);
}

TEST_F(DebouncerTest, FlushRunsAPendingActionNowAndOnlyThen) {
    Debouncer debouncer(scheduler, Seconds(2.0), [&] { ++runs; });
    EXPECT_FALSE(debouncer.flush());
    debouncer.trigger();
    EXPECT_TRUE(debouncer.flush());
    EXPECT_EQ(runs, 1);
    scheduler.advance(5);
    EXPECT_EQ(runs, 1);
}

TEST_F(DebouncerTest, CancelAndDestructionDropThePendingRun) {
    {
        Debouncer debouncer(scheduler, Seconds(0.2), [&] { ++runs; });
        debouncer.trigger();
        debouncer.cancel();
        scheduler.advance(1);
        debouncer.trigger();
    }
    scheduler.advance(1);
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(scheduler.pendingCount(), 0u);
}

TEST_F(DebouncerTest, TheActionMayTriggerAgain) {
    Debouncer* self = nullptr;
    Debouncer debouncer(scheduler, Seconds(1), [&] {
        if (++runs < 3) self->trigger();
    });
    self = &debouncer;
    debouncer.trigger();
    scheduler.advance(5);
    EXPECT_EQ(runs, 3);
}

}  // namespace
}  // namespace pivra
