// The FileWatcher port's promises, held against inotify on Qt's loop and the
// recording fake, so that tests which use the fake can trust it. Both see the
// same changes on disk; for the fake, the driver fires the paths that the
// kernel's events name. Then what only inotify shows: a watch follows its
// file, not the path.

#include <functional>
#include <optional>
#include <set>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "hosts/linux/inotify_file_watcher.hpp"
#include "hosts/linux/qt_application.hpp"
#include "tests/hosts/linux/qt_loop.hpp"
#include "tests/support/fake_ports.hpp"
#include "tests/support/files.hpp"
#include "tests/support/recording_file_watcher.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;

// Changes on disk, with the paths that the kernel's events name for each:
// the entry that was written, removed or renamed, and the folders whose
// entries came or went.
class DiskChanges {
public:
    const fs::path& folder() const { return temp_.path(); }

    void write(const fs::path& file, std::string_view bytes) {
        const bool existed = fs::exists(file);
        testing_support::writeFile(file, bytes);
        touched_.push_back(existed ? file : file.parent_path());
    }
    void makeFolder(const fs::path& path) {
        fs::create_directory(path);
        touched_.push_back(path.parent_path());
    }
    void remove(const fs::path& path) {
        fs::remove(path);
        touched_.insert(touched_.end(), {path, path.parent_path()});
    }
    void rename(const fs::path& from, const fs::path& to) {
        const bool replaces = fs::exists(to);
        fs::rename(from, to);
        touched_.insert(touched_.end(), {from, from.parent_path(), to.parent_path()});
        if (replaces) touched_.push_back(to);
    }

protected:
    // The paths named since the last call, each once.
    std::vector<fs::path> takeTouched() {
        std::vector<fs::path> paths;
        std::set<fs::path> seen;
        for (auto& path : touched_) {
            if (seen.insert(path).second) paths.push_back(std::move(path));
        }
        touched_.clear();
        return paths;
    }

private:
    testing_support::TempFolder temp_;
    std::vector<fs::path> touched_;
};

class InotifyDriver : public DiskChanges {
public:
    FileWatcher& watcher() { return watcher_; }
    // Runs the handlers of what has changed; inotify names the paths itself.
    void deliver() {
        takeTouched();
        testing_support::deliverEvents();
    }

private:
    testing_support::RecordingLog qtLog_;
    QtApplication application_{qtLog_};
    InotifyFileWatcher watcher_;
};

class RecordingDriver : public DiskChanges {
public:
    FileWatcher& watcher() { return watcher_; }
    void deliver() {
        for (const auto& path : takeTouched()) watcher_.fire(path);
    }

private:
    testing_support::RecordingFileWatcher watcher_;
};

template <class Driver>
class FileWatcherContract : public testing::Test {
protected:
    // A handler that counts its calls, and notes one off the main thread.
    FileWatcher::Handler counting(int& calls) {
        return [&calls, this, main = std::this_thread::get_id()] {
            ++calls;
            offTheMainThread |= std::this_thread::get_id() != main;
        };
    }

    // Whether `calls` grew when `change` was delivered. What came before is
    // delivered first: changes made before a watch began are not its events.
    bool seen(int& calls, const std::function<void()>& change) {
        driver.deliver();
        const int before = calls;
        change();
        driver.deliver();
        return calls > before;
    }

    void TearDown() override { EXPECT_FALSE(offTheMainThread); }

    Driver driver;
    const fs::path d = driver.folder();
    bool offTheMainThread = false;
};

using FileWatcherDrivers = testing::Types<InotifyDriver, RecordingDriver>;
TYPED_TEST_SUITE(FileWatcherContract, FileWatcherDrivers);

TYPED_TEST(FileWatcherContract, AFolderWatchSeesEntriesComeAndGoButNotWrites) {
    auto& disk = this->driver;
    const auto& d = this->d;
    disk.write(d / "existing", "x");
    int calls = 0;
    ASSERT_TRUE(disk.watcher().watchFolder(d, this->counting(calls)).has_value());
    EXPECT_FALSE(this->seen(calls, [&] { disk.write(d / "existing", "changed in place"); }));
    EXPECT_TRUE(this->seen(calls, [&] { disk.write(d / "new", ""); }));
    EXPECT_TRUE(this->seen(calls, [&] { disk.rename(d / "new", d / "renamed"); }));
    EXPECT_TRUE(this->seen(calls, [&] { disk.rename(d / "renamed", d / "existing"); }));  // replacing
    EXPECT_TRUE(this->seen(calls, [&] { disk.remove(d / "existing"); }));
    EXPECT_TRUE(this->seen(calls, [&] { disk.makeFolder(d / "sub"); }));
    EXPECT_FALSE(this->seen(calls, [&] { disk.write(d / "sub" / "deeper", ""); })) << "only its own entries";
}

TYPED_TEST(FileWatcherContract, AFileWatchSeesWritesAndTheFileGoing) {
    auto& disk = this->driver;
    const auto& d = this->d;
    disk.write(d / "renamed away", "a");
    disk.write(d / "deleted", "a");
    int renamedCalls = 0;
    int deletedCalls = 0;
    ASSERT_TRUE(disk.watcher().watchFile(d / "renamed away", this->counting(renamedCalls)).has_value());
    ASSERT_TRUE(disk.watcher().watchFile(d / "deleted", this->counting(deletedCalls)).has_value());
    EXPECT_FALSE(this->seen(renamedCalls, [&] { disk.write(d / "another", "b"); })) << "another file";
    EXPECT_TRUE(this->seen(renamedCalls, [&] { disk.write(d / "renamed away", "b"); }));
    EXPECT_TRUE(this->seen(renamedCalls, [&] { disk.rename(d / "renamed away", d / "elsewhere"); }));
    EXPECT_TRUE(this->seen(deletedCalls, [&] { disk.remove(d / "deleted"); }));
}

