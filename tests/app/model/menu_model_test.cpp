// The menu as data: its status line, its recent rows and the pause actions.

#include <gtest/gtest.h>

#include "app/model/app_model.hpp"
#include "tests/support/fake_host.hpp"
#include "tests/support/scripted_picker.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

class MenuModel : public testing::Test {
protected:
    void SetUp() override {
        fakes.workspace.install("com.apple.Safari", "Safari");
        fakes.workspace.install("com.google.Chrome", "Google Chrome");
        fakes.workspace.browsers = {fakes.workspace.installed.at("com.apple.Safari"),
                                    fakes.workspace.installed.at("com.google.Chrome")};
        fakes.preferences.setValue(SettingKey::kPickerTrigger, std::string("never"));
        RulesFile file;
        for (int i = 1; i <= 3; ++i) {
            Rule rule;
            rule.id = "R" + std::to_string(i);
            rule.match = Match::domains({"site" + std::to_string(i) + ".test"});
            rule.open = Target{"com.google.Chrome", i == 3 ? std::optional<std::string>("Profile 1") : std::nullopt};
            file.rules.push_back(rule);
        }
        temp.write("Pivra/rules.json", RulesCoding::encode(file));
        temp.write("Library/Application Support/Google/Chrome/Local State",
                   R"({"profile":{"info_cache":{"Profile 1":{"name":"Work"}}}})");
        temp.write("Library/Application Support/Google/Chrome/Profile 1/Preferences", "{}");
        model = std::make_unique<AppModel>(fakes.ports(), ModelFolders{temp.path() / "Pivra", temp.path()},
                                           [this] { return "ID" + std::to_string(++ids); });
        model->start();
    }

    void send(const std::string& link) {
        fakes.clock.set(fakes.clock.now() + std::chrono::seconds(3));  // past the loop guard
        ASSERT_TRUE(model->receiveLink(link, 0));
        fakes.scheduler.runDue();
    }

    std::vector<std::string> rowTexts() const {
        std::vector<std::string> texts;
        for (const auto& row : model->menu().recent) texts.push_back(row.text);
        return texts;
    }

    testing_support::TempFolder temp;
    testing_support::FakePorts fakes;
    std::unique_ptr<AppModel> model;
    int ids = 0;
};

TEST_F(MenuModel, RowsNameTheTargetAndWhyNewestFirst) {
    testing_support::ScriptedPicker picker;
    model->setPicker(&picker);
    send("https://site3.test/");
    send("https://nowhere.test/");
    model->pauseFor(Seconds(60));
    send("https://site1.test/");
    model->resume();
    fakes.workspace.running[55] = "com.google.Chrome";
    send("https://site1.test/back");
    fakes.clock.set(fakes.clock.now() + std::chrono::seconds(1));
    ASSERT_TRUE(model->receiveLink("https://site1.test/back-again", 55));
    fakes.scheduler.runDue();
    EXPECT_EQ(rowTexts(), (std::vector<std::string>{"Google Chrome, sent back by that browser", "Google Chrome, by rule 1",
                                                    "Safari, while paused", "Safari, because no rule matched",
                                                    "Google Chrome · Work, by rule 3"}));
    const auto first = model->menu().recent.front();
    EXPECT_EQ(first.link, "https://site1.test/back-again");

    // Opened again, by hand: the row shows the choice.
    ASSERT_TRUE(picker.requests.empty());
    ASSERT_TRUE(model->openAgain(first.id));
    picker.answer(Target{"com.apple.Safari", {}});
    fakes.scheduler.runDue();
    EXPECT_EQ(rowTexts().front(), "Safari, picked by hand");
    EXPECT_EQ(model->linksToday(), 5) << "opening again is not a new link";
    EXPECT_FALSE(model->openAgain("no such row"));
}

TEST_F(MenuModel, ShowsAsManyRecentRowsAsTheSettingSaysOfTheFiftyNewest) {
    for (int i = 0; i <= 50; ++i) send("https://nowhere.test/" + std::to_string(i));
    EXPECT_EQ(model->menu().recent.size(), 5u);
    EXPECT_EQ(model->menu().recent.front().link, "https://nowhere.test/50");
    fakes.preferences.setValue(SettingKey::kRecentCount, std::int64_t{0});
    EXPECT_TRUE(model->menu().recent.empty());
    fakes.preferences.setValue(SettingKey::kRecentCount, std::int64_t{500});
    ASSERT_EQ(model->menu().recent.size(), 50u);
    EXPECT_EQ(model->menu().recent.back().link, "https://nowhere.test/1");
}

