#include "app/install/move_to_applications.hpp"

#include <sys/stat.h>

#include <chrono>
#include <ostream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/fake_host.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using testing_support::FakePorts;
using testing_support::TempFolder;

constexpr pid_t kThisProcess = 4242;
constexpr const char* kOwnId = "app.omra.pivra";

std::string infoPlist(std::string_view identifier, std::string_view build) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
           "<key>CFBundleIdentifier</key><string>" + std::string(identifier) +
           "</string>\n<key>CFBundleVersion</key><string>" + std::string(build) + "</string>\n</dict>\n</plist>\n";
}

std::string hdiutilListing(std::string_view mountPoint) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict><key>images</key><array><dict>"
           "<key>system-entities</key><array><dict><key>mount-point</key><string>" + std::string(mountPoint) +
           "</string></dict></array></dict></array></dict></plist>\n";
}

void writeCreatingFolders(const fs::path& file, std::string_view bytes) {
    fs::create_directories(file.parent_path());
    testing_support::writeFile(file, bytes);
}

// Every name in the folder, sorted; none when it is missing.
std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
}

// The user's folders in a temporary tree: a system Applications folder, a
// home, Downloads with this copy of the app in it, and a Trash.
class MoveTest : public testing::Test {
protected:
    MoveTest() {
        fakes.bundleFiles.trash = temp.path() / "Trash";
        fakes.appInfo.buildText = "200";
        fs::create_directories(applications);
        writeBundle(downloadsBundle, "200", "this copy");
    }

    void writeBundle(const fs::path& bundle, std::string_view build, std::string_view program,
                     std::string_view identifier = kOwnId) {
        writeCreatingFolders(bundle / "Contents/Info.plist", infoPlist(identifier, build));
        writeCreatingFolders(bundle / "Contents/MacOS/Pivra", program);
    }

    std::unique_ptr<MoveToApplications> flow(fs::path bundle) {
        auto made = std::make_unique<MoveToApplications>(fakes.ports(), std::move(bundle), home, kThisProcess,
                                                         [this] { ++quits; }, applications);
        made->addObserver([this, raw = made.get()] { states.push_back(raw->state()); });
        return made;
    }

    // Runs the main thread's work until the move has ended one way or the
    // other; the file work runs on its own thread meanwhile.
    void finishMove(const MoveToApplications& move) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (move.state().working && quits == 0) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "the move never ended";
            fakes.scheduler.runDue();
            std::this_thread::yield();
        }
    }

    std::vector<std::string> logTexts() const {
        std::vector<std::string> texts;
        for (const auto& line : fakes.log.lines) {
            EXPECT_EQ(line.category, "install");
            texts.push_back(line.text);
        }
        return texts;
    }

    TempFolder temp;
    FakePorts fakes;
    const fs::path applications = temp.path() / "Applications";
    const fs::path home = temp.path() / "home";
    const fs::path downloadsBundle = home / "Downloads/Pivra.app";
    const fs::path installed = applications / "Pivra.app";
    int quits = 0;
    std::vector<MoveState> states;
};

// --- Should ask ---

struct AskCase {
    const char* name;
    const char* identifier;
    const char* bundle;  // relative to the home folder, or absolute
    std::map<std::string, PreferenceValue> preferences;
    bool asks;
};

void PrintTo(const AskCase& c, std::ostream* os) { *os << c.name; }

class ShouldAsk : public MoveTest, public testing::WithParamInterface<AskCase> {};

