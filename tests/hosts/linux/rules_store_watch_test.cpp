// The rules store against real files and real inotify: the ways editors and
// people save a file. The kernel's events are read on Qt's loop; the 0.2 s
// debounce runs on the manual scheduler.

#include <algorithm>
#include <fstream>

#include <gtest/gtest.h>

#include "app/model/app_model.hpp"
#include "hosts/linux/inotify_file_watcher.hpp"
#include "hosts/linux/qt_application.hpp"
#include "tests/hosts/linux/qt_loop.hpp"
#include "tests/support/fake_host.hpp"
#include "tests/support/files.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;

// A valid rules file with `count` rules, all with ids.
std::string rulesWith(int count, std::string_view app = "com.google.Chrome") {
    RulesFile file;
    for (int i = 0; i < count; ++i) {
        file.rules.push_back(Rule{"00000000-0000-4000-8000-00000000000" + std::to_string(i % 10), "*",
                                  Match::domains({"example" + std::to_string(i) + ".com"}),
                                  Target{std::string(app), std::nullopt}});
    }
    return RulesCoding::encode(file);
}

class RulesStoreWatching : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(folder);
        testing_support::writeFile(file, rulesWith(1));
    }

    void startModel() {
        model = std::make_unique<AppModel>(ports, ModelFolders{folder, temp.path()});
        model->start();
        ASSERT_TRUE(model->rulesStore().isWatchingFolder());
        ASSERT_TRUE(model->rulesStore().isWatchingFile());
    }

    // Reads every event the kernel has queued and runs the watch handlers.
    void deliverEvents() { testing_support::deliverEvents(); }

    // Events in, then the debounce runs out.
    void settle() {
        deliverEvents();
        scheduler.advance(0.2);
        deliverEvents();  // the reload may rewrite the file (ids filled in)
        scheduler.advance(0.2);
    }

    std::size_t loads() const {
        return std::count_if(log.lines.begin(), log.lines.end(),
                             [](const auto& line) { return line.level == LogLevel::notice && line.category == "rules"; });
    }
    std::size_t failures() const { return log.texts(LogLevel::error).size(); }

    testing_support::TempFolder temp;
    fs::path folder = temp.path() / "Pivra";
    fs::path file = folder / "rules.json";
    testing_support::RecordingLog qtLog;  // apart from the model's log, whose lines are counted
    QtApplication application{qtLog};
    InotifyFileWatcher watcher;
    testing_support::FakePorts fakes;
    testing_support::ManualClock& clock = fakes.clock;
    testing_support::ManualScheduler& scheduler = fakes.scheduler;
    testing_support::RecordingLog& log = fakes.log;
    Ports ports = fakes.ports(&watcher);
    std::unique_ptr<AppModel> model;
};

TEST_F(RulesStoreWatching, WrittenInPlace) {
    startModel();
    ASSERT_EQ(model->rules().rules.size(), 1u);
    {
        std::ofstream out(file, std::ios::binary | std::ios::trunc);  // truncate, then write: two events
        out << rulesWith(2);
        out.flush();
        out << "\n";
    }
    settle();
    EXPECT_EQ(model->rules().rules.size(), 2u);
    EXPECT_EQ(loads(), 2u);  // the start, and one reload for the whole save
}

TEST_F(RulesStoreWatching, WrittenToATemporaryFileAndRenamedOverAndThenAgain) {
    startModel();
    for (int count : {3, 4}) {
        testing_support::writeFile(folder / ".rules.json.swp", rulesWith(count));
        fs::rename(folder / ".rules.json.swp", file);
        settle();
        EXPECT_EQ(model->rules().rules.size(), static_cast<std::size_t>(count));
    }
    // The watch followed the new file: an in-place edit of it is seen too.
    testing_support::writeFile(file, rulesWith(5));
    settle();
    EXPECT_EQ(model->rules().rules.size(), 5u);
    EXPECT_EQ(loads(), 4u);
}

