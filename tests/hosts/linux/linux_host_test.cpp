// The Linux host's parts, run for real: the scheduler on Qt's loop and the
// log. The ports that have fakes (file watching, preferences, the launcher)
// are held to the same tests as their fakes in the *_contract_test files.

#include <cmath>
#include <limits>
#include <thread>

#include <gtest/gtest.h>

#include "hosts/linux/qt_application.hpp"
#include "hosts/linux/qt_scheduler.hpp"
#include "hosts/linux/stderr_log.hpp"
#include "tests/hosts/linux/qt_loop.hpp"
#include "tests/support/fake_ports.hpp"

namespace pivra {
namespace {

class QtSchedulerTest : public testing::Test {
protected:
    testing_support::RecordingLog qtLog;
    QtApplication application{qtLog};
    QtScheduler scheduler;
};

TEST_F(QtSchedulerTest, RunsPostedAndDueTasksInOrderAndSkipsCancelledOnes) {
    std::vector<int> ran;
    const TaskId first = scheduler.runAfter(Seconds(0), [&] { ran.push_back(2); });
    const TaskId cancelled = scheduler.runAfter(Seconds(0), [&] { ran.push_back(99); });
    scheduler.post([&] { ran.push_back(1); });
    TaskId dueNow = 0;
    scheduler.runAfter(Seconds(0), [&] {
        ran.push_back(3);
        scheduler.cancel(dueNow);  // due in the same turn, and still kept from running
    });
    dueNow = scheduler.runAfter(Seconds(0), [&] { ran.push_back(98); });
    // Not a number and negative delays mean at once; huge ones never come.
    scheduler.runAfter(Seconds(std::nan("")), [&] { ran.push_back(4); });
    scheduler.runAfter(Seconds(-5), [&] { ran.push_back(5); });
    scheduler.runAfter(Seconds(1e12), [&] { ran.push_back(97); });
    scheduler.runAfter(Seconds(std::numeric_limits<double>::infinity()), [&] { ran.push_back(96); });
    TaskId last = 0;
    last = scheduler.runAfter(Seconds(0.001), [&] {
        ran.push_back(6);
        scheduler.cancel(cancelled);  // already cancelled below: harmless
        scheduler.cancel(first);      // has run: harmless
        scheduler.cancel(last);       // the task itself, running: harmless
        scheduler.post([&] { ran.push_back(7); });
    });
    scheduler.cancel(cancelled);
    testing_support::runUntil([&] { return ran.size() >= 7; });
    testing_support::deliverEvents();  // for whatever would wrongly come after
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(qtLog.lines, std::vector<testing_support::RecordingLog::Line>{}) << "Qt had nothing to warn about";
}

TEST_F(QtSchedulerTest, TasksLeftBehindByADestroyedSchedulerNeverRun) {
    bool ran = false;
    {
        QtScheduler gone;
        gone.runAfter(Seconds(0), [&] { ran = true; });
        gone.post([&] { ran = true; });
    }
    testing_support::deliverEvents();
    EXPECT_FALSE(ran);
}

TEST_F(QtSchedulerTest, TasksPostedFromOtherThreadsRunOnTheMainThreadInTheOrderPosted) {
    constexpr int kThreads = 3;
    constexpr int kTasks = 200;
    const auto mainThread = std::this_thread::get_id();
    std::vector<int> ran[kThreads];
    int total = 0;
    bool offTheMainThread = false;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kTasks; ++i) {
                scheduler.post([&, t, i] {
                    offTheMainThread |= std::this_thread::get_id() != mainThread;
                    ran[t].push_back(i);
                    ++total;
                });
            }
        });
    }
    testing_support::runUntil([&] { return total == kThreads * kTasks; });
    for (auto& thread : threads) thread.join();
    EXPECT_FALSE(offTheMainThread);
    std::vector<int> inOrder(kTasks);
    for (int i = 0; i < kTasks; ++i) inOrder[i] = i;
    for (int t = 0; t < kThreads; ++t) EXPECT_EQ(ran[t], inOrder) << "thread " << t;
}

TEST(StderrLog, WritesCategoryLevelAndTheWholeLine) {
    std::FILE* out = std::tmpfile();
    ASSERT_NE(out, nullptr);
    StderrLog log(LogLevel::info, out);
    log.write(LogLevel::debug, "rules", "left out");
    log.write(LogLevel::error, "rules", "Rules not loaded: Not valid JSON");
    log.write(LogLevel::notice, "links", LogMessage("Link from a: example.com", "/private", " → fallback"));
    std::rewind(out);
    char buffer[512] = {};
    const auto length = std::fread(buffer, 1, sizeof buffer - 1, out);
    std::fclose(out);
    EXPECT_EQ(std::string(buffer, length),
              "[rules] error: Rules not loaded: Not valid JSON\n"
              "[links] notice: Link from a: example.com/private → fallback\n");
}

}  // namespace
}  // namespace pivra
