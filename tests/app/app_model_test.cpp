#include "app/app_model.hpp"

#include <gtest/gtest.h>

#include "tests/support/fake_ports.hpp"
#include "tests/support/manual_time.hpp"
#include "tests/support/recording_file_watcher.hpp"
#include "tests/support/files.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class AppModelTest : public testing::Test {
protected:
    void start() {
        model = std::make_unique<AppModel>(ports, folder);
        model->addObserver([this] { ++notifications; });
        model->start();
    }

    std::string countsOnDisk() const { return testing_support::readFile(folder / "counts.json"); }

    testing_support::TempFolder temp;
    fs::path folder = temp.path() / "Pivra";
    testing_support::ManualClock clock;
    testing_support::ManualScheduler scheduler{clock};
    testing_support::MemoryPreferences preferences;
    testing_support::RecordingFileWatcher watcher;
    testing_support::RecordingLog log;
    testing_support::ScriptedDialogs dialogs;
    Ports ports{clock, scheduler, preferences, watcher, log, dialogs};
    std::unique_ptr<AppModel> model;
    int notifications = 0;
};

TEST_F(AppModelTest, StartLoadsTheRulesLogsAndNotifies) {
    start();
    EXPECT_EQ(model->rules(), RulesFile{});
    EXPECT_EQ(model->rulesError(), std::nullopt);
    EXPECT_EQ(log.lines, (std::vector<testing_support::RecordingLog::Line>{{LogLevel::notice, "rules", "Rules loaded: 0"}}));
    EXPECT_EQ(notifications, 1);
}

TEST_F(AppModelTest, EditsAreSavedAndNotifiedButRefusedWhileTheFileHasAnError) {
    start();
    ASSERT_TRUE(model->editRules([](RulesFile& rules) { rules.rules.push_back(Rule{"R1", "*", Match::any(), {"a", {}}}); }));
    EXPECT_EQ(RulesCoding::decode(testing_support::readFile(folder / "rules.json"))->rules.size(), 1u);
    EXPECT_EQ(notifications, 2);

    testing_support::writeFile(folder / "rules.json", "{\"rules\": 5}");
    model->reloadRules();
    ASSERT_TRUE(model->rulesError().has_value());
    EXPECT_TRUE(model->rulesError()->starts_with("rules: ")) << *model->rulesError();
    EXPECT_EQ(model->rules().rules.size(), 1u);  // the last good rules
    bool editRan = false;
    EXPECT_FALSE(model->editRules([&](RulesFile&) { editRan = true; }));
    EXPECT_FALSE(editRan);
    EXPECT_EQ(testing_support::readFile(folder / "rules.json"), "{\"rules\": 5}");
    EXPECT_EQ(log.texts(LogLevel::error).back(), "Not saved: rules.json has an error to fix first");
}

TEST_F(AppModelTest, ExportWritesTheRulesWhereTheUserChose) {
    start();
    model->editRules([](RulesFile& rules) { rules.cleanLinks = false; });
    dialogs.saveAnswers = {temp.path() / "out" / "mine.json", std::nullopt};
    std::vector<bool> results;
    model->exportRules([&](bool written) { results.push_back(written); });
    model->exportRules([&](bool written) { results.push_back(written); });  // cancelled
    EXPECT_EQ(results, (std::vector<bool>{true, false}));
    ASSERT_EQ(dialogs.saveRequests.size(), 2u);
    EXPECT_EQ(dialogs.saveRequests[0].suggestedName, "pivra-rules.json");
    EXPECT_EQ(dialogs.saveRequests[0].fileExtension, "json");
    EXPECT_EQ(testing_support::readFile(temp.path() / "out" / "mine.json"), RulesCoding::encode(model->rules()));
}

TEST_F(AppModelTest, ExportThatCannotWriteSaysSoInTheLog) {
    start();
    testing_support::writeFile(temp.path() / "file", "");
    dialogs.saveAnswers = {temp.path() / "file" / "x.json"};
    bool result = true;
    model->exportRules([&](bool written) { result = written; });
    EXPECT_FALSE(result);
    EXPECT_EQ(log.texts(LogLevel::error).size(), 1u);
}

TEST_F(AppModelTest, ABurstOfLinksWritesTheCountsOnce2SecondsAfterTheLast) {
    start();
    model->countLink("R1");
    scheduler.advance(1.0);
    model->countLink("R1");
    scheduler.advance(1.0);
    model->countLink(kFallbackCountKey);
    scheduler.advance(1.99);
    EXPECT_FALSE(fs::exists(folder / "counts.json"));
    scheduler.advance(0.01);
    const auto saved = LinkCountsCoding::decode(countsOnDisk());
    ASSERT_TRUE(saved.has_value());
    EXPECT_EQ(saved->days.at("2026-03-14").at("R1"), 2);
    EXPECT_EQ(saved->days.at("2026-03-14").at("fallback"), 1);
    EXPECT_EQ(*saved, model->counts());
}

TEST_F(AppModelTest, CountsUseTheLocalDayAndNothingIsCountedWhileCountingIsOff) {
    clock.setUtcOffset(Seconds(13 * 3600));
    start();
    model->countLink("R1");
    EXPECT_TRUE(model->counts().days.contains("2026-03-15"));
    model->settings().setCountLinks(false);
    model->countLink("R1");
    EXPECT_EQ(model->counts().days.at("2026-03-15").at("R1"), 1);
}

TEST_F(AppModelTest, TerminationSavesAPendingSaveAtOnce) {
    start();
    model->terminate();
    EXPECT_FALSE(fs::exists(folder / "counts.json"));  // nothing pending, nothing written
    model->countLink("R1");
    model->terminate();
    EXPECT_FALSE(model->isCountsSavePending());
    EXPECT_EQ(LinkCountsCoding::decode(countsOnDisk()), model->counts());
}

TEST_F(AppModelTest, CountsAreLoadedAtStartAndABrokenFileStartsEmpty) {
    fs::create_directories(folder);
    testing_support::writeFile(folder / "counts.json", R"({"days":{"2026-03-13":{"R1":4}}})");
    start();
    EXPECT_EQ(model->counts().days.at("2026-03-13").at("R1"), 4);

    testing_support::writeFile(folder / "counts.json", R"({"days":{"2026-03-13":{"R1":"4"}}})");
    model = std::make_unique<AppModel>(ports, folder);
    model->start();
    EXPECT_TRUE(model->counts().days.empty());
}

TEST_F(AppModelTest, ClearHistoryDeletesTheJournalAndWritesEmptyCounts) {
    start();
    model->journal().append(LogEntry{clock.now(), "Picker shown", std::nullopt, std::nullopt});
    model->countLink("R1");
    model->clearHistory();
    EXPECT_FALSE(fs::exists(folder / "pivra-log.jsonl"));
    EXPECT_EQ(countsOnDisk(), "{\n  \"days\" : {}\n}");
    EXPECT_FALSE(model->isCountsSavePending());
    scheduler.advance(5);
    EXPECT_EQ(countsOnDisk(), "{\n  \"days\" : {}\n}");
}

TEST_F(AppModelTest, RemovedObserversAreNotCalled) {
    start();
    int other = 0;
    const ObserverId id = model->addObserver([&] { ++other; });
    model->reloadRules();
    model->removeObserver(id);
    model->reloadRules();
    EXPECT_EQ(other, 1);
    EXPECT_EQ(notifications, 3);
}

}  // namespace
}  // namespace pivra
