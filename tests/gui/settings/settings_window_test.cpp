// The settings window and onboarding, driven as a user would, on the real
// model with fake ports; every change is checked in the files on disk.

#include <gtest/gtest.h>

#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

#include "core/rules/rules_coding.hpp"
#include "gui/onboarding/onboarding_window.hpp"
#include "gui/settings/flow_chart_view.hpp"
#include "gui/settings/general_page.hpp"
#include "gui/settings/import_sheet.hpp"
#include "gui/settings/other_pages.hpp"
#include "gui/settings/rule_editor.hpp"
#include "gui/settings/rule_list.hpp"
#include "gui/settings/rules_page.hpp"
#include "gui/settings/settings_window.hpp"
#include "gui/style/pv_group.hpp"
#include "gui/style/pv_row.hpp"
#include "tests/gui/settings/settings_scene.hpp"
#include "tests/support/rule_builder.hpp"

namespace pivra {
namespace {

using testing_support::SettingsScene;

// Every label's text inside `widget`, in layout order, joined by " | " per row.
std::vector<std::string> trialTexts(const PVGroup& group) {
    std::vector<std::string> rows;
    for (int i = 0; i < group.count(); ++i) {
        QStringList parts;
        for (const QLabel* label : group.widgetAt(i)->findChildren<QLabel*>()) {
            if (!label->text().isEmpty()) parts << label->text();
        }
        rows.push_back(parts.join(QStringLiteral(" | ")).toStdString());
    }
    return rows;
}

void chooseData(QComboBox& combo, const QString& data) {
    const int index = combo.findData(data);
    ASSERT_GE(index, 0) << data.toStdString();
    combo.setCurrentIndex(index);
    emit combo.activated(index);
}

class SettingsWindowTest : public testing::Test {
protected:
    explicit SettingsWindowTest(SettingsScene::Rules rules = SettingsScene::Rules::dozen) : scene(rules) {}

    RulesPage& rulesPage() { return *window.rulesPage(); }
    RuleEditor& editor() { return *window.rulesPage()->editor(); }