TEST_P(ShouldAsk, Decides) {
    const AskCase& c = GetParam();
    fakes.appInfo.id = c.identifier;
    for (const auto& [key, value] : c.preferences) fakes.preferences.setValue(key, value);
    const fs::path bundle = fs::path(c.bundle).is_absolute() ? fs::path(c.bundle) : home / c.bundle;
    auto move = flow(bundle);
    EXPECT_EQ(move->shouldAsk(), c.asks);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ShouldAsk,
    testing::Values(
        AskCase{"fromDownloads", kOwnId, "Downloads/Pivra.app", {}, true},
        AskCase{"debugBuild", "app.omra.pivra.debug", "Downloads/Pivra.app", {}, false},
        AskCase{"stagedShot", kOwnId, "Downloads/Pivra.app", {{"PivraShot", std::string("menu")}}, false},
        AskCase{"shotThatIsNoText", kOwnId, "Downloads/Pivra.app", {{"PivraShot", true}}, true},
        AskCase{"snapshot", kOwnId, "Downloads/Pivra.app", {{"PivraSnapshot", true}}, false},
        AskCase{"snapshotOff", kOwnId, "Downloads/Pivra.app", {{"PivraSnapshot", false}}, true},
        AskCase{"homeApplications", kOwnId, "Applications/Utilities/Pivra.app", {}, false},
        AskCase{"notNowHere", kOwnId, "/Volumes/Pivra 1.2/Pivra.app",
                {{"moveNotNowAt", std::string("/Volumes/Pivra 1.2/Pivra.app")}}, false},
        AskCase{"notNowElsewhere", kOwnId, "/Volumes/Pivra 1.3/Pivra.app",
                {{"moveNotNowAt", std::string("/Volumes/Pivra 1.2/Pivra.app")}}, true},
        // A translocated copy moves at each launch; Not Now holds for all of them.
        AskCase{"notNowTranslocated", kOwnId, "/private/var/folders/x1/T/AppTranslocation/7F2A/d/Pivra.app",
                {{"moveNotNowAt", std::string("AppTranslocation")}}, false}),
    [](const testing::TestParamInfo<AskCase>& info) { return std::string(info.param.name); });

TEST_F(MoveTest, ShouldAskLogsWhyItAsksOrNot) {
    fakes.preferences.setValue("moveNotNowAt", std::string("/Volumes/Pivra 1.2/Pivra.app"));
    EXPECT_FALSE(flow("/Volumes/Pivra 1.2/Pivra.app")->shouldAsk());
    EXPECT_TRUE(flow("/Volumes/Pivra 1.3/./Pivra.app/")->shouldAsk());
    EXPECT_THAT(logTexts(), ElementsAre("Running from /Volumes/Pivra 1.2/Pivra.app; Not Now was picked there",
                                        "Running from /Volumes/Pivra 1.3/Pivra.app; asking to move"));
}

// --- Which prompt ---

struct PromptCase {
    const char* name;
    std::optional<std::string> existingPlist;  // the Info.plist of the copy in Applications; none: no copy
    std::map<pid_t, std::string> running;
    bool alreadyThere;
};

void PrintTo(const PromptCase& c, std::ostream* os) { *os << c.name; }

class WhichPrompt : public MoveTest, public testing::WithParamInterface<PromptCase> {};

TEST_P(WhichPrompt, Chooses) {
    const PromptCase& c = GetParam();
    if (c.existingPlist) writeCreatingFolders(installed / "Contents/Info.plist", *c.existingPlist);
    fakes.workspace.running = c.running;
    auto move = flow(downloadsBundle);
    move->showPrompt();
    EXPECT_TRUE(move->state().promptOpen);
    EXPECT_EQ(move->state().kind, c.alreadyThere ? MoveState::Kind::alreadyThere : MoveState::Kind::move);
    EXPECT_EQ(move->state().existingCopy, c.alreadyThere ? installed : fs::path());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, WhichPrompt,
    testing::Values(PromptCase{"noCopy", std::nullopt, {{7, kOwnId}}, false},
                    PromptCase{"olderNotRunning", infoPlist(kOwnId, "199"), {{9, "com.apple.Safari"}}, false},
                    PromptCase{"sameBuildNotRunning", infoPlist(kOwnId, "200"), {}, false},
                    PromptCase{"olderRunning", infoPlist(kOwnId, "150"), {{7, kOwnId}}, true},
                    PromptCase{"onlyThisProcessRuns", infoPlist(kOwnId, "150"), {{kThisProcess, kOwnId}}, false},
                    PromptCase{"newer", infoPlist(kOwnId, "200.1"), {}, true},
                    PromptCase{"newerByNumberNotText", infoPlist(kOwnId, "1000"), {}, true},
                    PromptCase{"otherAppNewerAndRunning", infoPlist("com.example.Other", "900"),
                               {{7, "com.example.Other"}, {8, kOwnId}}, false},
                    PromptCase{"unreadablePlist", std::string("not a property list"), {{7, kOwnId}}, false}),
    [](const testing::TestParamInfo<PromptCase>& info) { return std::string(info.param.name); });

