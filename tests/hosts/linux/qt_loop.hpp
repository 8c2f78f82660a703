#pragma once
// Driving Qt's event loop from tests of the Linux host's parts.

#include <unistd.h>

#include <chrono>
#include <functional>

#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QObject>
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

// Runs `loop` until something quits it. Should nothing ever do so, a
// deadline far beyond any need ends it with a failure instead of a hang.
inline void runUntilQuit(QEventLoop& loop) {
    bool late = false;
    QTimer deadline;
    deadline.setSingleShot(true);
    QObject::connect(&deadline, &QTimer::timeout, &loop, [&] {
        late = true;
        loop.quit();
    });
    deadline.start(std::chrono::seconds(30));
    loop.exec();
    EXPECT_FALSE(late) << "the loop was never quit";
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
