// Installing for real: the Linux bundle files on real files, attributes and
// the freedesktop.org Trash, a whole move with them, and the relaunch script
// waiting for a real process. GIO reads $HOME and the XDG folders once per
// process, so this program points them at a temporary tree before any test.

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <algorithm>
#include <fstream>
#include <sstream>
#include <memory>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/install/move_to_applications.hpp"
#include "app/install/relaunch.hpp"
#include "hosts/linux/gio_bundle_files.hpp"
#include "hosts/posix/posix_launcher.hpp"
#include "tests/hosts/linux/recording_program.hpp"
#include "tests/support/fake_host.hpp"
#include "tests/support/temp_folder.hpp"

extern char** environ;

namespace pivra {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing_support::readFile;
using testing_support::TempFolder;

constexpr const char* kQuarantine = "user.com.apple.quarantine";

class PrivateHome final : public testing::Environment {
public:
    static PrivateHome* instance;

    void SetUp() override {
        temp_ = std::make_unique<TempFolder>();
        fs::create_directories(dataHome());
        setenv("HOME", temp_->path().c_str(), 1);
        setenv("XDG_DATA_HOME", dataHome().c_str(), 1);
    }
    void TearDown() override { temp_.reset(); }

    fs::path dataHome() const { return temp_->path() / "data"; }
    fs::path trashFiles() const { return dataHome() / "Trash/files"; }

private:
    std::unique_ptr<TempFolder> temp_;
};

PrivateHome* PrivateHome::instance = static_cast<PrivateHome*>(testing::AddGlobalTestEnvironment(new PrivateHome));

void writeIn(const fs::path& file, std::string_view bytes) {
    fs::create_directories(file.parent_path());
    testing_support::writeFile(file, bytes);
}

bool setAttribute(const fs::path& path, const char* name, std::string_view value) {
    return ::lsetxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
}

std::optional<std::string> attribute(const fs::path& path, const char* name) {
    char value[256];
    const ssize_t size = ::lgetxattr(path.c_str(), name, value, sizeof value);
    if (size < 0) return std::nullopt;
    return std::string(value, static_cast<std::size_t>(size));
}

// Whether the temporary folder's file system keeps user attributes.
bool userAttributesWork(const fs::path& folder) {
    const fs::path probe = folder / ".attribute-probe";
    writeIn(probe, "");
    const bool works = setAttribute(probe, "user.pivra-probe", "1");
    fs::remove(probe);
    return works;
}

struct stat statOf(const fs::path& path) {
    struct stat info {};
    EXPECT_EQ(::lstat(path.c_str(), &info), 0) << path;
    return info;
}

void setModificationTime(const fs::path& path, long seconds, long nanoseconds) {
    const timespec times[2] = {{seconds, nanoseconds}, {seconds, nanoseconds}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
}

class GioBundleFilesTest : public testing::Test {
protected:
    // A bundle with what bundles hold: an executable, a private file, nested
    // folders, a read-only folder, a relative link and a dangling one.
    fs::path makeBundle(const fs::path& bundle) {
        writeIn(bundle / "Contents/Info.plist", "<plist/>");
        writeIn(bundle / "Contents/MacOS/Pivra", "#!/bin/sh\n");
        fs::permissions(bundle / "Contents/MacOS/Pivra", fs::perms(0755));
        writeIn(bundle / "Contents/Resources/secret", "s");
        fs::permissions(bundle / "Contents/Resources/secret", fs::perms(0600));
        writeIn(bundle / "Contents/Frameworks/Locked/file", "l");
        fs::create_symlink("../MacOS/Pivra", bundle / "Contents/Resources/link");
        fs::create_symlink("nowhere", bundle / "Contents/Resources/dangling");
        setModificationTime(bundle / "Contents/MacOS/Pivra", 1700000000, 123456789);
        setModificationTime(bundle / "Contents/Resources/link", 1600000000, 5);
        setModificationTime(bundle / "Contents/Frameworks/Locked", 1500000000, 0);
        fs::permissions(bundle / "Contents/Frameworks/Locked", fs::perms(0555));
        return bundle;
    }

    TempFolder temp;
    GioBundleFiles files;
};

TEST_F(GioBundleFilesTest, CopyKeepsContentsPermissionsTimesLinksAndAttributes) {
    const fs::path from = makeBundle(temp.path() / "Pivra.app");
    const bool attributes = userAttributesWork(temp.path());
    if (attributes) {
        ASSERT_TRUE(setAttribute(from / "Contents/MacOS/Pivra", "user.signature", "sealed"));
    }
    const fs::path to = temp.path() / "Copy.app";
    ASSERT_EQ(files.copyBundle(from, to), std::nullopt);

    EXPECT_EQ(readFile(to / "Contents/Frameworks/Locked/file"), "l");
    for (const char* item : {"Contents/MacOS/Pivra", "Contents/Resources/secret", "Contents/Frameworks/Locked",
                             "Contents/Resources/link", "Contents"}) {
        const auto source = statOf(from / item);
        const auto copy = statOf(to / item);
        EXPECT_EQ(copy.st_mode, source.st_mode) << item;
        EXPECT_EQ(copy.st_mtim.tv_sec, source.st_mtim.tv_sec) << item;
        EXPECT_EQ(copy.st_mtim.tv_nsec, source.st_mtim.tv_nsec) << item;
    }
    EXPECT_EQ(fs::read_symlink(to / "Contents/Resources/link"), "../MacOS/Pivra");
    EXPECT_EQ(fs::read_symlink(to / "Contents/Resources/dangling"), "nowhere");
    if (attributes) {
        EXPECT_EQ(attribute(to / "Contents/MacOS/Pivra", "user.signature"), "sealed");
    }
    // The copy can be deleted again, read-only folder and all.
    EXPECT_EQ(files.remove(to), std::nullopt);
    EXPECT_FALSE(files.exists(to));
    EXPECT_EQ(files.remove(to), std::nullopt) << "nothing there is no error";
}

TEST_F(GioBundleFilesTest, CopyRefusesWhatABundleCannotHoldAndAnExistingDestination) {
    const fs::path from = makeBundle(temp.path() / "Pivra.app");
    const fs::path to = temp.path() / "Copy.app";
    fs::create_directories(to);
    const auto exists = files.copyBundle(from, to);
    ASSERT_TRUE(exists);
    EXPECT_THAT(*exists, HasSubstr(to.string()));

    ASSERT_EQ(::mkfifo((from / "Contents/pipe").c_str(), 0600), 0);
    const auto pipe = files.copyBundle(from, temp.path() / "Other.app");
    ASSERT_TRUE(pipe);
    EXPECT_EQ(*pipe, (from / "Contents/pipe").string() + " is neither a file, a folder nor a symbolic link");

    EXPECT_TRUE(files.copyBundle(temp.path() / "Missing.app", temp.path() / "Third.app"));
}

TEST_F(GioBundleFilesTest, TrashFollowsTheFreedesktopLayoutAndNeverOverwrites) {
    const fs::path first = temp.path() / "a/Pivra.app";
    const fs::path second = temp.path() / "b/Pivra.app";
    writeIn(first / "Contents/MacOS/Pivra", "first");
    writeIn(second / "Contents/MacOS/Pivra", "second");

    const auto one = files.moveToTrash(first);
    const auto two = files.moveToTrash(second);
    ASSERT_TRUE(one) << one.error();
    ASSERT_TRUE(two) << two.error();
    EXPECT_NE(*one, *two);
    EXPECT_FALSE(files.exists(first));
    for (const auto& [place, text, original] : {std::tuple{*one, "first", first}, std::tuple{*two, "second", second}}) {
        EXPECT_EQ(place.parent_path(), PrivateHome::instance->trashFiles());
        EXPECT_EQ(readFile(place / "Contents/MacOS/Pivra"), text);
        const auto info = readFile(PrivateHome::instance->dataHome() / "Trash/info" /
                                   (place.filename().string() + ".trashinfo"));
        EXPECT_THAT(info, HasSubstr("Path=" + original.string() + "\n"));
    }

    const auto missing = files.moveToTrash(temp.path() / "gone.app");
    ASSERT_FALSE(missing);
    EXPECT_THAT(missing.error(), HasSubstr("can’t move " + (temp.path() / "gone.app").string() + " to the Trash"));
}

TEST_F(GioBundleFilesTest, QuarantineIsRemovedThroughoutWithoutFollowingLinks) {
    if (!userAttributesWork(temp.path())) GTEST_SKIP() << "the temporary folder's file system keeps no user attributes";
    const fs::path bundle = temp.path() / "Pivra.app";
    writeIn(bundle / "Contents/MacOS/Pivra", "p");
    writeIn(bundle / "Contents/Resources/readonly", "r");
    writeIn(temp.path() / "outside", "o");
    fs::create_symlink(temp.path() / "outside", bundle / "Contents/Resources/outside-link");
    for (const fs::path& item : {bundle, bundle / "Contents/MacOS/Pivra", bundle / "Contents/Resources/readonly",
                                 temp.path() / "outside"}) {
        ASSERT_TRUE(setAttribute(item, kQuarantine, "0081;65f2;Safari;")) << item;
    }
    ASSERT_TRUE(setAttribute(bundle / "Contents/MacOS/Pivra", "user.other", "kept"));
    fs::permissions(bundle / "Contents/Resources/readonly", fs::perms(0444));

    ASSERT_EQ(files.removeAttributeEverywhere(bundle, "com.apple.quarantine"), std::nullopt);
    for (const fs::path& item : {bundle, bundle / "Contents/MacOS/Pivra", bundle / "Contents/Resources/readonly"}) {
        EXPECT_EQ(attribute(item, kQuarantine), std::nullopt) << item;
    }
    EXPECT_EQ(statOf(bundle / "Contents/Resources/readonly").st_mode & 07777, 0444u);
    EXPECT_EQ(attribute(bundle / "Contents/MacOS/Pivra", "user.other"), "kept");
    EXPECT_EQ(attribute(temp.path() / "outside", kQuarantine), "0081;65f2;Safari;") << "a link is not followed";
    // Once gone, removing it again is no error.
    EXPECT_EQ(files.removeAttributeEverywhere(bundle, "com.apple.quarantine"), std::nullopt);
}

TEST_F(GioBundleFilesTest, FoldersMovesAndTheirRefusals) {
    const fs::path deep = temp.path() / "home/Applications/Sub";
    EXPECT_FALSE(files.isWritableFolder(deep));
    EXPECT_EQ(files.createFolders(deep), std::nullopt);
    EXPECT_EQ(files.createFolders(deep), std::nullopt) << "already there";
    EXPECT_TRUE(files.isWritableFolder(deep));

    writeIn(temp.path() / "file", "f");
    EXPECT_FALSE(files.isWritableFolder(temp.path() / "file"));
    EXPECT_TRUE(files.createFolders(temp.path() / "file/below"));

    fs::create_symlink("nowhere", temp.path() / "dangling");
    EXPECT_TRUE(files.exists(temp.path() / "dangling"));

    writeIn(temp.path() / "staging/x", "new");
    writeIn(temp.path() / "taken/x", "old");
    const auto refused = files.move(temp.path() / "staging", temp.path() / "taken");
    ASSERT_TRUE(refused);
    EXPECT_EQ(readFile(temp.path() / "taken/x"), "old");
    EXPECT_EQ(files.move(temp.path() / "staging", temp.path() / "free"), std::nullopt);
    EXPECT_EQ(readFile(temp.path() / "free/x"), "new");
    EXPECT_FALSE(files.exists(temp.path() / "staging"));
}

// --- A whole move on real files ---

TEST(RealMove, InstallsTrashesTheOldCopyAndClearsTheQuarantine) {
    TempFolder temp;
    const fs::path applications = temp.path() / "Applications";
    const fs::path home = temp.path() / "home";
    const fs::path bundle = home / "Downloads/Pivra.app";
    writeIn(bundle / "Contents/MacOS/Pivra", "new");
    writeIn(applications / "Pivra.app/Contents/MacOS/Pivra", "old");
    const bool attributes = userAttributesWork(temp.path());
    if (attributes) {
        ASSERT_TRUE(setAttribute(bundle, kQuarantine, "0081;65f2;Safari;"));
        ASSERT_TRUE(setAttribute(bundle / "Contents/MacOS/Pivra", kQuarantine, "0081;65f2;Safari;"));
    }

    testing_support::FakePorts fakes;
    GioBundleFiles files;
    int quits = 0;
    MoveToApplications move(fakes.ports(nullptr, nullptr, &files), bundle, home, 4242, [&] { ++quits; }, applications);
    move.move();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (quits == 0 && move.state().working) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        fakes.scheduler.runDue();
        std::this_thread::yield();
    }

    ASSERT_EQ(quits, 1) << move.state().error.value_or("");
    const fs::path installed = applications / "Pivra.app";
    EXPECT_EQ(readFile(installed / "Contents/MacOS/Pivra"), "new");
    EXPECT_EQ(std::distance(fs::directory_iterator(applications), fs::directory_iterator()), 1) << "no staging copy";
    bool oldCopyInTrash = false;
    for (const auto& entry : fs::directory_iterator(PrivateHome::instance->trashFiles())) {
        oldCopyInTrash |= readSmallFile(entry.path() / "Contents/MacOS/Pivra", 16).value_or("") == "old";
    }
    EXPECT_TRUE(oldCopyInTrash);
    ASSERT_EQ(fakes.launcher.requests.size(), 1u);
    EXPECT_EQ(fakes.launcher.requests[0].arguments, relaunchRequest(4242, installed, "").arguments);
    if (!attributes) {
        GTEST_SKIP() << "the temporary folder's file system keeps no user attributes: quarantine not checked";
    }
    EXPECT_EQ(attribute(installed, kQuarantine), std::nullopt);
    EXPECT_EQ(attribute(installed / "Contents/MacOS/Pivra", kQuarantine), std::nullopt);
    EXPECT_EQ(attribute(bundle, kQuarantine), "0081;65f2;Safari;") << "the source is left as it was";
}

// --- The relaunch script, waiting for a real process ---

// A child of the test's own that runs until ended.
class Sleeper {
public:
    Sleeper() {
        char* const argv[] = {const_cast<char*>("sleep"), const_cast<char*>("300"), nullptr};
        if (::posix_spawnp(&pid_, "sleep", nullptr, nullptr, argv, environ) != 0) pid_ = -1;
    }
    ~Sleeper() { end(); }
    Sleeper(const Sleeper&) = delete;
    Sleeper& operator=(const Sleeper&) = delete;