TEST_F(MoveTest, PromptLooksInTheHomeApplicationsWhenTheSystemsIsNotWritable) {
    writeBundle(applications / "Pivra.app", "999", "system copy");
    writeBundle(home / "Applications/Pivra.app", "100", "home copy");
    fakes.bundleFiles.readOnlyFolders.insert(applications);
    auto move = flow(downloadsBundle);
    move->showPrompt();
    EXPECT_EQ(move->state().kind, MoveState::Kind::move);
}

// --- Not Now and Open That One ---

TEST_F(MoveTest, NotNowIsRememberedForThisPlaceOnlyAndRunsThen) {
    auto move = flow("/Volumes/Pivra 1.2/Pivra.app");
    int thens = 0;
    move->showPrompt([&] { ++thens; });
    move->notNow();
    EXPECT_EQ(thens, 1);
    EXPECT_FALSE(move->state().promptOpen);
    EXPECT_EQ(Settings(fakes.preferences).moveNotNowAt(), "/Volumes/Pivra 1.2/Pivra.app");
    EXPECT_EQ(logTexts().back(), "Not Now; staying at /Volumes/Pivra 1.2/Pivra.app");
    EXPECT_FALSE(flow("/Volumes/Pivra 1.2/Pivra.app")->shouldAsk());
    EXPECT_TRUE(flow(downloadsBundle)->shouldAsk());
    EXPECT_EQ(quits, 0);
}

TEST_F(MoveTest, OpenThatOneOpensTheCopyInApplicationsThenQuits) {
    writeBundle(installed, "300", "newer copy");
    auto move = flow(downloadsBundle);
    move->showPrompt();
    move->openThatOne();
    EXPECT_EQ(quits, 0) << "before the open has answered";
    fakes.scheduler.runDue();
    ASSERT_EQ(fakes.workspace.opens.size(), 1u);
    EXPECT_TRUE(fakes.workspace.opens[0].links.empty());
    EXPECT_EQ(fakes.workspace.opens[0].app.location, installed);
    EXPECT_EQ(fakes.workspace.opens[0].app.id, kOwnId);
    EXPECT_EQ(quits, 1);
}

TEST_F(MoveTest, OpenThatOneFailingStaysWithTheReason) {
    writeBundle(installed, "300", "newer copy");
    fakes.workspace.failingOpens[kOwnId] = "the application is damaged";
    auto move = flow(downloadsBundle);
    move->showPrompt();
    move->openThatOne();
    fakes.scheduler.runDue();
    EXPECT_EQ(quits, 0);
    EXPECT_TRUE(move->state().promptOpen);
    EXPECT_EQ(move->state().error, "Couldn’t open it: the application is damaged");
    EXPECT_EQ(fakes.log.texts(LogLevel::error), std::vector<std::string>{"Opening the other copy failed: the application is damaged"});
}

// --- Move ---

TEST_F(MoveTest, MoveReplacesTheOldCopyThroughTheTrashAndRelaunches) {
    writeBundle(installed, "100", "old copy");
    auto move = flow(downloadsBundle);
    move->showPrompt();
    move->move();
    EXPECT_TRUE(move->state().working);
    finishMove(*move);

    EXPECT_EQ(quits, 1);
    EXPECT_EQ(namesIn(applications), std::vector<std::string>{"Pivra.app"}) << "no staging copy left";
    EXPECT_EQ(testing_support::readFile(installed / "Contents/MacOS/Pivra"), "this copy");
    EXPECT_EQ(testing_support::readFile(temp.path() / "Trash/Pivra.app/Contents/MacOS/Pivra"), "old copy");
    EXPECT_EQ(testing_support::readFile(downloadsBundle / "Contents/MacOS/Pivra"), "this copy") << "the source stays";
    EXPECT_EQ(fakes.bundleFiles.attributeRemovals,
              (std::vector<std::pair<fs::path, std::string>>{{installed, "com.apple.quarantine"}}));

    ASSERT_EQ(fakes.launcher.requests.size(), 1u);
    const LaunchRequest& relaunch = fakes.launcher.requests[0];
    EXPECT_EQ(relaunch.program, "/bin/sh");
    EXPECT_EQ(relaunch.arguments, relaunchRequest(kThisProcess, installed, "").arguments);
    EXPECT_THAT(logTexts(), testing::Contains("Installed at " + installed.string() + "; ejecting a disk image: false"));
    EXPECT_TRUE(fakes.log.texts(LogLevel::error).empty());
    EXPECT_FALSE(move->state().error);
}

