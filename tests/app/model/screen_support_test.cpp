#include <gtest/gtest.h>

#include "app/model/app_model.hpp"
#include "core/rules/rules_coding.hpp"
#include "tests/support/fake_host.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

using namespace std::chrono_literals;

class ScreenSupportTest : public testing::Test {
protected:
    void start() {
        model = std::make_unique<AppModel>(fakes.ports(), ModelFolders{temp.path() / "Pivra", temp.path()},
                                           [this] { return "ID" + std::to_string(++ids); });
        model->addObserver([this] { ++notifications; });
        model->start();
    }

    testing_support::TempFolder temp;
    testing_support::FakePorts fakes;
    std::unique_ptr<AppModel> model;
    int ids = 0;
    int notifications = 0;
};

TEST_F(ScreenSupportTest, KnownAppsAreListedInListOrderOnceAndOnlyWhenInstalled) {
    fakes.workspace.install("com.apple.Terminal", "Terminal");
    fakes.workspace.install("com.apple.mail", "Mail");
    fakes.workspace.install("com.tinyspeck.slackmacgap", "Slack");
    fakes.workspace.install("org.example.unknown", "Unknown");
    start();
    std::vector<std::string> ids;
    for (const auto& app : model->installedKnownApps()) ids.push_back(app.id);
    EXPECT_EQ(ids, (std::vector<std::string>{"com.tinyspeck.slackmacgap", "com.apple.mail", "com.apple.Terminal"}));
}

TEST_F(ScreenSupportTest, StarterSuggestionsComeFromTheAppsAndProfilesFoundHere) {
    fakes.workspace.install("com.tinyspeck.slackmacgap", "Slack");
    fakes.workspace.install("com.figma.Desktop", "Figma");
    fakes.workspace.install("com.google.Chrome", "Google Chrome");
    fakes.workspace.browsers = {*fakes.workspace.application("com.google.Chrome")};
    temp.write("Library/Application Support/Google/Chrome/Local State",
               R"({"profile":{"info_cache":{"Default":{"name":"Personal"},"Profile 1":{"name":"Work"}}}})");
    start();
    const auto suggestions = model->starterSuggestions();
    ASSERT_EQ(suggestions.size(), 3u);  // Slack to work, Figma to work, figma.com to Figma
    EXPECT_EQ(suggestions[0].rules[0].from, "com.tinyspeck.slackmacgap");
    EXPECT_EQ(suggestions[0].rules[0].open, (Target{"com.google.Chrome", "Profile 1"}));
    EXPECT_EQ(suggestions[0].why, "Work profile");
    EXPECT_EQ(suggestions[2].group, StarterGroup::sites);
}

TEST_F(ScreenSupportTest, CountTotalsAndTheJournalCoverTheirWindowsEndingNow) {
    start();
    model->countLink("R1");
    fakes.clock.set(fakes.clock.now() + 24h * 8);
    model->countLink("R1");
    model->countLink(kFallbackCountKey);
    EXPECT_EQ(model->countTotals(7), (std::map<std::string, std::int64_t>{{"R1", 1}, {"fallback", 1}}));
    EXPECT_EQ(model->countTotals(30), (std::map<std::string, std::int64_t>{{"R1", 2}, {"fallback", 1}}));

    const Instant now = model->now();
    model->journal().append(LogEntry{now - 24h * 7 - 1s, "too old", std::nullopt, std::nullopt});
    model->journal().append(LogEntry{now - 24h * 7, "a week ago", std::nullopt, std::nullopt});
    model->journal().append(LogEntry{now, "now", std::nullopt, std::nullopt});
    std::vector<std::string> texts;
    for (const auto& entry : model->recentJournal()) texts.push_back(entry.text);
    EXPECT_EQ(texts, (std::vector<std::string>{"a week ago", "now"}));
}

TEST_F(ScreenSupportTest, SettingsChangedThroughTheModelAreNotified) {
    start();
    const int before = notifications;
    model->changeSettings([](Settings& settings) { settings.setPickerTrigger(PickerTrigger::always); });
    EXPECT_EQ(model->settings().pickerTrigger(), PickerTrigger::always);
    model->setDetailedLog(DetailedLog::day);
    EXPECT_TRUE(model->isDetailedLogOn());
    EXPECT_EQ(model->settings().detailedLogUntil(), model->now() + std::chrono::duration_cast<Instant::duration>(kDetailedLogDayLength));
    EXPECT_EQ(notifications, before + 2);
    fakes.clock.set(fakes.clock.now() + 25h);
    EXPECT_FALSE(model->isDetailedLogOn());
}

TEST_F(ScreenSupportTest, ANewNotificationStatusAndTheOnboardingFlagAreNotified) {
    start();
    fakes.scheduler.runDue();
    const int before = notifications;
    fakes.notifications.status = NotificationStatus::denied;
    model->notifier().refreshStatus();
    fakes.scheduler.runDue();
    EXPECT_EQ(model->notifier().status(), NotificationStatus::denied);
    EXPECT_EQ(notifications, before + 1);

    EXPECT_FALSE(model->settings().onboardingDone());
    model->changeSettings([](Settings& s) { s.setOnboardingDone(true); });
    EXPECT_TRUE(model->settings().onboardingDone());
    EXPECT_EQ(fakes.preferences.values.count(std::string(SettingKey::kOnboardingDone)), 1u);
}

TEST_F(ScreenSupportTest, AnImportLooksUpTheAppsItsFileNamesInTheWorkspace) {
    fakes.workspace.install("com.google.Chrome", "Google Chrome");
    fakes.workspace.install("com.apple.mail", "Mail");
    start();
    RulesFile file;
    Rule fromMail;
    fromMail.from = "com.apple.mail";
    fromMail.open = Target{"com.google.Chrome", std::nullopt};
    Rule fromSlack;
    fromSlack.from = "com.tinyspeck.slackmacgap";
    fromSlack.open = Target{"org.mozilla.firefox", std::nullopt};
    file.rules = {fromMail, fromSlack};
    fakes.dialogs.openAnswers.push_back(temp.write("in.json", RulesCoding::encode(file)));
    std::optional<ImportOutcome> outcome;
    model->importRules([&](const ImportOutcome& o) { outcome = o; });
    ASSERT_TRUE(outcome.has_value());
    ASSERT_EQ(outcome->kind, ImportOutcome::Kind::pending);
    std::vector<std::string> keys;
    for (const auto& gap : model->pendingImport()->gaps) keys.push_back(gap.kind.textKey());
    EXPECT_EQ(keys, (std::vector<std::string>{"app:org.mozilla.firefox", "source:com.tinyspeck.slackmacgap"}));
}

}  // namespace
}  // namespace pivra
