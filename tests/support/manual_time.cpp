#include "tests/support/manual_time.hpp"

#include <chrono>

namespace pivra::testing_support {

Instant ManualClock::defaultStart() {
    using namespace std::chrono;
    return sys_days{2026y / March / 14} + 12h;
}

CalendarDay ManualClock::localDay(Instant instant) const {
    using namespace std::chrono;
    const auto local = instant + duration_cast<Instant::duration>(utcOffset_);
    const year_month_day date{floor<days>(local)};
    return CalendarDay{static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                       static_cast<unsigned>(date.day())};
}

void ManualScheduler::post(Task task) {
    std::lock_guard lock(postedMutex_);
    posted_.push_back(std::move(task));
}

TaskId ManualScheduler::runAfter(Seconds delay, Task task) {
    const TaskId id = nextId_++;
    const Instant due = clock_.now() + std::chrono::duration_cast<Instant::duration>(delay.count() > 0 ? delay : Seconds(0));
    timed_.emplace(Key{due, id}, std::move(task));
    dueById_.emplace(id, due);
    return id;
}

void ManualScheduler::cancel(TaskId id) {
    const auto found = dueById_.find(id);
    if (found == dueById_.end()) return;
    timed_.erase(Key{found->second, id});
    dueById_.erase(found);
}

void ManualScheduler::advance(double seconds) {
    const Instant end = clock_.now() + std::chrono::duration_cast<Instant::duration>(Seconds(seconds));
    for (;;) {
        std::vector<Task> posted;
        {
            std::lock_guard lock(postedMutex_);
            posted.swap(posted_);
        }
        if (!posted.empty()) {
            for (auto& task : posted) task();
            continue;
        }
        if (timed_.empty() || timed_.begin()->first.due > end) break;
        auto next = timed_.extract(timed_.begin());
        dueById_.erase(next.key().id);
        if (next.key().due > clock_.now()) clock_.set(next.key().due);
        next.mapped()();
    }
    if (end > clock_.now()) clock_.set(end);
}

std::size_t ManualScheduler::pendingCount() const {
    std::lock_guard lock(postedMutex_);
    return posted_.size() + timed_.size();
}

}  // namespace pivra::testing_support