TEST_F(MoveTest, ANotWritableSystemFolderSendsTheMoveIntoTheHomesApplications) {
    fakes.bundleFiles.readOnlyFolders.insert(applications);
    auto move = flow(downloadsBundle);
    move->move();
    finishMove(*move);
    EXPECT_EQ(quits, 1);
    EXPECT_TRUE(namesIn(applications).empty());
    EXPECT_EQ(namesIn(home / "Applications"), std::vector<std::string>{"Pivra.app"});
    EXPECT_EQ(fakes.launcher.requests.at(0).arguments.at(4), (home / "Applications/Pivra.app").string());
}

struct FailureCase {
    const char* name;
    void (*arrange)(FakePorts&, const fs::path& bundle);
    const char* reason;  // in the error text after "Couldn’t move Pivra: "
    bool oldCopyTrashed;
};

void PrintTo(const FailureCase& c, std::ostream* os) { *os << c.name; }

class MoveFailure : public MoveTest, public testing::WithParamInterface<FailureCase> {};

// Whatever fails, the target folder keeps the old copy or, once it was
// trashed, nothing; the prompt stays open with the reason.
TEST_P(MoveFailure, LeavesNothingOfTheNewCopy) {
    const FailureCase& c = GetParam();
    writeBundle(installed, "100", "old copy");
    c.arrange(fakes, downloadsBundle);
    auto move = flow(downloadsBundle);
    move->showPrompt();
    move->move();
    finishMove(*move);

    EXPECT_EQ(quits, 0);
    EXPECT_TRUE(fakes.launcher.requests.empty());
    const MoveState& state = move->state();
    EXPECT_TRUE(state.promptOpen);
    EXPECT_FALSE(state.working);
    ASSERT_TRUE(state.error);
    EXPECT_THAT(*state.error, StartsWith("Couldn’t move Pivra: "));
    EXPECT_THAT(*state.error, HasSubstr(c.reason));
    const auto errors = fakes.log.texts(LogLevel::error);
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0], "Move failed: " + state.error->substr(std::string_view("Couldn’t move Pivra: ").size()));
    if (c.oldCopyTrashed) {
        EXPECT_TRUE(namesIn(applications).empty());
        EXPECT_EQ(testing_support::readFile(temp.path() / "Trash/Pivra.app/Contents/MacOS/Pivra"), "old copy");
    } else {
        EXPECT_EQ(namesIn(applications), std::vector<std::string>{"Pivra.app"});
        EXPECT_EQ(testing_support::readFile(installed / "Contents/MacOS/Pivra"), "old copy");
    }
    EXPECT_EQ(states.back(), state);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MoveFailure,
    testing::Values(
        // A pipe is no file a bundle may hold: the copy stops part-way.
        FailureCase{"copy",
                    [](FakePorts&, const fs::path& bundle) {
                        ASSERT_EQ(::mkfifo((bundle / "Contents/Resources.pipe").c_str(), 0600), 0);
                    },
                    "can’t copy", false},
        FailureCase{"trash", [](FakePorts& f, const fs::path&) { f.bundleFiles.trashError = "the Trash is full"; },
                    "the Trash is full", false},
        FailureCase{"rename", [](FakePorts& f, const fs::path&) { f.bundleFiles.moveError = "the disk is locked"; },
                    "the disk is locked", true},
        FailureCase{"quarantine",
                    [](FakePorts& f, const fs::path&) { f.bundleFiles.attributeError = "operation not permitted"; },
                    "operation not permitted", true}),
    [](const testing::TestParamInfo<FailureCase>& info) { return std::string(info.param.name); });