TEST_F(RulesStoreWatching, OriginalRenamedAwayAndANewOneWritten) {
    startModel();
    fs::rename(file, folder / "rules.json~");
    testing_support::writeFile(file, rulesWith(2));
    settle();
    EXPECT_EQ(model->rules().rules.size(), 2u);
    EXPECT_EQ(loads(), 2u);
    EXPECT_EQ(failures(), 0u);  // the moment without a file fell inside the debounce

    // The backup is no longer watched; the new file is.
    testing_support::writeFile(folder / "rules.json~", rulesWith(7));
    settle();
    EXPECT_EQ(loads(), 2u);
    testing_support::writeFile(file, rulesWith(3));
    settle();
    EXPECT_EQ(model->rules().rules.size(), 3u);
}

TEST_F(RulesStoreWatching, TenSavesIn100msCauseOneReloadAfterTheLast) {
    startModel();
    for (int i = 1; i <= 10; ++i) {
        testing_support::writeFile(file, rulesWith(i));
        deliverEvents();
        scheduler.advance(0.01);
    }
    scheduler.advance(0.18);  // 0.19 s after the last save: not yet
    EXPECT_EQ(loads(), 1u);
    scheduler.advance(0.01);
    EXPECT_EQ(loads(), 2u);
    EXPECT_EQ(model->rules().rules.size(), 10u);
    settle();
    EXPECT_EQ(loads(), 2u);
}

// Refusing edits while the file has an error is tested with the model alone.
TEST_F(RulesStoreWatching, ADeletedEmptyOrBrokenFileKeepsTheLastRulesUntilASaveFixesIt) {
    startModel();
    fs::remove(file);
    settle();
    EXPECT_EQ(model->rulesError(), "Can’t read the file; keeping the last rules");
    EXPECT_FALSE(fs::exists(file));  // not recreated after the first load

    testing_support::writeFile(file, "");  // an error, not an empty rule set
    settle();
    EXPECT_EQ(model->rulesError(), "Not valid JSON");

    testing_support::writeFile(file, "{\n  \"rules\" : [\n    {,}\n  ]\n}\n");
    settle();
    EXPECT_EQ(model->rulesError(), "Line 3: Not valid JSON");
    ASSERT_TRUE(model->rulesFileError().has_value());
    EXPECT_EQ(model->rulesFileError()->line, 3);
    EXPECT_EQ(model->rules().rules.size(), 1u);
    EXPECT_EQ(log.texts(LogLevel::error).back(), "Rules not loaded: Line 3: Not valid JSON");

    testing_support::writeFile(file, rulesWith(2));
    settle();
    EXPECT_EQ(model->rulesError(), std::nullopt);
    EXPECT_EQ(model->rules().rules.size(), 2u);
    EXPECT_TRUE(model->editRules([](RulesFile& rules) { rules.cleanLinks = false; }));
}

TEST_F(RulesStoreWatching, SymlinkSwappedToAnotherFile) {
    fs::remove(file);
    testing_support::writeFile(folder / "a.json", rulesWith(1));
    testing_support::writeFile(folder / "b.json", rulesWith(2));
    fs::create_symlink("a.json", file);
    startModel();
    ASSERT_EQ(model->rules().rules.size(), 1u);

    // As "ln -sfn b.json rules.json" does it: a new link renamed over the old.
    fs::create_symlink("b.json", folder / "rules.json.new");
    fs::rename(folder / "rules.json.new", file);
    settle();
    EXPECT_EQ(model->rules().rules.size(), 2u);

    // Now b is watched through the link, and a is not.
    testing_support::writeFile(folder / "b.json", rulesWith(3));
    settle();
    EXPECT_EQ(model->rules().rules.size(), 3u);
    const auto before = loads();
    testing_support::writeFile(folder / "a.json", rulesWith(9));
    settle();
    EXPECT_EQ(loads(), before);

    // Saving from the app writes through the link.
    ASSERT_TRUE(model->editRules([](RulesFile& rules) { rules.cleanLinks = false; }));
    EXPECT_TRUE(fs::is_symlink(file));
    EXPECT_EQ(testing_support::readFile(folder / "b.json"), RulesCoding::encode(model->rules()));
}

