#include "hosts/linux/asio_scheduler.hpp"

#include <boost/asio/post.hpp>

namespace pivra {

AsioScheduler::AsioScheduler(boost::asio::io_context& context) : context_(context) {}

AsioScheduler::~AsioScheduler() {
    *alive_ = false;
    for (auto& [id, timer] : timers_) timer->cancel();
}

void AsioScheduler::post(Task task) { boost::asio::post(context_, std::move(task)); }

TaskId AsioScheduler::runAfter(Seconds delay, Task task) {
    const TaskId id = nextId_++;
    auto timer = std::make_unique<boost::asio::steady_timer>(context_);
    timer->expires_after(std::chrono::duration_cast<std::chrono::steady_clock::duration>(
        delay.count() > 0 ? delay : Seconds(0)));
    timer->async_wait([this, id, alive = alive_, task = std::move(task)](const boost::system::error_code& error) {
        if (!*alive || error) return;
        const auto found = timers_.find(id);
        if (found == timers_.end()) return;  // cancelled after the timer fired
        // The timer is running this handler; it is destroyed once we return.
        auto timer = std::move(found->second);
        timers_.erase(found);
        task();
    });
    timers_.emplace(id, std::move(timer));
    return id;
}

void AsioScheduler::cancel(TaskId id) {
    const auto found = timers_.find(id);
    if (found == timers_.end()) return;
    found->second->cancel();
    timers_.erase(found);
}

}  // namespace pivra