    pid_t pid() const { return pid_; }
    // Ends and reaps it: a zombie still answers kill -0.
    void end() {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGKILL);
        int status = 0;
        ::waitpid(pid_, &status, 0);
        pid_ = -1;
    }

private:
    pid_t pid_ = -1;
};

// The arguments of process `pid`, from /proc; empty when it is gone.
std::vector<std::string> commandLine(pid_t pid) {
    std::ifstream in("/proc/" + std::to_string(pid) + "/cmdline", std::ios::binary);
    std::vector<std::string> arguments;
    std::string argument;
    while (std::getline(in, argument, '\0')) arguments.push_back(argument);
    return arguments;
}

struct ProcessStatus {
    char state;  // 'R', 'S', 'Z', ...
    pid_t parent;
};

// From Linux's /proc; absent when there is no such process.
std::optional<ProcessStatus> processStatus(pid_t pid) {
    std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    if (!std::getline(in, line)) return std::nullopt;
    const auto nameEnd = line.rfind(')');
    if (nameEnd == std::string::npos) return std::nullopt;
    std::istringstream rest(line.substr(nameEnd + 1));
    ProcessStatus status{};
    if (!(rest >> status.state >> status.parent)) return std::nullopt;
    return status;
}

bool isAlive(pid_t pid) {
    const auto status = processStatus(pid);
    return status && status->state != 'Z' && status->state != 'X';
}

