#include "app/model/debouncer.hpp"

namespace pivra {

Debouncer::Debouncer(Scheduler& scheduler, Seconds delay, std::function<void()> action)
    : scheduler_(scheduler), delay_(delay), action_(std::move(action)) {}

// The scheduler may outlive us; a task left behind would call into freed memory.
Debouncer::~Debouncer() { cancel(); }

void Debouncer::trigger() {
    cancel();
    pending_ = scheduler_.runAfter(delay_, [this] {
        pending_.reset();
        action_();
    });
}

void Debouncer::cancel() {
    if (pending_) scheduler_.cancel(*pending_);
    pending_.reset();
}

bool Debouncer::flush() {
    if (!pending_) return false;
    cancel();
    action_();
    return true;
}

}  // namespace pivra
