// The Linux host's parts, run for real: the scheduler on Qt's loop, inotify,
// the settings file and the log.

#include <cmath>
#include <limits>
#include <thread>

#include <QEventLoop>
#include <gtest/gtest.h>

#include "app/storage/settings.hpp"
#include "hosts/linux/inotify_file_watcher.hpp"
#include "hosts/linux/json_file_preferences.hpp"
#include "hosts/linux/qt_application.hpp"
#include "hosts/linux/qt_scheduler.hpp"
#include "hosts/linux/stderr_log.hpp"
#include "tests/hosts/linux/qt_loop.hpp"
#include "tests/support/fake_ports.hpp"
#include "tests/support/files.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;

class QtSchedulerTest : public testing::Test {
protected:
    testing_support::RecordingLog qtLog;
    QtApplication application{qtLog};
    QEventLoop loop;
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
        scheduler.post([&] { loop.quit(); });
    });
    scheduler.cancel(cancelled);
    testing_support::runUntilQuit(loop);
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 3, 4, 5, 6}));
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
                    if (++total == kThreads * kTasks) loop.quit();
                });
            }
        });
    }
    testing_support::runUntilQuit(loop);
    for (auto& thread : threads) thread.join();
    EXPECT_FALSE(offTheMainThread);
    std::vector<int> inOrder(kTasks);
    for (int i = 0; i < kTasks; ++i) inOrder[i] = i;
    for (int t = 0; t < kThreads; ++t) EXPECT_EQ(ran[t], inOrder) << "thread " << t;
}

class InotifyTest : public testing::Test {
protected:
    // Whether the watches' handlers ran for a change.
    bool seen(const std::function<void()>& change) {
        const int before = calls;
        change();
        testing_support::deliverEvents();
        return calls > before;
    }

    testing_support::TempFolder temp;
    testing_support::RecordingLog qtLog;
    QtApplication application{qtLog};
    InotifyFileWatcher watcher;
    int calls = 0;
};

TEST_F(InotifyTest, FolderWatchSeesEntriesComeAndGoButNotWrites) {
    const fs::path d = temp.path();
    testing_support::writeFile(d / "existing", "x");
    ASSERT_TRUE(watcher.watchFolder(d, [&] { ++calls; }).has_value());
    EXPECT_FALSE(seen([&] { testing_support::writeFile(d / "existing", "changed in place"); }));
    EXPECT_TRUE(seen([&] { testing_support::writeFile(d / "new", ""); }));
    EXPECT_TRUE(seen([&] { fs::rename(d / "new", d / "renamed"); }));
    EXPECT_TRUE(seen([&] { fs::remove(d / "renamed"); }));
    EXPECT_TRUE(seen([&] { fs::create_directory(d / "sub"); }));
}

TEST_F(InotifyTest, FileWatchSeesWritesRenamesAndDeletionThenGoesQuiet) {
    const fs::path d = temp.path();
    testing_support::writeFile(d / "f", "a");
    ASSERT_TRUE(watcher.watchFile(d / "f", [&] { ++calls; }).has_value());
    EXPECT_TRUE(seen([&] { testing_support::writeFile(d / "f", "b"); }));
    EXPECT_TRUE(seen([&] { fs::rename(d / "f", d / "g"); }));
    EXPECT_TRUE(seen([&] { fs::remove(d / "g"); }));
    EXPECT_FALSE(seen([&] { testing_support::writeFile(d / "f", "a new file at the old path is another file"); }));
}

TEST_F(InotifyTest, CannotWatchWhatIsNotThere) {
    EXPECT_FALSE(watcher.watchFile(temp.path() / "missing", [] {}).has_value());
    EXPECT_FALSE(watcher.watchFolder(temp.path() / "missing", [] {}).has_value());
    testing_support::writeFile(temp.path() / "plain", "");
    EXPECT_FALSE(watcher.watchFolder(temp.path() / "plain", [] {}).has_value());
}

TEST_F(InotifyTest, TwoWatchesOnOneFileAreIndependent) {
    const fs::path file = temp.path() / "f";
    testing_support::writeFile(file, "a");
    int stopped = 0;
    const auto a = watcher.watchFile(file, [&] { ++stopped; });
    const auto b = watcher.watchFile(file, [&] { ++calls; });
    ASSERT_TRUE(a && b);
    watcher.stop(*a);  // the kernel watch is shared; b must keep working
    EXPECT_TRUE(seen([&] { testing_support::writeFile(file, "b"); }));
    EXPECT_EQ(stopped, 0);
}