// The processes that run exactly `arguments`.
std::vector<pid_t> processesRunning(const std::vector<std::string>& arguments) {
    std::vector<pid_t> found;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename().string();
        if (name.empty() || name.find_first_not_of("0123456789") != std::string::npos) continue;
        const pid_t pid = static_cast<pid_t>(std::stol(name));
        if (commandLine(pid) == arguments) found.push_back(pid);
    }
    return found;
}

// Looks again and again, a bounded number of times, until `done` holds.
bool pollUntil(const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        ::usleep(10'000);
    }
    return true;
}

std::vector<std::string> commandLineOf(const LaunchRequest& request) {
    std::vector<std::string> arguments{request.program.string()};
    arguments.insert(arguments.end(), request.arguments.begin(), request.arguments.end());
    return arguments;
}

class RelaunchTest : public testing::Test {
protected:
    LaunchRequest start(pid_t waitFor, std::string_view volume) {
        testing_support::writeRecordingProgram(opener, record);
        LaunchRequest request = relaunchRequest(waitFor, newCopy, volume, opener.string());
        std::optional<LaunchResult> result;
        launcher.launch(request, [&](LaunchResult r) { result = std::move(r); });
        const bool answered = pollUntil([&] {
            scheduler.runDue();
            return result.has_value();
        });
        EXPECT_TRUE(answered);
        if (result) {
            EXPECT_EQ(result->kind, LaunchResult::Kind::stillRunning);
        }
        return request;
    }

