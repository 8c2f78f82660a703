#pragma once
// Waiting for work of other threads that reports through the manual scheduler.

#include <unistd.h>

#include <chrono>
#include <functional>

#include "tests/support/manual_time.hpp"

namespace pivra::testing_support {

// Runs what is posted to (or due on) the scheduler, without moving its clock,
// until `done` holds. False if it still does not after a wait far beyond any
// need, so that a fault fails the test instead of hanging it.
inline bool runUntil(ManualScheduler& scheduler, const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    for (;;) {
        scheduler.runDue();
        if (done()) return true;
        if (std::chrono::steady_clock::now() > deadline) return false;
        ::usleep(2000);
    }
}

}  // namespace pivra::testing_support
