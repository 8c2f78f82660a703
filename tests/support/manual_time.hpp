#pragma once
// A clock that moves only when told, and a scheduler that runs what falls due
// as the clock moves: debounces and delays are tested exactly, without sleeping.

#include <map>
#include <mutex>
#include <vector>

#include "app/ports/clock.hpp"
#include "app/ports/scheduler.hpp"

namespace pivra::testing_support {

class ManualClock final : public Clock {
public:
    // Starts at 2026-03-14 12:00:00 UTC unless told otherwise.
    explicit ManualClock(Instant start = defaultStart()) : now_(start) {}

    Instant now() const override { return now_; }
    // The day in a fixed zone `utcOffset` away from UTC.
    CalendarDay localDay(Instant instant) const override;

    void set(Instant instant) { now_ = instant; }
    void setUtcOffset(Seconds offset) { utcOffset_ = offset; }

    static Instant defaultStart();

private:
    Instant now_;
    Seconds utcOffset_{0};
};

class ManualScheduler final : public Scheduler {
public:
    explicit ManualScheduler(ManualClock& clock) : clock_(clock) {}

    void post(Task task) override;
    TaskId runAfter(Seconds delay, Task task) override;
    void cancel(TaskId id) override;

    // Moves the clock forward by `seconds`, running every task that falls due
    // on the way in the order of its time (then of scheduling), with the clock
    // set to that time. Tasks scheduled by those tasks run too when they fall
    // due in the window. Posted tasks run first, at the current time.
    void advance(double seconds);
    // Runs the posted tasks and whatever is due now, without moving the clock.
    void runDue() { advance(0); }

    // Tasks waiting to run, posted or timed.
    std::size_t pendingCount() const;

private:
    struct Key {
        Instant due;
        TaskId id;
        auto operator<=>(const Key&) const = default;
    };

    ManualClock& clock_;
    std::map<Key, Task> timed_;
    std::map<TaskId, Instant> dueById_;
    mutable std::mutex postedMutex_;  // post is the one call allowed from any thread
    std::vector<Task> posted_;
    TaskId nextId_ = 1;
};

}  // namespace pivra::testing_support