    TempFolder temp;
    const fs::path opener = temp.path() / "bin/opener";
    const fs::path record = temp.path() / "opened";
    const fs::path newCopy = temp.path() / "Applications/Pivra.app";
    testing_support::ManualClock clock;
    testing_support::ManualScheduler scheduler{clock};
    PosixLauncher launcher{scheduler};
};

TEST_F(RelaunchTest, OpensTheNewCopyOnlyOnceTheOldProcessHasEnded) {
    Sleeper old;
    ASSERT_GT(old.pid(), 0);
    const LaunchRequest request = start(old.pid(), "");
    // The script is in its wait once it has started a sleep of its own. Its
    // command line is the shell's only once the shell has been executed.
    std::vector<pid_t> shells;
    ASSERT_TRUE(pollUntil([&] { return (shells = processesRunning(commandLineOf(request))).size() == 1; }));
    const bool waiting = pollUntil([&] {
        for (const pid_t child : processesRunning({"/bin/sleep", "0.2"})) {
            const auto status = processStatus(child);
            if (status && status->parent == shells[0]) return true;
        }
        return false;
    });
    ASSERT_TRUE(waiting) << "the script never waited";
    EXPECT_FALSE(fs::exists(record)) << "opened while the old process lived";

    old.end();
    const bool opened = pollUntil([&] { return fs::exists(record); });
    ASSERT_TRUE(opened) << "never opened";
    EXPECT_EQ(readFile(record), newCopy.string() + "\n");
}

TEST_F(RelaunchTest, AVolumeThatCannotBeDetachedEndsTheScriptQuietly) {
    // A process that has already ended: the script goes straight on.
    if (fs::exists("/usr/bin/hdiutil")) GTEST_SKIP() << "this system has an hdiutil";
    pid_t gonePid = -1;
    {
        Sleeper gone;
        gonePid = gone.pid();
    }
    const LaunchRequest request = start(gonePid, "/Volumes/Pivra Test");
    const bool opened = pollUntil([&] { return fs::exists(record); });
    ASSERT_TRUE(opened);
    EXPECT_EQ(readFile(record), newCopy.string() + "\n");
    // Then five tries at a detach, a second apart, that find no hdiutil; then the end.
    const bool finished =
        pollUntil([&] { return std::ranges::none_of(processesRunning(commandLineOf(request)), isAlive); });
    EXPECT_TRUE(finished) << "the script still runs";
}

}  // namespace
}  // namespace pivra