    SettingsScene scene;
    AppModel& model = *scene.model;
    SettingsWindow window{model};
};

TEST_F(SettingsWindowTest, EditingARuleInTheEditorWritesRulesJson) {
    rulesPage().selectRule(3);  // github.com, gitlab.com → Firefox · Work
    ASSERT_EQ(editor().ruleId(), "R04");
    editor().valuesEdit()->setText(QStringLiteral("github.com,  gitlab.com bitbucket.org"));
    emit editor().valuesEdit()->editingFinished();
    chooseData(*editor().browserBox(), QStringLiteral("com.google.Chrome"));
    chooseData(*editor().profileBox(), QStringLiteral("Profile 2"));
    editor().newWindowSwitch()->click();

    const auto disk = scene.rulesOnDisk();
    ASSERT_TRUE(disk.has_value());
    const Rule& rule = disk->rules[3];
    EXPECT_EQ(rule.id, "R04");
    EXPECT_EQ(rule.match, Match::domains({"github.com", "gitlab.com", "bitbucket.org"}));
    EXPECT_EQ(rule.open, (Target{"com.google.Chrome", "Profile 2"}));
    EXPECT_TRUE(rule.newWindow);
    EXPECT_EQ(disk->rules.size(), 12u);
    EXPECT_EQ(window.rulesPage()->ruleList()->item(3)->data(RuleList::conditionRole).toString(),
              QStringLiteral("github.com, gitlab.com, bitbucket.org"));
}

TEST_F(SettingsWindowTest, AWrongFieldSaysWhyAndLeavesTheFileAlone) {
    const std::string before = scene.temp.read("Pivra/rules.json");
    rulesPage().selectRule(1);
    editor().valuesEdit()->setText(QStringLiteral("https://figma.com"));
    emit editor().valuesEdit()->editingFinished();
    EXPECT_FALSE(editor().problemsLabel()->isHidden());
    EXPECT_EQ(editor().problemsLabel()->text().toStdString(),
              "Write the domain alone, without “https://”: https://figma.com");
    EXPECT_EQ(scene.temp.read("Pivra/rules.json"), before);
    // Another notification from the model keeps what the user is correcting.
    model.changeSettings([](Settings&) {});
    EXPECT_EQ(editor().valuesEdit()->text(), QStringLiteral("https://figma.com"));
}

TEST_F(SettingsWindowTest, RulesAreAddedMovedTurnedOffAndDeletedThroughTheFile) {
    RuleList& list = *rulesPage().ruleList();
    rulesPage().selectRule(0);
    QTest::keyClick(&list, Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(scene.rulesOnDisk()->rules[1].id, "R01");
    EXPECT_EQ(list.currentRow(), 1);
    QTest::keyClick(&list, Qt::Key_Up, Qt::AltModifier);
    QTest::keyClick(&list, Qt::Key_Up, Qt::AltModifier);  // already first: nothing
    EXPECT_EQ(scene.rulesOnDisk()->rules[0].id, "R01");

    QTest::keyClick(&list, Qt::Key_Space);
    EXPECT_FALSE(scene.rulesOnDisk()->rules[0].enabled);

    ASSERT_TRUE(rulesPage().addRule());
    auto disk = scene.rulesOnDisk();
    ASSERT_EQ(disk->rules.size(), 13u);
    EXPECT_EQ(disk->rules[1].open, disk->fallback);  // after the selected rule
    EXPECT_EQ(editor().ruleId(), disk->rules[1].id);
    QTest::keyClick(&list, Qt::Key_Delete);
    EXPECT_EQ(scene.rulesOnDisk()->rules.size(), 12u);
    EXPECT_EQ(list.count(), 12);
}

TEST_F(SettingsWindowTest, TheTrySectionShowsTheTrialOfAPastedLinkStepByStep) {
    rulesPage().selectRule(3);
    chooseData(*editor().trySourceBox(), QStringLiteral("com.apple.mail"));
    editor().tryLinkEdit()->setText(QStringLiteral("https://www.google.com/url?q=https://github.com/a/b?utm_source=x"));
    const auto rows = trialTexts(*editor().trialGroup());
    ASSERT_EQ(rows.size(), 2u + 12u + 1u);
    EXPECT_EQ(rows[0], "Unwrapped from | www.google.com");
    EXPECT_EQ(rows[1], "Matched against | github.com/a/b");
    EXPECT_EQ(rows[2], "Rule 1 | Only for links from Slack");
    EXPECT_EQ(rows[3], "Rule 2 | Didn’t match");
    EXPECT_EQ(rows[5], "Rule 4 | This rule matched");
    EXPECT_EQ(rows[6], "Rule 5 | Rule 4 matched first, not this one");
    EXPECT_EQ(rows.back(), "→ Rule 4 | Firefox · Work");

    editor().tryLinkEdit()->setText(QStringLiteral("https://en.wikipedia.org/"));
    EXPECT_EQ(trialTexts(*editor().trialGroup()).back(), "→ No rule matched, so the fallback | Safari");
    editor().tryLinkEdit()->setText(QStringLiteral("mailto:someone"));
    EXPECT_EQ(trialTexts(*editor().trialGroup()), (std::vector<std::string>{"That isn’t a web link"}));
}

TEST_F(SettingsWindowTest, TheChartAndTheListMarkARuleThatNeverRuns) {
    const auto& steps = rulesPage().chart()->chart().steps;
    ASSERT_EQ(steps.size(), 13u);
    EXPECT_EQ(steps[10].shadowedBy, 3);
    EXPECT_FALSE(steps.back().index.has_value());  // the fallback, last
    EXPECT_EQ(rulesPage().ruleList()->item(10)->data(RuleList::neverRunsRole).toString().toStdString(),
              "This rule never runs. Rule 4 takes its links first.");
    const auto weekLinks = steps[0].links;
    rulesPage().setPeriod(30);
    EXPECT_GT(rulesPage().chart()->chart().steps[0].links, weekLinks);
}

TEST_F(SettingsWindowTest, TheModelOpensTheWindowAtAPage) {
    model.openSettings(SettingsPage::general);
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(window.currentPage(), SettingsPage::general);
    model.openSettings(SettingsPage::browsers);
    EXPECT_EQ(window.currentPage(), SettingsPage::browsers);
}

TEST_F(SettingsWindowTest, AnImportAsksForTheGapsAndWritesTheReplacements) {
    RulesFile imported;
    imported.rules = {testing_support::makeRule("", "com.tinyspeck.slackmacgap", Match::any(), {"com.microsoft.edgemac", std::nullopt}),
                      testing_support::makeRule("", "com.example.gone", Match::any(), {"com.google.Chrome", "Profile 9"}),
                      testing_support::makeRule("", "*", Match::domains({"a.test"}), {"com.apple.Safari", std::nullopt})};
    scene.fakes.dialogs.openAnswers.push_back(scene.temp.write("import.json", RulesCoding::encode(imported)));
    rulesPage().importRules();
    QTRY_VERIFY(rulesPage().importSheet() != nullptr);
    ImportSheet& sheet = *rulesPage().importSheet();
    ASSERT_EQ(sheet.choosers().size(), 3u);  // Edge, Chrome's "Profile 9", the gone source
    EXPECT_EQ(sheet.choosers()[0]->accessibleName().toStdString(), "com.microsoft.edgemac isn’t installed");
    EXPECT_EQ(sheet.choosers()[1]->accessibleName().toStdString(), "Google Chrome has no profile called “Profile 9”");
    EXPECT_EQ(sheet.choosers()[2]->accessibleName().toStdString(), "com.example.gone isn’t on this Mac");
    chooseData(*sheet.choosers()[0], QStringLiteral("org.mozilla.firefox"));
    chooseData(*sheet.choosers()[1], QStringLiteral("Profile 1"));
    chooseData(*sheet.choosers()[2], QStringLiteral("*"));
    sheet.importButton()->click();

    const auto disk = scene.rulesOnDisk();
    ASSERT_EQ(disk->rules.size(), 3u);
    EXPECT_EQ(disk->rules[0].open, (Target{"org.mozilla.firefox", std::nullopt}));
    EXPECT_EQ(disk->rules[1].open, (Target{"com.google.Chrome", "Profile 1"}));
    EXPECT_EQ(disk->rules[1].from, "*");
    EXPECT_FALSE(disk->rules[2].id.empty());
    EXPECT_FALSE(model.pendingImport().has_value());
    QTRY_VERIFY(rulesPage().importSheet() == nullptr);
}

TEST_F(SettingsWindowTest, ClearHistoryAsksThenEmptiesTheJournalAndTheCounts) {
    GeneralPage& general = *window.generalPage();
    ASSERT_GT(general.journalList()->count(), 3);
    EXPECT_EQ(general.journalList()->item(0)->text(), QStringLiteral("Today"));

    general.clearHistoryButton()->click();
    ASSERT_NE(general.clearHistoryQuestion(), nullptr);
    general.clearHistoryQuestion()->button(QMessageBox::Cancel)->click();
    EXPECT_FALSE(model.recentJournal().empty());

    general.clearHistoryButton()->click();
    QMessageBox* question = general.clearHistoryQuestion();
    ASSERT_NE(question, nullptr);
    QAbstractButton* clear = nullptr;
    for (QAbstractButton* b : question->buttons()) {
        if (question->buttonRole(b) == QMessageBox::DestructiveRole) clear = b;
    }
    ASSERT_NE(clear, nullptr);
    clear->click();
    EXPECT_TRUE(model.recentJournal().empty());
    EXPECT_TRUE(model.counts().days.empty());
    EXPECT_EQ(LinkCountsCoding::decode(scene.temp.read("Pivra/counts.json")), LinkCounts{});
    EXPECT_EQ(general.journalList()->count(), 1);  // "Nothing in the log yet"
    EXPECT_EQ(rulesPage().chart()->chart().maxLinks, 0);
}

TEST_F(SettingsWindowTest, ChoicesOfThePagesAreWrittenToTheSettings) {
    window.pickerPage()->triggerButtons()->button(static_cast<int>(PickerTrigger::always))->click();
    window.pickerPage()->startButtons()->button(static_cast<int>(PickerStart::first))->click();
    window.menuBarPage()->iconButtons()->button(static_cast<int>(MenuBarIcon::globe))->click();
    window.browsersPage()->profileFailureButtons()->button(static_cast<int>(ProfileFailure::fallback))->click();
    window.generalPage()->detailedLogButtons()->button(static_cast<int>(DetailedLog::day))->click();
    Settings& settings = model.settings();
    EXPECT_EQ(settings.pickerTrigger(), PickerTrigger::always);
    EXPECT_EQ(settings.pickerStart(), PickerStart::first);
    EXPECT_EQ(settings.menuBarIcon(), MenuBarIcon::globe);
    EXPECT_EQ(settings.profileFailure(), ProfileFailure::fallback);
    EXPECT_TRUE(window.generalPage()->detailedLogStatus()->text().startsWith(QStringLiteral("Every step is logged until ")));

    chooseData(*window.browsersPage()->fallbackBox(), QStringLiteral("org.mozilla.firefox"));
    EXPECT_EQ(scene.rulesOnDisk()->fallback, (Target{"org.mozilla.firefox", std::nullopt}));

    // A setting changed elsewhere shows on the page.
    model.changeSettings([](Settings& s) { s.setPickerTrigger(PickerTrigger::never); });
    EXPECT_TRUE(window.pickerPage()->triggerButtons()->button(static_cast<int>(PickerTrigger::never))->isChecked());
}

TEST_F(SettingsWindowTest, NotificationsOffInTheSystemAreSaid) {
    scene.fakes.notifications.status = NotificationStatus::denied;
    model.appBecameActive();
    scene.fakes.scheduler.runDue();
    // The group's footnote is its last label.
    const auto labels = window.generalPage()->notificationGroup()->findChildren<QLabel*>();
    bool said = false;
    for (const QLabel* label : labels) said = said || (label->text().toStdString() == kNotificationsDeniedText && !label->isHidden());
    EXPECT_TRUE(said);
}

TEST_F(SettingsWindowTest, TheUpdatesAndReportSectionsFollowTheModel) {
    GeneralPage& general = *window.generalPage();
    EXPECT_EQ(general.updateStatusRow()->title(), QStringLiteral("Not checked yet"));
    EXPECT_TRUE(general.updateActionButton()->isHidden());
    general.autoUpdateSwitch()->click();
    EXPECT_FALSE(model.settings().autoUpdate());
    EXPECT_EQ(general.autoUpdateRow()->description().toStdString(), UpdateText::kAutomaticallyOffCaption);

    // A report saved where the panel says, with the parts the switches say.
    const auto destination = scene.temp.path() / "report.zip";
    scene.fakes.dialogs.saveAnswers.push_back(destination);
    general.saveReportButton()->click();
    QTRY_VERIFY(model.reportOutcome().has_value());
    EXPECT_EQ(model.reportOutcome()->kind, ReportOutcome::Kind::saved);
    EXPECT_TRUE(std::filesystem::exists(destination));
    EXPECT_EQ(general.reportParts(), ReportParts{});
}

TEST(GeneralPageWithoutUpdates, ACopyThatDoesNotUpdateItselfOffersNoUpdatesAndSaysComputer) {
    testing_support::TempFolder temp;
    testing_support::FakePorts fakes;
    fakes.appInfo.machine = "computer";
    AppModel model(fakes.ports(), ModelFolders{temp.path() / "Pivra", temp.path()});
    model.start();
    GeneralPage general(model);
    EXPECT_EQ(general.updateStatusRow(), nullptr);
    const auto labels = general.findChildren<QLabel*>();
    EXPECT_TRUE(std::ranges::any_of(labels, [](const QLabel* label) {
        return label->text() == QStringLiteral("Nothing leaves this computer until you send it");
    }));
}

class BrokenRulesTest : public SettingsWindowTest {
protected:
    BrokenRulesTest() : SettingsWindowTest(SettingsScene::Rules::broken) {}
};

TEST_F(BrokenRulesTest, TheBannerShowsTheErrorAndEditsAreRefused) {
    const std::string broken = scene.temp.read("Pivra/rules.json");
    EXPECT_FALSE(rulesPage().banner()->isHidden());
    const std::string text = rulesPage().bannerText()->text().toStdString();
    EXPECT_TRUE(text.starts_with("Line 3: ")) << text;
    EXPECT_NE(text.find(kRulesEditRefusedText), std::string::npos);
    EXPECT_EQ(rulesPage().ruleList()->count(), 12);  // the last good rules

    rulesPage().selectRule(0);
    editor().enabledSwitch()->click();
    EXPECT_TRUE(editor().enabledSwitch()->isChecked());  // put back
    EXPECT_FALSE(rulesPage().addRule());
    EXPECT_FALSE(rulesPage().moveRule(0, 1));
    EXPECT_EQ(rulesPage().statusLabel()->text().toStdString(), kRulesEditRefusedText);
    EXPECT_EQ(scene.temp.read("Pivra/rules.json"), broken);

    rulesPage().importRules();
    EXPECT_EQ(rulesPage().statusLabel()->text().toStdString(), kImportRefusedText);
}

TEST(OnboardingTest, TheChosenStarterRulesLandInRulesJson) {
    SettingsScene scene(SettingsScene::Rules::none);
    AppModel& model = *scene.model;
    ASSERT_TRUE(OnboardingWindow::isWanted(model));
    OnboardingWindow onboarding(model);
    ASSERT_FALSE(scene.fakes.workspace.isDefault);
    scene.fakes.workspace.isDefault = true;
    onboarding.makeDefaultButton()->click();
    scene.fakes.scheduler.runDue();
    EXPECT_TRUE(model.isDefault());
    EXPECT_TRUE(onboarding.makeDefaultButton()->isHidden());

    onboarding.goTo(OnboardingWindow::Step::starterRules);
    const auto& suggestions = onboarding.suggestions();
    ASSERT_EQ(onboarding.suggestionBoxes().size(), suggestions.size());
    ASSERT_GE(suggestions.size(), 3u);
    // The first is left as suggested, the second is switched over, the rest off.
    std::vector<Rule> expected;
    for (std::size_t i = 0; i < suggestions.size(); ++i) {
        const bool on = i == 0 ? suggestions[i].on : (i == 1 ? !suggestions[i].on : false);
        onboarding.suggestionBoxes()[i]->setChecked(on);
        if (on) expected.insert(expected.end(), suggestions[i].rules.begin(), suggestions[i].rules.end());
    }
    ASSERT_FALSE(expected.empty());
    onboarding.addRulesButton()->click();
    EXPECT_EQ(onboarding.step(), OnboardingWindow::Step::done);
    EXPECT_EQ(scene.rulesOnDisk()->rules, expected);
    EXPECT_TRUE(onboarding.doneLabel()->text().contains(QString::number(expected.size())));

    // Adding again adds nothing twice.
    EXPECT_TRUE(onboarding.addChosenRules());
    EXPECT_EQ(scene.rulesOnDisk()->rules, expected);
    onboarding.finish(false);
    EXPECT_FALSE(OnboardingWindow::isWanted(model));
}

TEST(OnboardingTest, ABrokenRulesFileKeepsTheStarterRulesOut) {
    SettingsScene scene(SettingsScene::Rules::broken);
    OnboardingWindow onboarding(*scene.model);
    onboarding.goTo(OnboardingWindow::Step::starterRules);
    for (QCheckBox* box : onboarding.suggestionBoxes()) box->setChecked(true);
    const std::string broken = scene.temp.read("Pivra/rules.json");
    onboarding.addRulesButton()->click();
    EXPECT_EQ(onboarding.step(), OnboardingWindow::Step::starterRules);
    EXPECT_EQ(onboarding.messageLabel()->text().toStdString(), kRulesEditRefusedText);
    EXPECT_EQ(scene.temp.read("Pivra/rules.json"), broken);
}

}  // namespace
}  // namespace pivra
