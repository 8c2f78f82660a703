// The updater's decisions and its schedule, with scripted ports: what a feed
// leads to, when checks run, and how an install that goes wrong leaves things.

#include "app/update/updater.hpp"
#include "app/update/bundle_replacement.hpp"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app/model/app_model.hpp"
#include "tests/support/fake_host.hpp"
#include "tests/support/poll.hpp"
#include "tests/support/temp_folder.hpp"
#include "tests/support/update_files.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;
using namespace testing_support;
using Kind = UpdaterState::Kind;

constexpr std::string_view kZipUrl = "https://releases.omra.app/Pivra-2.0.zip";
constexpr double kHour = 3600;

std::string feedJson(std::int64_t build, std::string_view minimumSystem = "13.0", std::string_view sha256 = "") {
    const std::string hash = sha256.empty() ? sha256Of("zip bytes") : std::string(sha256);
    return R"({"version": "2.0", "build": )" + std::to_string(build) + R"(, "url": ")" + std::string(kZipUrl) +
           R"(", "sha256": ")" + hash + R"(", "minimumSystemVersion": ")" + std::string(minimumSystem) + R"("})";
}

class UpdaterTest : public ::testing::Test {
public:
    UpdaterTest() {
        fakes.appInfo.path = folder.path() / "Applications/Pivra.app";
        fakes.http.replies[std::string(kUpdateFeedUrl)] = {200, feedJson(100), std::nullopt};
        fakes.http.replies[std::string(kZipUrl)] = {200, "zip bytes", std::nullopt};
        fakes.unarchiver.contents = [](const fs::path& unzipped) { writeBundle(unzipped / "Pivra.app", "2.0", "200"); };
        setup.system = SystemVersion{14, 0, 0};
        setup.processId = 4242;
        setup.temporaryFolder = folder.path();
        setup.bundles.isWritable = [this](const fs::path&) { return writable; };
        setup.bundles.replace = [this](const fs::path& staged, const fs::path& running) -> std::expected<void, std::string> {
            replacements.emplace_back(staged, running);
            if (replaceError) return std::unexpected(*replaceError);
            return {};
        };
        setup.quit = [this] { ++quits; };
        setup.opener = "/usr/bin/open";
    }

    Updater& updater() {
        if (!updater_) {
            updater_ = std::make_unique<Updater>(UpdaterPorts::from(fakes.ports()), settings, setup, [this] { return idle; });
            updater_->addObserver([this] { states.push_back(updater_->state().kind()); });
        }
        return *updater_;
    }

    std::size_t feedRequests() const {
        return std::count(fakes.http.requests.begin(), fakes.http.requests.end(), std::string(kUpdateFeedUrl));
    }
    std::size_t zipRequests() const {
        return std::count(fakes.http.requests.begin(), fakes.http.requests.end(), std::string(kZipUrl));
    }
    void offerUpdate() { fakes.http.replies[std::string(kUpdateFeedUrl)].body = feedJson(200); }
    void checkToTheEnd() {
        updater().checkNow();
        ASSERT_TRUE(runUntil(fakes.scheduler, [&] {
            const Kind kind = updater().state().kind();
            return kind != Kind::checking && kind != Kind::downloading;
        }));
    }

    TempFolder folder;
    FakePorts fakes;
    Settings settings{fakes.preferences};
    UpdaterSetup setup;
    bool writable = true;
    bool idle = false;
    std::optional<std::string> replaceError;
    std::vector<std::pair<fs::path, fs::path>> replacements;
    int quits = 0;
    std::vector<Kind> states;
    std::unique_ptr<Updater> updater_;
};

// --- What a check leads to ---

struct CheckCase {
    const char* name;
    std::function<void(UpdaterTest&)> arrange;
    UpdaterState state;  // upToDate at the manual clock's start
    std::string logLine;
    bool downloads;
};

class CheckOutcome : public UpdaterTest, public ::testing::WithParamInterface<CheckCase> {};

TEST_P(CheckOutcome, EndsInItsStateWithItsLogLine) {
    GetParam().arrange(*this);
    checkToTheEnd();
    EXPECT_EQ(updater().state(), GetParam().state);
    const auto& lines = fakes.log.lines;
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.front().category, "update");
    EXPECT_EQ(lines.front().text, GetParam().logLine);
    EXPECT_EQ(zipRequests(), GetParam().downloads ? 1u : 0u);
    EXPECT_EQ(states.front(), Kind::checking) << "every check starts at checking";
}