TEST_F(RulesStoreWatching, TheStoresOwnSavesAndOtherFilesOfTheFolderCauseNoReload) {
    startModel();
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(model->editRules([](RulesFile& rules) { rules.rules.push_back(Rule{}); }));
        settle();
    }
    model->countLink("fallback");
    scheduler.advance(2.0);  // counts.json written atomically beside the rules
    model->journal().append(LogEntry{clock.now(), "Picker shown", std::nullopt, std::nullopt});
    testing_support::writeFile(folder / "notes.txt", "x");
    settle();
    EXPECT_TRUE(fs::exists(folder / "counts.json"));
    EXPECT_EQ(loads(), 1u);
    EXPECT_EQ(failures(), 0u);
    EXPECT_EQ(model->rules().rules.size(), 4u);
    // The watch survived the store's own atomic replaces.
    testing_support::writeFile(file, rulesWith(1));
    settle();
    EXPECT_EQ(loads(), 2u);
    EXPECT_EQ(model->rules().rules.size(), 1u);
}

TEST_F(RulesStoreWatching, AnEditInTheAppJustAfterAnEditorsSaveKeepsTheEditorsChange) {
    startModel();
    testing_support::writeFile(file, rulesWith(3, "org.mozilla.firefox"));
    deliverEvents();  // the reload is now pending, not yet run
    ASSERT_TRUE(model->rulesStore().isReloadPending());
    ASSERT_TRUE(model->editRules([](RulesFile& rules) { rules.cleanLinks = false; }));
    EXPECT_EQ(model->rules().rules.size(), 3u) << "the editor's rules were read before the edit";
    EXPECT_FALSE(model->rules().cleanLinks);
    settle();
    EXPECT_EQ(testing_support::readFile(file), RulesCoding::encode(model->rules()));

    // An editor's broken save in the same window refuses the edit instead.
    testing_support::writeFile(file, "{");
    deliverEvents();
    EXPECT_FALSE(model->editRules([](RulesFile& rules) { rules.cleanLinks = true; }));
    EXPECT_EQ(testing_support::readFile(file), "{") << "the broken file is left for the user to fix";
}

TEST_F(RulesStoreWatching, FirstLaunchCreatesTheDefaultFileAndARuleSavedWithoutIdGetsOneWithoutAReload) {
    fs::remove_all(folder);
    startModel();
    EXPECT_EQ(model->rules(), RulesFile{});
    EXPECT_EQ(RulesCoding::decode(testing_support::readFile(file)), RulesFile{});
    testing_support::writeFile(file, R"({"rules":[{"open":{"app":"org.mozilla.firefox"}}]})");
    settle();
    settle();
    EXPECT_EQ(loads(), 2u);
    ASSERT_EQ(model->rules().rules.size(), 1u);
    const std::string id = model->rules().rules[0].id;
    EXPECT_EQ(id.size(), 36u);
    EXPECT_EQ(RulesCoding::decode(testing_support::readFile(file))->rules[0].id, id);
}

TEST_F(RulesStoreWatching, StoppedStoreLeavesNoHandlerBehind) {
    startModel();
    testing_support::writeFile(file, rulesWith(2));
    deliverEvents();
    EXPECT_TRUE(model->rulesStore().isReloadPending());
    model.reset();
    testing_support::writeFile(file, rulesWith(3));
    deliverEvents();
    scheduler.advance(1);  // nothing left to run into a destroyed model
    EXPECT_EQ(scheduler.pendingCount(), 0u);
}

}  // namespace
}  // namespace pivra
