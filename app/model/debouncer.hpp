#pragma once
// One delayed action that each new trigger pushes back: a burst of triggers
// runs it once, `delay` after the last.

#include <functional>
#include <optional>

#include "app/ports/scheduler.hpp"

namespace pivra {

class Debouncer {
public:
    Debouncer(Scheduler& scheduler, Seconds delay, std::function<void()> action);
    ~Debouncer();
    Debouncer(const Debouncer&) = delete;
    Debouncer& operator=(const Debouncer&) = delete;

    // Cancels any pending run and schedules a new one `delay` from now.
    void trigger();
    // Drops the pending run, if any.
    void cancel();
    // Runs the action now when a run is pending; returns whether it ran.
    bool flush();
    bool isPending() const { return pending_.has_value(); }

private:
    Scheduler& scheduler_;
    Seconds delay_;
    std::function<void()> action_;
    std::optional<TaskId> pending_;
};

}  // namespace pivra
