#include "app/model/app_model.hpp"

#include <gtest/gtest.h>

#include "tests/support/fake_host.hpp"
#include "tests/support/files.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class AppModelTest : public testing::Test {
protected:
    void start() {
        model = std::make_unique<AppModel>(ports, ModelFolders{folder, temp.path()});
        model->addObserver([this] { ++notifications; });
        model->start();
    }

    std::string countsOnDisk() const { return testing_support::readFile(folder / "counts.json"); }

    testing_support::TempFolder temp;
    fs::path folder = temp.path() / "Pivra";
    testing_support::FakePorts fakes;
    testing_support::ManualClock& clock = fakes.clock;
    testing_support::ManualScheduler& scheduler = fakes.scheduler;
    testing_support::RecordingLog& log = fakes.log;
    testing_support::ScriptedDialogs& dialogs = fakes.dialogs;
    Ports ports = fakes.ports();
    std::unique_ptr<AppModel> model;
    int notifications = 0;
};

TEST_F(AppModelTest, StartLoadsTheRulesAndEditsAreSavedAndNotified) {
    start();
    EXPECT_EQ(model->rules(), RulesFile{});
    EXPECT_EQ(log.lines, (std::vector<testing_support::RecordingLog::Line>{{LogLevel::notice, "rules", "Rules loaded: 0"}}));
    EXPECT_EQ(notifications, 1);
    int other = 0;
    const ObserverId id = model->addObserver([&] { ++other; });
    ASSERT_TRUE(model->editRules([](RulesFile& rules) { rules.rules.push_back(Rule{"R1", "*", Match::any(), {"a", {}}}); }));
    EXPECT_EQ(RulesCoding::decode(testing_support::readFile(folder / "rules.json"))->rules.size(), 1u);
    model->removeObserver(id);
    model->reloadRules();
    EXPECT_EQ(notifications, 3);
    EXPECT_EQ(other, 1);
}

TEST_F(AppModelTest, AFileWithAnErrorKeepsTheLastGoodRulesAndRefusesEdits) {
    start();
    testing_support::writeFile(folder / "rules.json", "{\"rules\": 5}");
    model->reloadRules();
    ASSERT_TRUE(model->rulesError().has_value());
    EXPECT_TRUE(model->rulesError()->starts_with("rules: ")) << *model->rulesError();
    EXPECT_EQ(model->rules(), RulesFile{});
    bool editRan = false;
    EXPECT_FALSE(model->editRules([&](RulesFile&) { editRan = true; }));
    EXPECT_FALSE(editRan);
    EXPECT_EQ(testing_support::readFile(folder / "rules.json"), "{\"rules\": 5}");
}

TEST_F(AppModelTest, ExportWritesTheRulesWhereTheUserChose) {
    start();
    model->editRules([](RulesFile& rules) { rules.cleanLinks = false; });
    testing_support::writeFile(temp.path() / "file", "");
    dialogs.saveAnswers = {temp.path() / "out" / "mine.json", std::nullopt, temp.path() / "file" / "x.json"};
    std::vector<bool> results;
    for (int i = 0; i < 3; ++i) model->exportRules([&](bool written) { results.push_back(written); });
    EXPECT_EQ(results, (std::vector<bool>{true, false, false}));  // written, cancelled, unwritable
    EXPECT_EQ(log.texts(LogLevel::error).size(), 1u);
    EXPECT_EQ(dialogs.saveRequests[0].suggestedName, "pivra-rules.json");
    EXPECT_EQ(dialogs.saveRequests[0].fileExtension, "json");
    EXPECT_EQ(testing_support::readFile(temp.path() / "out" / "mine.json"), RulesCoding::encode(model->rules()));
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

TEST_F(AppModelTest, TwoModelsOnOneFolderAddTheirCountsToEachOthers) {
    // The app and `pivra open --here` beside it: each loaded the file before
    // the other saved.
    start();
    testing_support::FakePorts otherFakes;
    AppModel other(otherFakes.ports(), ModelFolders{folder, temp.path()});
    other.start();
    model->countLink("R1");
    model->countLink("R1");
    other.countLink("R1");
    other.countLink(kFallbackCountKey);
    other.terminate();
    scheduler.advance(2.0);
    const auto saved = LinkCountsCoding::decode(countsOnDisk());
    ASSERT_TRUE(saved.has_value());
    EXPECT_EQ(saved->days.at("2026-03-14"), (std::map<std::string, std::int64_t>{{"R1", 3}, {"fallback", 1}}));
    // The later saver shows what the other counted too; nothing is saved twice.
    EXPECT_EQ(model->counts(), *saved);
    model->terminate();
    other.terminate();
    EXPECT_EQ(LinkCountsCoding::decode(countsOnDisk()), saved);

    model->clearHistory();
    other.countLink("R2");
    other.terminate();
    EXPECT_EQ(LinkCountsCoding::decode(countsOnDisk())->days.at("2026-03-14"),
              (std::map<std::string, std::int64_t>{{"R2", 1}}));
}

TEST_F(AppModelTest, AFailedCountsSaveLosesNothingAndTheNextSaveWritesEverything) {
    start();
    fs::create_directories(folder / "counts.json");  // in the way of the write
    model->countLink("R1");
    scheduler.advance(2.0);
    EXPECT_TRUE(fs::is_directory(folder / "counts.json"));
    fs::remove(folder / "counts.json");
    model->countLink("R2");
    scheduler.advance(2.0);
    const auto saved = LinkCountsCoding::decode(countsOnDisk());
    ASSERT_TRUE(saved.has_value());
    EXPECT_EQ(saved->days.at("2026-03-14").at("R1"), 1);
    EXPECT_EQ(saved->days.at("2026-03-14").at("R2"), 1);
}

TEST_F(AppModelTest, CountsUseTheLocalDay) {
    clock.setUtcOffset(Seconds(13 * 3600));
    start();
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
    model = std::make_unique<AppModel>(ports, ModelFolders{folder, temp.path()});
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

class AppModelImport : public AppModelTest {
protected:
    const std::set<std::string> installed{"com.google.Chrome", "com.tinyspeck.slackmacgap"};
    const std::map<std::string, std::vector<BrowserProfile>> profiles{
        {"com.google.Chrome", {BrowserProfile{"Default", "Personal", true}}}};
    std::vector<ImportOutcome> outcomes;

    void import() {
        model->importRules(installed, profiles, [this](const ImportOutcome& outcome) { outcomes.push_back(outcome); });
    }
    fs::path offer(std::string_view bytes) {
        const auto file = temp.path() / "pivra-rules.json";
        testing_support::writeFile(file, bytes);
        dialogs.openAnswers.push_back(file);
        return file;
    }
};

const char* kImported = R"({"fallback":{"app":"org.mozilla.firefox"},"rules":[
  {"from":"com.tinyspeck.slackmacgap","open":{"app":"com.google.Chrome","profile":"Profile 3"}},
  {"id":"KEEP","from":"com.apple.mail","open":{"app":"com.microsoft.edgemac"}}]})";

