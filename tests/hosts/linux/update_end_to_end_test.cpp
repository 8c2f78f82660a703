// The updater against a real HTTPS server on loopback, with libcurl, libzip,
// real bundle folders and real child processes: hostile releases never get
// past `failed`, and a good one is installed and relaunched.

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app/update/bundle_replacement.hpp"
#include "app/update/updater.hpp"
#include "hosts/linux/curl_http.hpp"
#include "hosts/linux/libzip_unarchiver.hpp"
#include "hosts/linux/unsigned_code_signing.hpp"
#include "hosts/posix/posix_launcher.hpp"
#include "tests/hosts/linux/recording_program.hpp"
#include "tests/support/fake_host.hpp"
#include "tests/support/https_test_server.hpp"
#include "tests/support/poll.hpp"
#include "tests/support/temp_folder.hpp"
#include "tests/support/update_files.hpp"

extern char** environ;

namespace pivra {
namespace {

namespace fs = std::filesystem;
using namespace testing_support;
using Route = HttpsTestServer::Route;
using Kind = UpdaterState::Kind;

constexpr std::string_view kReleaseUrl = "https://releases.omra.app/Pivra-2.0.zip";

// What the release server serves; each hostile case changes a part.
struct Release {
    std::vector<ZipEntry> entries = bundleEntries("2.0", "200");
    std::optional<std::string> zipBytes;  // in place of a zip of the entries
    std::string url = std::string(kReleaseUrl);
    std::optional<std::string> sha256;    // in place of the zip's own
    std::optional<std::string> feedBody;  // in place of the feed
    Route feedRoute = {};
    Route zipRoute = {};
    bool unsignedCopies = false;
    Seconds timeout{10};
};

std::string feedJson(const std::string& url, const std::string& sha256) {
    return R"({"version": "2.0", "build": 200, "url": ")" + url + R"(", "sha256": ")" + sha256 +
           R"(", "minimumSystemVersion": "13.0", "notes": null})";
}

class UpdateWorld {
public:
    explicit UpdateWorld(const Release& release) {
        writeBundle(running, "1.0", "100");
        fs::create_directories(downloads);
        fs::create_directories(trash);
        fakes.bundleFiles.trash = trash;
        fakes.appInfo.versionText = "1.0";
        fakes.appInfo.buildText = "100";
        fakes.appInfo.path = running;

        const std::string zip = release.zipBytes ? *release.zipBytes : writeZip(temp.path() / "release.zip", release.entries);
        Route feed = release.feedRoute;
        if (feed.body.empty()) feed.body = release.feedBody.value_or(feedJson(release.url, release.sha256.value_or(sha256Of(zip))));
        Route archive = release.zipRoute;
        if (archive.body.empty()) archive.body = zip;
        server.route("/updates.json", feed);
        server.route("/Pivra-2.0.zip", archive);

        http = std::make_unique<CurlHttp>(fakes.scheduler, CurlHttpOptions{.connectTo = {server.connectTo()},
                                                                           .certificateAuthorities = server.caFile(),
                                                                           .timeout = release.timeout});
        UpdaterPorts ports{.clock = fakes.clock,
                           .scheduler = fakes.scheduler,
                           .log = fakes.log,
                           .appInfo = fakes.appInfo,
                           .launcher = launcher,
                           .http = *http,
                           .unarchiver = unarchiver,
                           .codeSigning = release.unsignedCopies ? static_cast<CodeSigning&>(unsignedSigning)
                                                                 : static_cast<CodeSigning&>(fakes.codeSigning)};
        UpdaterSetup setup{.system = SystemVersion{14, 5, 0},
                           .processId = 0,
                           .temporaryFolder = downloads,
                           .bundles = bundleReplacement(fakes.bundleFiles),
                           .quit = [this] { quitCalled = true; },
                           .opener = (temp.path() / "opener").string()};
        updater = std::make_unique<Updater>(ports, settings, std::move(setup), [this] { return idle; });
    }

    bool settled() const {
        const Kind kind = updater->state().kind();
        return kind != Kind::checking && kind != Kind::downloading;
    }

    TempFolder temp;
    HttpsTestServer server{temp.path(), std::string(kReleaseHost)};
    FakePorts fakes;
    std::unique_ptr<CurlHttp> http;
    LibzipUnarchiver unarchiver{fakes.scheduler};
    PosixLauncher launcher{fakes.scheduler};
    UnsignedCodeSigning unsignedSigning;
    Settings settings{fakes.preferences};
    fs::path running = temp.path() / "Applications/Pivra.app";
    fs::path trash = temp.path() / "Trash";
    fs::path downloads = temp.path() / "downloads";
    bool idle = false;
    bool quitCalled = false;
    std::unique_ptr<Updater> updater;
};