TEST_F(MenuModel, StatusLineAndActionsFollowThePauseTheCountAndTheDefault) {
    send("https://nowhere.test/");
    Menu menu = model->menu();
    EXPECT_EQ(menu.status, "1 links today");
    EXPECT_EQ(menu.timedPauseAction, "Pause for 1 hour");
    EXPECT_EQ(menu.pauseAction, "Pause Pivra");
    EXPECT_FALSE(menu.notGettingLinks);
    EXPECT_FALSE(menu.showError);
    EXPECT_FALSE(menu.canOpenAgain);

    fakes.preferences.setValue(SettingKey::kCountInMenu, false);
    EXPECT_EQ(model->menu().status, "");

    model->pauseFor(kPauseForAnHour);
    menu = model->menu();
    EXPECT_EQ(menu.status, "Paused · links open in Safari");
    EXPECT_EQ(menu.timedPauseAction, "Resume");
    send("https://site1.test/");
    EXPECT_EQ(model->recentLinks().front().reason.kind(), DecisionReasonKind::paused);
    fakes.clock.set(fakes.clock.now() + std::chrono::hours(1));
    send("https://site1.test/");
    EXPECT_EQ(model->recentLinks().front().reason.kind(), DecisionReasonKind::rule) << "the hour is over";

    model->pauseUntilResumed();
    EXPECT_EQ(model->menu().pauseAction, "Turn Pivra on");
    model->resume();
    EXPECT_EQ(fakes.preferences.values.at("pausedUntil"), PreferenceValue(0.0));
    EXPECT_EQ(fakes.preferences.values.at("pausedUntilResumed"), PreferenceValue(false));

    fakes.workspace.isDefault = false;
    model->refreshDefaultBrowser();
    EXPECT_TRUE(model->menu().notGettingLinks);
    model->makeDefaultBrowser();
    fakes.scheduler.runDue();
    EXPECT_FALSE(model->menu().notGettingLinks);

    temp.write("Pivra/rules.json", "{");
    model->reloadRules();
    EXPECT_TRUE(model->menu().showError);
}

TEST_F(MenuModel, OptionClickPausesAndResumesWhileTheSettingIsOn) {
    EXPECT_TRUE(model->optionClick());
    EXPECT_TRUE(model->settings().pausedUntilResumed());
    EXPECT_TRUE(model->optionClick());
    EXPECT_FALSE(model->settings().isPaused(fakes.clock.now()));
    model->pauseFor(Seconds(600));
    EXPECT_TRUE(model->optionClick()) << "a timed pause is resumed too";
    EXPECT_FALSE(model->settings().isPaused(fakes.clock.now()));
    fakes.preferences.setValue(SettingKey::kOptionClickPauses, false);
    EXPECT_FALSE(model->optionClick());
    EXPECT_FALSE(model->settings().isPaused(fakes.clock.now()));
}

TEST_F(MenuModel, MakeARulePutsARuleForTheLinkFirstAndRevealsIt) {
    fakes.workspace.running[77] = "com.tinyspeck.slackmacgap";
    fakes.processes.parents[77] = 1;
    ASSERT_TRUE(model->receiveLink("https://www.Nowhere.test/x", 77));
    const auto id = model->makeRule(model->recentLinks().front().id);
    ASSERT_TRUE(id);
    EXPECT_EQ(model->focusRuleID(), id);
    const Rule& made = model->rules().rules.front();
    EXPECT_EQ(made.id, *id);
    EXPECT_EQ(made.from, "com.tinyspeck.slackmacgap");
    EXPECT_EQ(made.match, Match::domains({"nowhere.test"}));
    EXPECT_EQ(made.open, (Target{"com.apple.Safari", {}}));
    EXPECT_EQ(model->rules().rules.size(), 4u);

    temp.write("Pivra/rules.json", "{");
    model->reloadRules();
    EXPECT_FALSE(model->makeRule(model->recentLinks().front().id)) << "refused while the file has an error";
}

TEST_F(MenuModel, NamesComeFromTheBrowsersThenTheAppsThenTheIdentifier) {
    fakes.workspace.install("com.tinyspeck.slackmacgap", "Slack");
    EXPECT_EQ(model->appName("com.google.Chrome"), "Google Chrome");
    EXPECT_EQ(model->appName("com.tinyspeck.slackmacgap"), "Slack");
    EXPECT_EQ(model->appName("com.example.gone"), "com.example.gone");
    EXPECT_EQ(model->targetName(Target{"com.google.Chrome", "Profile 1"}), "Google Chrome · Work");
    EXPECT_EQ(model->targetName(Target{"com.google.Chrome", "Profile 9"}), "Google Chrome · Profile 9");
    EXPECT_EQ(model->sourceName(Source::unknown()), "unknown app");
    EXPECT_EQ(model->profiles().at("com.google.Chrome").size(), 1u);
}

}  // namespace
}  // namespace pivra
