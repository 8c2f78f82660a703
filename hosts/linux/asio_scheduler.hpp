#pragma once
// The scheduler on a Boost.Asio io_context: the thread that runs the context
// is the main thread.

#include <map>
#include <memory>

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include "app/ports/scheduler.hpp"

namespace pivra {

class AsioScheduler final : public Scheduler {
public:
    explicit AsioScheduler(boost::asio::io_context& context);
    ~AsioScheduler() override;

    void post(Task task) override;
    TaskId runAfter(Seconds delay, Task task) override;
    void cancel(TaskId id) override;

private:
    boost::asio::io_context& context_;
    std::map<TaskId, std::unique_ptr<boost::asio::steady_timer>> timers_;
    TaskId nextId_ = 1;
    // Timer handlers still queued when we are gone must not touch us.
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace pivra