const Instant kStart = ManualClock::defaultStart();

INSTANTIATE_TEST_SUITE_P(
    Feeds, CheckOutcome,
    ::testing::Values(
        CheckCase{"sameBuild", [](UpdaterTest&) {}, UpdaterState::upToDate(kStart),
                  "Up to date at build 100; the feed has 100", false},
        CheckCase{"needsANewerSystem",
                  [](UpdaterTest& t) { t.fakes.http.replies[std::string(kUpdateFeedUrl)].body = feedJson(200, "15.1"); },
                  UpdaterState::needsNewerSystem("2.0", "15.1"), "Pivra 2.0 needs macOS 15.1", false},
        CheckCase{"buildNotANumber", [](UpdaterTest& t) { t.fakes.appInfo.buildText = "12a"; },
                  UpdaterState::failed("Couldn’t check: this copy’s build “12a” isn’t a number"),
                  "Update check failed: this copy’s build “12a” isn’t a number", false},
        CheckCase{"noNetwork",
                  [](UpdaterTest& t) { t.fakes.http.replies[std::string(kUpdateFeedUrl)].error = "the server couldn’t be reached"; },
                  UpdaterState::failed("Couldn’t check: the server couldn’t be reached"),
                  "Update check failed: the server couldn’t be reached", false},
        CheckCase{"downloadNotVerified",
                  [](UpdaterTest& t) { t.fakes.http.replies[std::string(kUpdateFeedUrl)].body = feedJson(200, "13", sha256Of("x")); },
                  UpdaterState::failed("Couldn’t update to 2.0: the download doesn’t match the release"),
                  "Downloading Pivra 2.0 (build 200)", true},
        CheckCase{"notUnzipped",
                  [](UpdaterTest& t) {
                      t.offerUpdate();
                      t.fakes.unarchiver.failure = "not a zip archive";
                  },
                  UpdaterState::failed("Couldn’t update to 2.0: the download couldn’t be unzipped"),
                  "Downloading Pivra 2.0 (build 200)", true},
        CheckCase{"update", [](UpdaterTest& t) { t.offerUpdate(); }, UpdaterState::ready("2.0"),
                  "Downloading Pivra 2.0 (build 200)", true}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(UpdaterTest, AFolderThatIsNotWritableIsNamedInTheLog) {
    offerUpdate();
    writable = false;
    checkToTheEnd();
    EXPECT_EQ(fakes.log.texts(LogLevel::notice),
              std::vector<std::string>{"Pivra 2.0 is out; " + (folder.path() / "Applications").string() + " isn’t writable"});
    EXPECT_EQ(settings.updateLastChecked(), kStart);
}

// --- The schedule ---

struct ScheduleCase {
    const char* name;
    std::optional<double> lastCheckedHoursAgo;
    bool automatic;
    int feedStatus;
    // Hours to move forward, and how many times the feed has been fetched by then.
    std::vector<std::pair<double, std::size_t>> steps;
};

class Schedule : public UpdaterTest, public ::testing::WithParamInterface<ScheduleCase> {};

TEST_P(Schedule, ChecksWhenDueAndThenDaily) {
    const auto& param = GetParam();
    if (param.lastCheckedHoursAgo) {
        settings.setUpdateLastChecked(kStart - std::chrono::duration_cast<Instant::duration>(
                                                   Seconds(*param.lastCheckedHoursAgo * kHour)));
    }
    settings.setAutoUpdate(param.automatic);
    fakes.http.replies[std::string(kUpdateFeedUrl)].status = param.feedStatus;
    updater().startSchedule();
    double elapsed = 0;
    for (const auto& [hours, fetched] : param.steps) {
        fakes.scheduler.advance(hours * kHour);
        elapsed += hours;
        EXPECT_EQ(feedRequests(), fetched) << "after " << elapsed << " hours";
    }
}

constexpr double kWake = kUpdateWakeInterval.count() / kHour;

INSTANTIATE_TEST_SUITE_P(
    Days, Schedule,
    ::testing::Values(
        ScheduleCase{"neverChecked", std::nullopt, true, 200, {{kWake, 1}, {23, 1}, {1, 2}, {24, 3}}},
        ScheduleCase{"checkedUnderADayAgo", 23, true, 200, {{kWake, 0}, {0.5, 0}, {0.5, 1}, {23.9, 1}, {0.2, 2}}},
        ScheduleCase{"checkedOverADayAgo", 25, true, 200, {{kWake, 1}, {23.9, 1}, {0.2, 2}}},
        ScheduleCase{"automaticOff", std::nullopt, false, 200, {{kWake, 0}, {72, 0}}},
        // Failures are tried again hourly, not at every wake.
        ScheduleCase{"failingServer", std::nullopt, true, 500, {{kWake, 1}, {0.9, 1}, {0.2, 2}, {1, 3}}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(UpdaterTest, CheckNowRunsWithAutomaticUpdatesOff) {
    settings.setAutoUpdate(false);
    updater().checkNow();
    fakes.scheduler.runDue();
    EXPECT_EQ(feedRequests(), 1u);
    EXPECT_EQ(updater().state(), UpdaterState::upToDate(kStart));
}

// --- Install ---

TEST_F(UpdaterTest, InstallsAtTheFirstIdleWakeAndRelaunches) {
    offerUpdate();
    checkToTheEnd();
    ASSERT_EQ(updater().state(), UpdaterState::ready("2.0"));
    EXPECT_EQ(states, (std::vector<Kind>{Kind::checking, Kind::downloading, Kind::ready}));
    fakes.scheduler.advance(kUpdateWakeInterval.count() * 5);
    EXPECT_TRUE(replacements.empty()) << "never while busy";

    idle = true;
    fakes.scheduler.advance(kUpdateWakeInterval.count());
    ASSERT_TRUE(runUntil(fakes.scheduler, [&] { return quits == 1; }));
    ASSERT_EQ(replacements.size(), 1u);
    EXPECT_EQ(replacements[0].second, fakes.appInfo.path);
    EXPECT_EQ(replacements[0].first.filename(), "Pivra.app");
    ASSERT_EQ(fakes.launcher.requests.size(), 1u);
    EXPECT_EQ(fakes.launcher.requests[0].arguments, relaunchRequest(4242, fakes.appInfo.path, "").arguments);
    EXPECT_EQ(settings.updatedFrom(), "1.0");
    EXPECT_TRUE(updater().takeReopenAfterUpdate());
    EXPECT_FALSE(updater().takeReopenAfterUpdate()) << "answered once";
}

TEST_F(UpdaterTest, RestartNowInstallsAtOnceEvenWhenBusy) {
    offerUpdate();
    checkToTheEnd();
    updater().installNow();
    ASSERT_TRUE(runUntil(fakes.scheduler, [&] { return quits == 1; }));
    EXPECT_EQ(replacements.size(), 1u);
}

struct InstallFailure {
    const char* name;
    std::optional<std::string> replaceError;
    bool openerMissing;
    std::string message;
    std::optional<std::string> updatedFrom;  // afterwards
};

class FailedInstall : public UpdaterTest, public ::testing::WithParamInterface<InstallFailure> {};

TEST_P(FailedInstall, KeepsThisCopyOpenWithItsMessage) {
    replaceError = GetParam().replaceError;
    if (GetParam().openerMissing) fakes.launcher.programs["/bin/sh"] = ScriptedLauncher::Program::missing();
    offerUpdate();
    checkToTheEnd();
    updater().installNow();
    ASSERT_TRUE(runUntil(fakes.scheduler, [&] { return updater().state().kind() == Kind::failed; }));
    EXPECT_EQ(updater().state().message(), GetParam().message);
    EXPECT_EQ(fakes.log.texts(LogLevel::error).back(), "Install failed: " + GetParam().message.substr(GetParam().message.find(": ") + 2));
    EXPECT_EQ(quits, 0);
    EXPECT_EQ(updater().staged(), std::nullopt);
    EXPECT_EQ(settings.updatedFrom(), GetParam().updatedFrom);
    EXPECT_FALSE(settings.reopenAfterUpdate());
    EXPECT_EQ(fs::directory_iterator(folder.path()), fs::directory_iterator()) << "the download is gone";
}

INSTANTIATE_TEST_SUITE_P(
    Installs, FailedInstall,
    ::testing::Values(InstallFailure{"replaceRefused", "the disk is full", false, "Couldn’t install 2.0: the disk is full",
                                     std::nullopt},
                      // The new copy is in place by then: it is what runs next time.
                      InstallFailure{"relaunchNotStarted", std::nullopt, true,
                                     "Couldn’t install 2.0: the new copy couldn’t be opened: no such program: /bin/sh",
                                     "1.0"}),
    [](const auto& info) { return std::string(info.param.name); });

// --- The app model's part ---

TEST(AppModelUpdates, IsIdleAfterFiveQuietMinutesWithNoWindowInFront) {
    TempFolder folder;
    FakePorts fakes;
    AppModel model(fakes.ports(), ModelFolders(folder.path(), folder.path()));
    EXPECT_TRUE(model.isIdle()) << "no link yet";
    model.receiveLink("https://example.com/", 0);
    struct Step {
        double after;
        bool windowInFront;
        bool idle;
    };
    for (const Step step : {Step{0, false, false}, Step{299, false, false}, Step{1, false, true}, Step{0, true, false},
                            Step{600, false, true}}) {
        fakes.scheduler.advance(step.after);
        model.setWindowInFront(step.windowInFront);
        EXPECT_EQ(model.isIdle(), step.idle) << step.after << " s later, window in front: " << step.windowInFront;
    }
}

TEST(AppModelUpdates, TheUpdaterIsMadeOnceAndItsChangesReachTheModelsObservers) {
    TempFolder folder;
    FakePorts fakes;
    fakes.http.replies[std::string(kUpdateFeedUrl)] = {200, feedJson(100), std::nullopt};
    AppModel model(fakes.ports(), ModelFolders(folder.path(), folder.path()));
    int changes = 0;
    model.addObserver([&] { ++changes; });
    EXPECT_EQ(&model.updater(), &model.updater());
    model.updater().checkNow();
    fakes.scheduler.runDue();
    EXPECT_EQ(model.updater().state().kind(), Kind::upToDate);
    EXPECT_EQ(changes, 2) << "checking, then up to date";
}

// --- Putting the new copy in place ----------------------------------------------

TEST(BundleReplacement, TheNewCopyTakesThePlaceAndTheOldOneGoesToTheTrashOrStaysIntact) {
    struct Case {
        const char* name;
        bool stagedMissing = false;
        std::optional<std::string> moveError;
        std::optional<std::string> trashError;
        bool replaced;
        const char* trashed;  // the old copy's build found in the Trash, or nullptr
    };
    const Case cases[] = {
        {"Replaced", false, std::nullopt, std::nullopt, true, "100"},
        {"CopyFails", true, std::nullopt, std::nullopt, false, nullptr},
        {"RenameFails", false, "no renaming here", std::nullopt, false, nullptr},
        // The new copy is in place; the old one waits, hidden, beside it.
        {"TrashFails", false, std::nullopt, "no Trash here", true, nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TempFolder temp;
        FolderBundleFiles files;
        files.trash = temp.path() / "Trash";
        fs::create_directories(files.trash);
        files.moveError = c.moveError;
        files.trashError = c.trashError;
        const fs::path running = temp.path() / "Applications/Pivra.app", staged = temp.path() / "staged/Pivra.app";
        writeBundle(running, "1.0", "100");
        if (!c.stagedMissing) writeBundle(staged, "2.0", "200");
        const auto replacement = bundleReplacement(files);
        ASSERT_TRUE(replacement.isWritable(running.parent_path()));

        const auto result = replacement.replace(staged, running);
        EXPECT_EQ(result.has_value(), c.replaced);
        if (!c.replaced) {
            EXPECT_FALSE(result.error().empty());
        }
        EXPECT_EQ(readFile(running / "Contents/Info.plist"), c.replaced ? infoPlist("2.0", "200") : infoPlist("1.0", "100"));
        if (c.trashed) {
            EXPECT_EQ(readFile(files.trash / "Pivra.app/Contents/Info.plist"), infoPlist("1.0", c.trashed));
        }
        // Beside the running copy: nothing, or the old copy kept in a hidden folder.
        std::vector<std::string> beside;
        for (const auto& entry : fs::directory_iterator(running.parent_path())) beside.push_back(entry.path().filename());
        EXPECT_EQ(beside.size(), c.trashError ? 2u : 1u);
    }
}

}  // namespace
}  // namespace pivra
