#include "app/model/app_launch.hpp"

#include <gtest/gtest.h>

#include "tests/support/fake_host.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;
using testing_support::FakePorts;
using testing_support::TempFolder;

constexpr pid_t kThisProcess = 4242;

// The app launched from Downloads (where the move is offered) or from the
// Applications folder of the home (where it is not), on fake ports.
class AppLaunchTest : public testing::Test {
protected:
    AppLaunchTest() { fs::create_directories(applications); }

    void launchFrom(const fs::path& bundle) {
        move = std::make_unique<MoveToApplications>(ports, bundle, home, kThisProcess, [this] { ++quits; }, applications);
        model = std::make_unique<AppModel>(ports, ModelFolders{temp.path() / "Pivra", home});
        model->setOnOpenSettings([this](SettingsPage page) { opened.push_back(page); });
        launch = std::make_unique<AppLaunch>(
            *model, *move, launchUpdaterSetup(fakes.systemInfo, kThisProcess, temp.path() / "tmp", fakes.bundleFiles, {}),
            [this] { ++promptsShown; }, [this] { ++startedCalls; });
    }

    TempFolder temp;
    FakePorts fakes;
    Ports ports = fakes.ports();
    const fs::path home = temp.path() / "home";
    const fs::path applications = temp.path() / "Applications";
    const fs::path installed = home / "Applications" / "Pivra.app";
    const fs::path downloaded = home / "Downloads" / "Pivra.app";
    std::unique_ptr<MoveToApplications> move;
    std::unique_ptr<AppModel> model;
    std::unique_ptr<AppLaunch> launch;
    std::vector<SettingsPage> opened;
    int promptsShown = 0;
    int startedCalls = 0;
    int quits = 0;
};

TEST_F(AppLaunchTest, FromApplicationsTheModelStartsAtOnceWithTheUpdater) {
    launchFrom(installed);
    launch->finishedLaunching();
    EXPECT_TRUE(launch->hasStarted());
    EXPECT_EQ(promptsShown, 0);
    EXPECT_EQ(startedCalls, 1);
    EXPECT_EQ(model->rulesLoads(), 1u);
    EXPECT_TRUE(model->updatesItself());
    EXPECT_TRUE(opened.empty());
}

TEST_F(AppLaunchTest, ElsewhereThePromptComesFirstAndNotNowStarts) {
    launchFrom(downloaded);
    launch->finishedLaunching();
    EXPECT_EQ(promptsShown, 1);
    EXPECT_TRUE(move->state().promptOpen);
    EXPECT_FALSE(launch->hasStarted());
    EXPECT_EQ(model->rulesLoads(), 0u);

    move->notNow();
    EXPECT_TRUE(launch->hasStarted());
    EXPECT_EQ(model->rulesLoads(), 1u);
    EXPECT_EQ(startedCalls, 1);
}

TEST_F(AppLaunchTest, LinksBeforeTheStartWaitForTheRulesAndKeepTheirOrder) {
    launchFrom(downloaded);
    launch->linkArrived("https://example.com/first", 0);
    launch->finishedLaunching();
    launch->linkArrived("https://example.com/second", 0);
    launch->linkArrived("not a link at all", 0);
    EXPECT_EQ(launch->heldLinks(), 3u);
    EXPECT_TRUE(model->recentLinks().empty());

    move->notNow();
    EXPECT_EQ(launch->heldLinks(), 0u);
    ASSERT_EQ(model->recentLinks().size(), 2u);  // newest first; the text that is no link left no trace
    EXPECT_EQ(model->recentLinks()[0].url, "https://example.com/second");
    EXPECT_EQ(model->recentLinks()[1].url, "https://example.com/first");

    launch->linkArrived("https://example.com/third", 0);
    EXPECT_EQ(model->recentLinks().size(), 3u);
}

TEST_F(AppLaunchTest, LaunchingFinishesOnce) {
    launchFrom(installed);
    launch->finishedLaunching();
    launch->finishedLaunching();
    EXPECT_EQ(startedCalls, 1);
    EXPECT_EQ(model->rulesLoads(), 1u);
}

TEST_F(AppLaunchTest, ReopeningShowsTheSettingsOnlyOnceStarted) {
    launchFrom(downloaded);
    launch->finishedLaunching();
    launch->reopened();  // the prompt is the window that matters now
    EXPECT_TRUE(opened.empty());

    move->notNow();
    model->openSettings(SettingsPage::browsers);
    opened.clear();
    launch->reopened();
    EXPECT_EQ(opened, std::vector<SettingsPage>{SettingsPage::browsers});
}

TEST_F(AppLaunchTest, TheRelaunchAfterAnUpdateOpensTheGeneralPageOnce) {
    Settings(fakes.preferences).setReopenAfterUpdate(true);
    launchFrom(installed);
    launch->finishedLaunching();
    EXPECT_EQ(opened, std::vector<SettingsPage>{SettingsPage::general});
    EXPECT_FALSE(Settings(fakes.preferences).reopenAfterUpdate());
}

TEST_F(AppLaunchTest, EndingWritesTheCountsThatWaitToBeSaved) {
    launchFrom(installed);
    launch->finishedLaunching();
    model->countLink(kFallbackCountKey);
    ASSERT_TRUE(model->isCountsSavePending());
    launch->terminating();
    EXPECT_FALSE(model->isCountsSavePending());
    EXPECT_TRUE(fs::exists(temp.path() / "Pivra" / "counts.json"));
}

struct VersionCase {
    const char* name;
    const char* reported;
    SystemVersion expected;
};

class LaunchUpdaterSetupTest : public testing::TestWithParam<VersionCase> {};

TEST_P(LaunchUpdaterSetupTest, TheSystemVersionIsReadAndTheRestPassedOn) {
    FakePorts fakes;
    fakes.systemInfo.version = GetParam().reported;
    const UpdaterSetup setup = launchUpdaterSetup(fakes.systemInfo, kThisProcess, "/tmp/x", fakes.bundleFiles, {});
    EXPECT_EQ(setup.system, GetParam().expected);
    EXPECT_EQ(setup.processId, kThisProcess);
    EXPECT_EQ(setup.temporaryFolder, fs::path("/tmp/x"));
    EXPECT_TRUE(static_cast<bool>(setup.bundles.replace));
}

INSTANTIATE_TEST_SUITE_P(Versions, LaunchUpdaterSetupTest,
                         testing::Values(VersionCase{"full", "14.5.1", {14, 5, 1}},
                                         VersionCase{"major", "13", {13, 0, 0}},
                                         VersionCase{"unreadable", "Sonoma", {0, 0, 0}},
                                         VersionCase{"empty", "", {0, 0, 0}}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace pivra
