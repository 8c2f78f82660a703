#pragma once
// Running work later on the main thread: the app's only timers.

#include <cstdint>
#include <functional>

#include "core/time/time.hpp"

namespace pivra {

// Names one scheduled task, for cancelling it. Never reused within a process.
using TaskId = std::uint64_t;

class Scheduler {
public:
    using Task = std::function<void()>;

    virtual ~Scheduler() = default;

    // Runs `task` on the main thread soon after the current work. The one
    // method that may be called from any thread: background work hands its
    // result back this way. Every platform can do this.
    virtual void post(Task task) = 0;

    // Runs `task` on the main thread once `delay` has passed (at once for a
    // delay of zero or less). Where a platform has no timers, the task runs on
    // the next turn of the main loop, as if the delay were zero.
    virtual TaskId runAfter(Seconds delay, Task task) = 0;

    // Keeps the task from running. Cancelling a task that has run or was
    // already cancelled does nothing. Main thread only.
    virtual void cancel(TaskId id) = 0;
};

}  // namespace pivra