struct HostileCase {
    const char* name;
    std::function<void(Release&)> arrange;
    std::string message;
    bool reachesDownload;  // whether the zip was asked for
};

const std::string kInvalidFeed = "Couldn’t check: the update feed isn’t valid";
const std::string kNotUnzipped = "Couldn’t update to 2.0: the download couldn’t be unzipped";

const HostileCase kHostileCases[] = {
    {"feedOverPlainHttp", [](Release& r) { r.url = "http://releases.omra.app/Pivra-2.0.zip"; }, kInvalidFeed, false},
    {"feedOnAnotherHost", [](Release& r) { r.url = "https://downloads.example.com/Pivra-2.0.zip"; }, kInvalidFeed, false},
    {"feedRedirectedToAnotherHost",
     [](Release& r) { r.feedRoute = {302, "moved", {{"Location", "https://elsewhere.example/updates.json"}}}; },
     "Couldn’t check: the server answered 302", false},
    {"downloadRedirectedToAnotherHost",
     [](Release& r) { r.zipRoute = {302, "moved", {{"Location", "https://elsewhere.example/Pivra-2.0.zip"}}}; },
     "Couldn’t update to 2.0: the server answered 302", true},
    {"hashOfOtherBytes", [](Release& r) { r.sha256 = sha256Of("other bytes"); },
     "Couldn’t update to 2.0: the download doesn’t match the release", true},
    {"downloadCutShort", [](Release& r) { r.zipRoute.behaviour = Route::Behaviour::truncate; },
     "Couldn’t update to 2.0: the server’s answer ended early", true},
    {"downloadNotFound", [](Release& r) { r.zipRoute = {404, "no such release"}; },
     "Couldn’t update to 2.0: the server answered 404", true},
    {"feedServerError", [](Release& r) { r.feedRoute = {500, "oops"}; }, "Couldn’t check: the server answered 500", false},
    {"feedNotJson", [](Release& r) { r.feedBody = "<html>Pivra</html>"; }, kInvalidFeed, false},
    {"zipClimbsOut", [](Release& r) { r.entries.push_back(ZipEntry::file("../outside.txt", "escaped")); }, kNotUnzipped, true},
    {"zipLinksToRoot", [](Release& r) { r.entries.push_back(ZipEntry::link("Pivra.app/Contents/Resources", "/")); },
     kNotUnzipped, true},
    {"downloadNotAZip", [](Release& r) { r.zipBytes = "PK but not a zip at all"; }, kNotUnzipped, true},
    {"zipWithoutTheApp", [](Release& r) { r.entries = bundleEntries("2.0", "200", "Other.app/"); },
     "Couldn’t update to 2.0: the download holds no Pivra.app", true},
    {"bundleOfALowerBuild", [](Release& r) { r.entries = bundleEntries("2.0", "199"); },
     "Couldn’t update to 2.0: the new copy is build 199, not the release’s", true},
    {"unsignedBundle", [](Release& r) { r.unsignedCopies = true; },
     "Couldn’t update to 2.0: the new copy isn’t signed by Omra (-67062)", true},
    {"serverNeverAnswers",
     [](Release& r) {
         r.feedRoute.behaviour = Route::Behaviour::hang;
         r.timeout = Seconds(1);
     },
     "Couldn’t check: the server didn’t answer in time", false},
};

class HostileUpdate : public ::testing::TestWithParam<HostileCase> {};

TEST_P(HostileUpdate, FailsWithItsMessageAndLeavesTheRunningCopyAlone) {
    Release release;
    GetParam().arrange(release);
    UpdateWorld world(release);
    const auto before = snapshot(world.running);

    world.updater->checkNow();
    ASSERT_TRUE(runUntil(world.fakes.scheduler, [&] { return world.settled(); }));
    // Idle or not, nothing is waiting to be installed.
    world.idle = true;
    world.fakes.scheduler.advance(kUpdateWakeInterval.count() * 2);

    EXPECT_EQ(world.updater->state(), UpdaterState::failed(GetParam().message));
    EXPECT_EQ(world.updater->staged(), std::nullopt);
    EXPECT_EQ(snapshot(world.running), before);
    EXPECT_TRUE(fs::is_empty(world.trash));
    EXPECT_TRUE(fs::is_empty(world.downloads)) << "the download's folder is removed";
    EXPECT_FALSE(fs::exists(world.temp.path() / "outside.txt"));
    EXPECT_EQ(world.settings.updatedFrom(), std::nullopt);
    EXPECT_FALSE(world.settings.reopenAfterUpdate());
    EXPECT_FALSE(world.quitCalled);
    const auto paths = world.server.paths();
    EXPECT_EQ(std::count(paths.begin(), paths.end(), "/Pivra-2.0.zip"), GetParam().reachesDownload ? 1 : 0);
    EXPECT_EQ(std::count(paths.begin(), paths.end(), "/updates.json"), 1);
}

