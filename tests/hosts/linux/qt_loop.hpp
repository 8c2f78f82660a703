#pragma once
// Driving Qt's event loop from tests of the Linux host's parts.

#include <unistd.h>

#include <chrono>
#include <functional>

#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QTimer>
#include <gtest/gtest.h>

namespace pivra::testing_support {

// Runs what the loop has to do until it has had nothing for a few rounds in a
// row. inotify queues a change's events during the system call that makes
// it, so by then every handler they call has run; the bound on rounds keeps
// a fault from hanging the test.
inline void deliverEvents() {
    auto* dispatcher = QAbstractEventDispatcher::instance();
    ASSERT_NE(dispatcher, nullptr) << "no QCoreApplication";
    int idleRounds = 0;
    for (int round = 0; round < 500 && idleRounds < 5; ++round) {
        if (dispatcher->processEvents(QEventLoop::AllEvents)) {
            idleRounds = 0;
        } else {
            ++idleRounds;
            ::usleep(200);
        }
    }
}

// Runs what the loop has to do until `done` holds, asking after every turn.
// Work that another thread posts wakes the loop; a timer wakes it as well,
// for conditions that no event announces (a process ending elsewhere). A
// deadline far beyond any need ends the wait with a failure instead of a hang.
inline void runUntil(const std::function<bool()>& done) {
    auto* dispatcher = QAbstractEventDispatcher::instance();
    ASSERT_NE(dispatcher, nullptr) << "no QCoreApplication";
    QTimer tick;
    tick.start(std::chrono::milliseconds(10));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) {
            ADD_FAILURE() << "what the test waited for never came";
            return;
        }
        dispatcher->processEvents(QEventLoop::WaitForMoreEvents);
    }
}

}  // namespace pivra::testing_support