TEST_F(InotifyTest, AHandlerMayStopItsOwnWatchAndWatchAgain) {
    const fs::path file = temp.path() / "f";
    testing_support::writeFile(file, "a");
    std::optional<WatchId> current;
    std::function<void()> handler = [&] {
        ++calls;
        const auto next = watcher.watchFile(file, handler);
        watcher.stop(*current);
        current = next;
    };
    current = watcher.watchFile(file, handler);
    EXPECT_TRUE(seen([&] { testing_support::writeFile(file, "b"); }));
    EXPECT_TRUE(seen([&] { testing_support::writeFile(file, "c"); }));
    watcher.stop(*current);
    EXPECT_FALSE(seen([&] { testing_support::writeFile(file, "d"); }));
}

class JsonFilePreferencesTest : public testing::Test {
protected:
    testing_support::TempFolder temp;
    fs::path file = temp.path() / "Pivra" / "settings.json";
    testing_support::RecordingLog log;
};

TEST_F(JsonFilePreferencesTest, ValuesSurviveANewProcessWithTheirTypes) {
    {
        JsonFilePreferences preferences(file, log);
        preferences.setValue("pickerTrigger", std::string("option"));
        preferences.setValue("countLinks", false);
        preferences.setValue("recentCount", std::int64_t{8});
        preferences.setValue("pausedUntil", 1773489600.5);
        preferences.setValue("gone", true);
        preferences.removeValue("gone");
    }
    EXPECT_EQ(testing_support::readFile(file),
              "{\n  \"countLinks\" : false,\n  \"pausedUntil\" : 1773489600.5,\n"
              "  \"pickerTrigger\" : \"option\",\n  \"recentCount\" : 8\n}\n");
    JsonFilePreferences again(file, log);
    EXPECT_EQ(again.value("pickerTrigger"), PreferenceValue(std::string("option")));
    EXPECT_EQ(again.value("countLinks"), PreferenceValue(false));
    EXPECT_EQ(again.value("recentCount"), PreferenceValue(std::int64_t{8}));
    EXPECT_EQ(again.value("pausedUntil"), PreferenceValue(1773489600.5));
    EXPECT_EQ(again.value("gone"), std::nullopt);
}

TEST_F(JsonFilePreferencesTest, MissingOrBrokenFilesReadAsNoSettingsAndABrokenOneIsKeptAside) {
    EXPECT_EQ(JsonFilePreferences(file, log).value("countLinks"), std::nullopt);
    fs::create_directories(file.parent_path());
    for (const char* broken : {"", "{\"countLinks\": fals", "[true]", "{\"a\": 1e999}"}) {
        testing_support::writeFile(file, broken);
        JsonFilePreferences preferences(file, log);
        EXPECT_EQ(preferences.value("countLinks"), std::nullopt) << broken;
        EXPECT_EQ(log.lines.size(), 1u);
        preferences.setValue("countLinks", true);
        EXPECT_EQ(testing_support::readFile(fs::path(file).concat(".broken")), broken);
        EXPECT_EQ(JsonFilePreferences(file, log).value("countLinks"), PreferenceValue(true));
        EXPECT_EQ(log.lines.size(), 2u);  // and where the broken file went
        fs::remove(file);
        log.lines.clear();
    }
}

TEST_F(JsonFilePreferencesTest, OtherKindsOfMembersReadAsNotSetAndSettingsSeeTheirDefaults) {
    fs::create_directories(file.parent_path());
    testing_support::writeFile(file, R"({"countLinks": null, "recentCount": [3], "accent": {"x": 1}, "pausedUntil": 0})");
    JsonFilePreferences preferences(file, log);
    Settings settings(preferences);
    EXPECT_TRUE(settings.countLinks());
    EXPECT_EQ(settings.recentCount(), 5);
    EXPECT_EQ(settings.accent(), "Blue");
    EXPECT_EQ(preferences.value("pausedUntil"), PreferenceValue(std::int64_t{0}));
    EXPECT_FALSE(settings.isPaused(Instant{}));
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
