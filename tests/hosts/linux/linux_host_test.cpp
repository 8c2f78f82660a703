// The Linux host's parts, run for real: the Asio main loop, inotify, the
// settings file and the log.

#include <unistd.h>

#include <boost/asio/io_context.hpp>
#include <gtest/gtest.h>

#include "app/storage/settings.hpp"
#include "hosts/linux/asio_scheduler.hpp"
#include "hosts/linux/inotify_file_watcher.hpp"
#include "hosts/linux/json_file_preferences.hpp"
#include "hosts/linux/stderr_log.hpp"
#include "tests/support/fake_ports.hpp"
#include "tests/support/files.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;

TEST(AsioScheduler, RunsPostedAndDueTasksInOrderAndSkipsCancelledOnes) {
    boost::asio::io_context io;
    AsioScheduler scheduler(io);
    std::vector<int> ran;
    scheduler.runAfter(Seconds(0), [&] { ran.push_back(2); });
    const TaskId cancelled = scheduler.runAfter(Seconds(0), [&] { ran.push_back(99); });
    scheduler.post([&] { ran.push_back(1); });
    scheduler.runAfter(Seconds(0.001), [&] {
        ran.push_back(3);
        scheduler.cancel(cancelled);  // already cancelled below: harmless
    });
    scheduler.cancel(cancelled);
    io.run();  // returns once nothing is left to wait for
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 3}));
}

TEST(AsioScheduler, ATaskLeftBehindByADestroyedSchedulerNeverRuns) {
    boost::asio::io_context io;
    bool ran = false;
    {
        AsioScheduler scheduler(io);
        scheduler.runAfter(Seconds(0), [&] { ran = true; });
    }
    io.run();
    EXPECT_FALSE(ran);
}

class InotifyTest : public testing::Test {
protected:
    void deliver() {
        int idle = 0;
        for (int round = 0; round < 500 && idle < 5; ++round) {
            if (io.poll() == 0) {
                ++idle;
                ::usleep(200);
            } else {
                idle = 0;
            }
        }
    }

    // Whether the watches' handlers ran for a change.
    bool seen(const std::function<void()>& change) {
        const int before = calls;
        change();
        deliver();
        return calls > before;
    }

    testing_support::TempFolder temp;
    boost::asio::io_context io;
    InotifyFileWatcher watcher{io};
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