TYPED_TEST(FileWatcherContract, NothingCanBeWatchedThatIsNotThere) {
    auto& watcher = this->driver.watcher();
    const auto& d = this->d;
    EXPECT_FALSE(watcher.watchFile(d / "missing", [] {}).has_value());
    EXPECT_FALSE(watcher.watchFolder(d / "missing", [] {}).has_value());
    this->driver.write(d / "plain", "");
    EXPECT_FALSE(watcher.watchFolder(d / "plain", [] {}).has_value()) << "a file is no folder";
    fs::create_symlink(d / "missing", d / "dangling");
    EXPECT_FALSE(watcher.watchFile(d / "dangling", [] {}).has_value());
}

TYPED_TEST(FileWatcherContract, AStoppedWatchIsNotCalledEvenForEventsAlreadyQueued) {
    auto& disk = this->driver;
    const auto& d = this->d;
    int calls = 0;
    const auto id = disk.watcher().watchFolder(d, this->counting(calls));
    ASSERT_TRUE(id.has_value());
    disk.write(d / "new", "");  // queued, not yet delivered
    disk.watcher().stop(*id);
    disk.deliver();
    EXPECT_EQ(calls, 0);
    disk.watcher().stop(*id);       // stopping an ended watch does nothing
    disk.watcher().stop(*id + 1000);  // nor one never given
    EXPECT_FALSE(this->seen(calls, [&] { disk.write(d / "newer", ""); }));
}

TYPED_TEST(FileWatcherContract, WatchesOfOnePathAreIndependentAndIdsAreNeverReused) {
    auto& disk = this->driver;
    const fs::path file = this->d / "f";
    disk.write(file, "a");
    std::set<WatchId> ids;
    for (int i = 0; i < 6; ++i) {
        const auto id = i % 2 ? disk.watcher().watchFile(file, [] {}) : disk.watcher().watchFolder(this->d, [] {});
        ASSERT_TRUE(id.has_value());
        EXPECT_TRUE(ids.insert(*id).second) << *id;
        disk.watcher().stop(*id);
    }
    int stoppedCalls = 0;
    int calls = 0;
    const auto stopped = disk.watcher().watchFile(file, this->counting(stoppedCalls));
    const auto kept = disk.watcher().watchFile(file, this->counting(calls));
    ASSERT_TRUE(stopped && kept);
    EXPECT_TRUE(ids.insert(*stopped).second && ids.insert(*kept).second);
    disk.watcher().stop(*stopped);
    EXPECT_TRUE(this->seen(calls, [&] { disk.write(file, "b"); }));
    EXPECT_EQ(stoppedCalls, 0);
}

TYPED_TEST(FileWatcherContract, AHandlerMayStopItsOwnWatchAndWatchAgain) {
    auto& disk = this->driver;
    auto& watcher = disk.watcher();
    const fs::path file = this->d / "f";
    disk.write(file, "a");
    int calls = 0;
    std::optional<WatchId> current;
    std::function<void()> handler = [&] {
        ++calls;
        const auto next = watcher.watchFile(file, handler);
        watcher.stop(*current);
        current = next;
    };
    current = watcher.watchFile(file, handler);
    EXPECT_TRUE(this->seen(calls, [&] { disk.write(file, "b"); }));
    EXPECT_TRUE(this->seen(calls, [&] { disk.write(file, "c"); }));
    watcher.stop(*current);
    EXPECT_FALSE(this->seen(calls, [&] { disk.write(file, "d"); }));
}

TYPED_TEST(FileWatcherContract, AHandlerMayStopAnotherWatchOfTheSameEvent) {
    auto& disk = this->driver;
    auto& watcher = disk.watcher();
    int calls = 0;
    std::optional<WatchId> first;
    std::optional<WatchId> second;
    first = watcher.watchFolder(this->d, [&] {
        ++calls;
        watcher.stop(*second);
    });
    second = watcher.watchFolder(this->d, [&] {
        ++calls;
        watcher.stop(*first);
    });
    ASSERT_TRUE(first && second);
    disk.write(this->d / "new", "");
    disk.deliver();
    EXPECT_EQ(calls, 1) << "whichever ran first ended the other";
}

// What only inotify shows: the watch is on the file, wherever it goes.

class InotifyFileWatcherTest : public FileWatcherContract<InotifyDriver> {};

TEST_F(InotifyFileWatcherTest, AFileWatchFollowsTheFileNotThePathNorTheLinkToIt) {
    int calls = 0;
    driver.write(d / "f", "a");
    fs::create_symlink(d / "f", d / "link");
    ASSERT_TRUE(driver.watcher().watchFile(d / "link", counting(calls)).has_value());
    EXPECT_TRUE(seen(calls, [&] { driver.rename(d / "f", d / "g"); }));
    EXPECT_TRUE(seen(calls, [&] { driver.write(d / "g", "b"); }));
    EXPECT_FALSE(seen(calls, [&] { driver.write(d / "f", "a new file at the old path is another file"); }));
    EXPECT_TRUE(seen(calls, [&] { driver.remove(d / "g"); }));
    EXPECT_FALSE(seen(calls, [&] { driver.write(d / "g", "nor one at the new path, once it is gone"); }));
}

}  // namespace
}  // namespace pivra