// --- From a disk image ---

struct VolumeCase {
    const char* name;
    std::optional<std::string> hdiutilOutput;  // none: hdiutil cannot be run
    int hdiutilStatus;
    const char* ejected;
};

void PrintTo(const VolumeCase& c, std::ostream* os) { *os << c.name; }

class FromDiskImage : public MoveTest, public testing::WithParamInterface<VolumeCase> {};

TEST_P(FromDiskImage, EjectsOnlyAnImageHdiutilLists) {
    const VolumeCase& c = GetParam();
    const fs::path image = temp.path() / "image";
    writeBundle(image / "Pivra.app", "200", "from the image");
    fakes.bundleFiles.mounted["/Volumes/Pivra 1.2"] = image;
    if (c.hdiutilOutput) {
        auto program = testing_support::ScriptedLauncher::Program::printing(*c.hdiutilOutput);
        program.status = c.hdiutilStatus;
        fakes.launcher.programs["/usr/bin/hdiutil"] = program;
    } else {
        fakes.launcher.programs["/usr/bin/hdiutil"] = testing_support::ScriptedLauncher::Program::missing();
    }
    auto move = flow("/Volumes/Pivra 1.2/Pivra.app");
    move->move();
    finishMove(*move);

    EXPECT_EQ(quits, 1);
    EXPECT_EQ(testing_support::readFile(installed / "Contents/MacOS/Pivra"), "from the image");
    ASSERT_EQ(fakes.launcher.requests.size(), 2u);
    const LaunchRequest& info = fakes.launcher.requests[0];
    EXPECT_EQ(info.program, "/usr/bin/hdiutil");
    EXPECT_EQ(info.arguments, (std::vector<std::string>{"info", "-plist"}));
    EXPECT_EQ(info.output, LaunchRequest::Output::capture);
    EXPECT_EQ(fakes.launcher.requests[1].arguments, relaunchRequest(kThisProcess, installed, c.ejected).arguments);
    EXPECT_THAT(logTexts(), testing::Contains("Installed at " + installed.string() + "; ejecting a disk image: " +
                                              (std::string_view(c.ejected).empty() ? "false" : "true")));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, FromDiskImage,
    testing::Values(VolumeCase{"listed", hdiutilListing("/Volumes/Pivra 1.2"), 0, "/Volumes/Pivra 1.2"},
                    VolumeCase{"otherImageListed", hdiutilListing("/Volumes/Pivra 1.1"), 0, ""},
                    VolumeCase{"hdiutilFailed", hdiutilListing("/Volumes/Pivra 1.2"), 1, ""},
                    VolumeCase{"garbage", std::string("hdiutil: info failed"), 0, ""},
                    VolumeCase{"noHdiutil", std::nullopt, 0, ""}),
    [](const testing::TestParamInfo<VolumeCase>& info) { return std::string(info.param.name); });

TEST_F(MoveTest, ARelaunchThatCannotStartOffersTheInstalledCopy) {
    fakes.launcher.programs["/bin/sh"] = testing_support::ScriptedLauncher::Program::missing();
    auto move = flow(downloadsBundle);
    move->showPrompt();
    move->move();
    finishMove(*move);
    EXPECT_EQ(quits, 0);
    EXPECT_EQ(move->state().kind, MoveState::Kind::alreadyThere);
    EXPECT_EQ(move->state().existingCopy, installed);
    EXPECT_THAT(move->state().error.value_or(""), StartsWith("Couldn’t open it: "));
    move->openThatOne();
    fakes.scheduler.runDue();
    EXPECT_EQ(quits, 1);
}

TEST_F(MoveTest, AFlowGoneBeforeItsCopyEndsHearsNothing) {
    auto move = flow(downloadsBundle);
    move->move();
    move.reset();  // waits for the file work
    fakes.scheduler.runDue();
    EXPECT_EQ(quits, 0);
    EXPECT_TRUE(fakes.launcher.requests.empty());
    EXPECT_EQ(namesIn(applications), std::vector<std::string>{"Pivra.app"}) << "the copy itself was finished";
}

}  // namespace
}  // namespace pivra