TEST_F(AppModelImport, AFileIsMatchedToThisMacAndWaitsForTheUser) {
    start();
    offer(kImported);
    import();
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_EQ(outcomes[0].kind, ImportOutcome::Kind::pending);
    ASSERT_EQ(dialogs.openRequests.size(), 1u);
    EXPECT_EQ(dialogs.openRequests[0].fileExtension, "json");
    ASSERT_TRUE(model->pendingImport().has_value());
    const auto& pending = *model->pendingImport();
    EXPECT_FALSE(pending.id.empty());
    EXPECT_EQ(pending.file.rules.size(), 2u);
    std::vector<std::string> keys;
    for (const auto& gap : pending.gaps) keys.push_back(gap.kind.textKey());
    EXPECT_EQ(keys, (std::vector<std::string>{"profile:com.google.Chrome/Profile 3", "app:com.microsoft.edgemac",
                                              "source:com.apple.mail"}));
    EXPECT_EQ(model->rules(), RulesFile{});  // nothing taken over yet

    RulesFile resolved = pending.file;
    resolved.rules[0].open.profile = "Default";
    ASSERT_TRUE(model->acceptImport(resolved));
    EXPECT_FALSE(model->pendingImport().has_value());
    EXPECT_EQ(model->rules().fallback.app, "org.mozilla.firefox");
    EXPECT_EQ(model->rules().rules[0].open.profile, "Default");
    EXPECT_EQ(model->rules().rules[0].id.size(), 36u);  // filled in
    EXPECT_EQ(model->rules().rules[1].id, "KEEP");
    EXPECT_EQ(testing_support::readFile(folder / "rules.json"), RulesCoding::encode(model->rules()));
}

TEST_F(AppModelImport, CancelledUnreadableAndInvalidFilesChangeNothing) {
    start();
    dialogs.openAnswers.push_back(std::nullopt);
    import();
    dialogs.openAnswers.push_back(temp.path() / "missing.json");
    import();
    offer("{\n  \"rules\" : [\n    {,}\n  ]\n}");
    import();
    ASSERT_EQ(outcomes.size(), 3u);
    EXPECT_EQ(outcomes[0].kind, ImportOutcome::Kind::cancelled);
    EXPECT_EQ(outcomes[1].kind, ImportOutcome::Kind::failed);
    EXPECT_EQ(outcomes[1].message, "Couldn’t read that file");
    EXPECT_EQ(outcomes[2].kind, ImportOutcome::Kind::failed);
    EXPECT_EQ(outcomes[2].message, "Line 3: Not valid JSON");
    EXPECT_FALSE(model->pendingImport().has_value());
    EXPECT_EQ(model->rules(), RulesFile{});
}

TEST_F(AppModelImport, RefusedWhileRulesJsonHasAnError) {
    start();
    offer(kImported);
    import();
    testing_support::writeFile(folder / "rules.json", "{");
    model->reloadRules();
    EXPECT_FALSE(model->acceptImport(model->pendingImport()->file));
    EXPECT_TRUE(model->pendingImport().has_value());  // still there once the file is fixed

    offer(kImported);
    import();
    ASSERT_EQ(outcomes.size(), 2u);
    EXPECT_EQ(outcomes[1].kind, ImportOutcome::Kind::refused);
    EXPECT_EQ(outcomes[1].message, "Fix rules.json before importing");
    EXPECT_EQ(dialogs.openRequests.size(), 1u);  // no panel for a refused import
    EXPECT_EQ(testing_support::readFile(folder / "rules.json"), "{");

    model->cancelImport();
    EXPECT_FALSE(model->pendingImport().has_value());
}

}  // namespace
}  // namespace pivra