INSTANTIATE_TEST_SUITE_P(Releases, HostileUpdate, ::testing::ValuesIn(kHostileCases),
                         [](const auto& info) { return std::string(info.param.name); });

// A process of the test's own for the relaunch to wait for.
pid_t startWaitingProcess() {
    pid_t pid = 0;
    char sleepName[] = "sleep";
    char seconds[] = "600";
    char* argv[] = {sleepName, seconds, nullptr};
    if (::posix_spawnp(&pid, "sleep", nullptr, nullptr, argv, environ) != 0) return -1;
    return pid;
}

TEST(Update, AGoodReleaseIsStagedInstalledAtAnIdleMomentAndRelaunched) {
    UpdateWorld world{Release{}};
    const fs::path record = world.temp.path() / "opened.txt";
    writeRecordingProgram(world.temp.path() / "opener", record);
    const pid_t waiter = startWaitingProcess();
    ASSERT_GT(waiter, 0);
    // The process id is part of the setup: a world whose relaunch waits for the waiter.
    UpdaterSetup setup{.system = SystemVersion{14, 5, 0},
                       .processId = waiter,
                       .temporaryFolder = world.downloads,
                       .bundles = bundleReplacement(world.fakes.bundleFiles),
                       .quit = [&] { world.quitCalled = true; },
                       .opener = (world.temp.path() / "opener").string()};
    world.updater = std::make_unique<Updater>(
        UpdaterPorts{.clock = world.fakes.clock,
                     .scheduler = world.fakes.scheduler,
                     .log = world.fakes.log,
                     .appInfo = world.fakes.appInfo,
                     .launcher = world.launcher,
                     .http = *world.http,
                     .unarchiver = world.unarchiver,
                     .codeSigning = world.fakes.codeSigning},
        world.settings, std::move(setup), [&] { return world.idle; });

    world.updater->checkNow();
    ASSERT_TRUE(runUntil(world.fakes.scheduler, [&] { return world.settled(); }));
    ASSERT_EQ(world.updater->state(), UpdaterState::ready("2.0"));
    EXPECT_EQ(world.updater->stagedBuild(), 200);
    const auto request = world.server.requests().front();
    EXPECT_EQ(request.headers.at("user-agent"), "Pivra");
    EXPECT_FALSE(request.headers.contains("cookie"));
    EXPECT_FALSE(request.headers.contains("authorization"));

    // Busy: wakes come and go, and the running copy stays.
    world.fakes.scheduler.advance(kUpdateWakeInterval.count() * 3);
    EXPECT_EQ(readFile(world.running / "Contents/Info.plist"), infoPlist("1.0", "100"));

    world.idle = true;
    world.fakes.scheduler.advance(kUpdateWakeInterval.count());
    ASSERT_TRUE(runUntil(world.fakes.scheduler, [&] { return world.quitCalled; }));

    EXPECT_EQ(readFile(world.running / "Contents/Info.plist"), infoPlist("2.0", "200"));
    EXPECT_EQ(fs::status(world.running / "Contents/MacOS/Pivra").permissions() & fs::perms::owner_exec,
              fs::perms::owner_exec);
    EXPECT_EQ(readFile(world.running / "Contents/Frameworks/Kit.framework/Kit"), "kit");
    EXPECT_EQ(readFile(world.trash / "Pivra.app/Contents/Info.plist"), infoPlist("1.0", "100")) << "the old copy can be got back";
    EXPECT_EQ(world.settings.updatedFrom(), "1.0");
    EXPECT_TRUE(world.settings.reopenAfterUpdate());
    EXPECT_TRUE(fs::is_empty(world.downloads));
    const auto notices = world.fakes.log.texts(LogLevel::notice);
    EXPECT_NE(std::find(notices.begin(), notices.end(), "Installed Pivra 2.0; relaunching"), notices.end());

    // The relaunch opens the new copy only once this "app" has ended.
    EXPECT_FALSE(fs::exists(record));
    ::kill(waiter, SIGTERM);
    ::waitpid(waiter, nullptr, 0);
    EXPECT_EQ(waitForRecord(record), world.running.string() + "\n");
}

}  // namespace
}  // namespace pivra
