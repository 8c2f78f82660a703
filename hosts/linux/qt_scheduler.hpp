#pragma once
// The scheduler on Qt's event loop: posted work as queued calls, delays as
// Qt's precise timers. The thread that makes the scheduler, and runs the
// loop, is the main thread.

#include <chrono>
#include <map>
#include <memory>

#include "app/ports/scheduler.hpp"

namespace pivra {

class QtScheduler final : public Scheduler {
public:
    // The calling thread's QCoreApplication must exist (Qt's timers need its
    // event dispatcher) and outlive the scheduler.
    QtScheduler();
    // Tasks still waiting, posted or timed, never run.
    ~QtScheduler() override;
    QtScheduler(const QtScheduler&) = delete;
    QtScheduler& operator=(const QtScheduler&) = delete;

    void post(Task task) override;
    TaskId runAfter(Seconds delay, Task task) override;
    void cancel(TaskId id) override;

private:
    using SteadyClock = std::chrono::steady_clock;
    class Receiver;  // the QObject that Qt's timer events and queued calls reach

    struct Timer {
        SteadyClock::time_point due;
        int qtTimer;  // 0 while none is started
        Task task;
    };

    void arm(TaskId id, Timer& timer);
    void timerFired(int qtTimer);
    void runDue(TaskId id);

    std::unique_ptr<Receiver> receiver_;
    std::map<TaskId, Timer> timers_;
    std::map<int, TaskId> byQtTimer_;
    TaskId nextId_ = 1;
};

}  // namespace pivra
