#include "hosts/linux/qt_scheduler.hpp"

#include <algorithm>

#include <QMetaObject>
#include <QObject>
#include <QTimerEvent>

namespace pivra {
namespace {

using namespace std::chrono_literals;

// Qt takes a timer's interval in int milliseconds (under 25 days): a longer
// delay runs out in steps of at most this.
constexpr std::chrono::milliseconds kLongestStep = 24h;
// Delays beyond this are taken as this, which keeps the arithmetic in range;
// it never comes in practice.
constexpr Seconds kLongestDelay = std::chrono::years(100);

}  // namespace

class QtScheduler::Receiver final : public QObject {
public:
    explicit Receiver(QtScheduler& scheduler) : scheduler_(scheduler) {}

protected:
    void timerEvent(QTimerEvent* event) override { scheduler_.timerFired(event->timerId()); }

private:
    QtScheduler& scheduler_;
};

QtScheduler::QtScheduler() : receiver_(std::make_unique<Receiver>(*this)) {}

// Destroying the receiver stops its timers and drops the calls still queued for it.
QtScheduler::~QtScheduler() = default;

void QtScheduler::post(Task task) {
    // A queued call is a posted event: safe from any thread, run in the order
    // posted, and removed with the receiver if it never ran.
    QMetaObject::invokeMethod(receiver_.get(), std::move(task), Qt::QueuedConnection);
}

TaskId QtScheduler::runAfter(Seconds delay, Task task) {
    const TaskId id = nextId_++;
    // Not a number, zero and less all mean at once.
    const Seconds wait = delay.count() > 0 ? std::min(delay, kLongestDelay) : Seconds(0);
    auto& timer = timers_[id];
    timer.due = SteadyClock::now() + std::chrono::ceil<SteadyClock::duration>(wait);
    timer.task = std::move(task);
    arm(id, timer);
    return id;
}

void QtScheduler::cancel(TaskId id) {
    const auto found = timers_.find(id);
    if (found == timers_.end()) return;  // run, cancelled or never given
    if (const int qtTimer = found->second.qtTimer; qtTimer != 0) {
        receiver_->killTimer(qtTimer);
        byQtTimer_.erase(qtTimer);
    }
    timers_.erase(found);
}

void QtScheduler::arm(TaskId id, Timer& timer) {
    // Rounded up: a precise timer never fires early, and neither does the task.
    const auto remaining = std::chrono::ceil<std::chrono::milliseconds>(timer.due - SteadyClock::now());
    const auto step = std::clamp(remaining, std::chrono::milliseconds(0), kLongestStep);
    timer.qtTimer = receiver_->startTimer(step, Qt::PreciseTimer);
    if (timer.qtTimer != 0) {
        byQtTimer_.emplace(timer.qtTimer, id);
        return;
    }
    // No timer to be had (Qt has already said why): the task runs on the
    // loop's next turn, as if the delay were zero, and stays cancellable.
    QMetaObject::invokeMethod(receiver_.get(), [this, id] { runDue(id); }, Qt::QueuedConnection);
}

void QtScheduler::timerFired(int qtTimer) {
    // Every timer is single-shot: a step of a long delay is started anew.
    receiver_->killTimer(qtTimer);
    const auto found = byQtTimer_.find(qtTimer);
    if (found == byQtTimer_.end()) return;
    const TaskId id = found->second;
    byQtTimer_.erase(found);
    Timer& timer = timers_.at(id);
    timer.qtTimer = 0;
    if (SteadyClock::now() < timer.due) {
        arm(id, timer);
        return;
    }
    runDue(id);
}

void QtScheduler::runDue(TaskId id) {
    const auto found = timers_.find(id);
    if (found == timers_.end()) return;  // cancelled while its call was queued
    // Out of the table first: the task may cancel itself or schedule more.
    Task task = std::move(found->second.task);
    timers_.erase(found);
    task();
}

}  // namespace pivra
