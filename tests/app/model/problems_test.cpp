// Problems: their texts and pages, and the model raising and withdrawing them.

#include <gtest/gtest.h>

#include "app/model/app_model.hpp"
#include "tests/support/fake_host.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

TEST(ProblemTexts, EachProblemSaysWhatWentWrongAndWhereToFixIt) {
    const struct {
        Problem problem;
        std::string identifier;
        ProblemText text;
        SettingsPage page;
    } cases[] = {
        {Problem::profileFailed("com.google.Chrome"), "profileFailed:com.google.Chrome",
         {"Couldn’t open a Google Chrome profile", "So links opened in Google Chrome’s last used profile."}, SettingsPage::browsers},
        {Problem::browserGone("com.google.Chrome"), "browserGone:com.google.Chrome",
         {"Google Chrome isn’t on this Mac", "Its rules’ links open in Safari instead."}, SettingsPage::browsers},
        {Problem::rulesError("Line 3: Not valid JSON"), "rulesError",
         {"rules.json has an error", "Line 3: Not valid JSON. Pivra keeps using your last good rules."}, SettingsPage::rules},
        {Problem::notDefault(), "notDefault",
         {"Pivra isn’t the default browser", "Links skip your rules until Pivra is the default again."}, SettingsPage::general},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.problem.identifier(), c.identifier);
        const ProblemText text = problemText(c.problem, "Google Chrome", "Safari", "Mac");
        EXPECT_EQ(text.title, c.text.title);
        EXPECT_EQ(text.body, c.text.body);
        EXPECT_EQ(c.problem.page(), c.page);
    }
    // Elsewhere the machine is called what its host calls it; the rest reads the same.
    EXPECT_EQ(problemText(Problem::browserGone("firefox-esr"), "Firefox ESR", "Chromium", "computer").title,
              "Firefox ESR isn’t on this computer");
    EXPECT_EQ(settingsPageNamed("menuBar"), SettingsPage::menuBar);
    for (const char* unknown : {"", "General", "settings", "rules "}) EXPECT_EQ(settingsPageNamed(unknown), SettingsPage::general);
}

class ModelProblems : public testing::Test {
protected:
    void start() {
        model = std::make_unique<AppModel>(fakes.ports(), ModelFolders{temp.path() / "Pivra", temp.path()});
        model->setOnProblemRaised([this](const Problem& p) { raised.push_back(p.identifier()); });
        model->setOnProblemCleared([this](std::string_view id) { cleared.emplace_back(id); });
        model->start();
    }
    std::vector<std::string> problemJournal() const {
        std::vector<std::string> lines;
        for (const auto& entry : model->journal().entries(Instant{})) {
            if (entry.text.starts_with("Problem: ")) lines.push_back(entry.text);
        }
        return lines;
    }

    testing_support::TempFolder temp;
    testing_support::FakePorts fakes;
    std::unique_ptr<AppModel> model;
    std::vector<std::string> raised, cleared;
};

TEST_F(ModelProblems, TheTextsCallTheMachineWhatItsHostCallsIt) {
    fakes.appInfo.machine = "computer";
    start();
    model->raiseProblem(Problem::browserGone("org.example.Gone"));
    EXPECT_EQ(model->problemText(Problem::browserGone("org.example.Gone")).title, "org.example.Gone isn’t on this computer");
    EXPECT_EQ(problemJournal(), std::vector<std::string>{"Problem: org.example.Gone isn’t on this computer"});
}

TEST_F(ModelProblems, NotBeingTheDefaultBrowserIsRaisedAtStartAndClearedWhenTheAppComesBack) {
    fakes.workspace.isDefault = false;
    start();
    EXPECT_EQ(raised, std::vector<std::string>{"notDefault"});
    EXPECT_EQ(model->problems(), std::vector<Problem>{Problem::notDefault()});
    model->appBecameActive();
    EXPECT_EQ(raised.size(), 1u) << "still the same problem";
    fakes.workspace.isDefault = true;
    model->appBecameActive();
    EXPECT_TRUE(model->problems().empty());
    EXPECT_EQ(cleared, std::vector<std::string>{"notDefault"});
    EXPECT_EQ(problemJournal(), std::vector<std::string>{"Problem: Pivra isn’t the default browser"});
}

TEST_F(ModelProblems, ARulesErrorIsRaisedReplacedByANewOneAndClearedByAGoodFile) {
    start();
    EXPECT_TRUE(raised.empty());
    temp.write("Pivra/rules.json", "{");
    model->reloadRules();
    ASSERT_EQ(model->problems().size(), 1u);
    EXPECT_EQ(model->problems()[0], Problem::rulesError(*model->rulesError()));
    model->reloadRules();
    EXPECT_EQ(raised.size(), 1u) << "the same error is not raised twice";
    temp.write("Pivra/rules.json", "{\"rules\": 3}");
    model->reloadRules();
    ASSERT_EQ(model->problems().size(), 1u);
    EXPECT_EQ(model->problemText(model->problems()[0]).body, *model->rulesError() + ". Pivra keeps using your last good rules.");
    EXPECT_EQ(raised.size(), 2u) << "a new error is told";
    temp.write("Pivra/rules.json", "{}");
    model->reloadRules();
    EXPECT_TRUE(model->problems().empty());
    EXPECT_EQ(cleared, std::vector<std::string>{"rulesError"});
    EXPECT_EQ(problemJournal().size(), 2u);
}

}  // namespace
}  // namespace pivra
