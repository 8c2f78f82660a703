// The tray menu: what its actions do to the model, each problem's row opening
// its settings page, and the rebuild after a change.

#include <gtest/gtest.h>

#include <QApplication>
#include <QMenu>
#include <QTest>

#include "gui/menu/tray_menu.hpp"
#include "gui/picker/picker_view.hpp"
#include "tests/gui/gui_scene.hpp"

namespace pivra {
namespace {

using testing_support::GuiScene;

// The action titled `text` in `menu` or its submenus; null when there is none.
QAction* findAction(QMenu& menu, const QString& text) {
    for (QAction* action : menu.actions()) {
        if (action->text() == text) return action;
        if (action->menu()) {
            if (QAction* inner = findAction(*action->menu(), text)) return inner;
        }
    }
    return nullptr;
}

QStringList titles(QMenu& menu) {
    QStringList texts;
    for (QAction* action : menu.actions()) {
        if (!action->isSeparator()) texts << action->text();
    }
    return texts;
}

class TrayMenuTest : public testing::Test {
protected:
    TrayMenuTest() : tray(*scene.model, [this] { ++quits; }) {
        scene.model->setOnOpenSettings([this](SettingsPage page) { pages.push_back(page); });
    }
    // Triggers the action and lets the menu rebuild.
    void trigger(const QString& text) {
        QAction* action = findAction(tray.menu(), text);
        ASSERT_NE(action, nullptr) << text.toStdString() << " in " << titles(tray.menu()).join(" | ").toStdString();
        ASSERT_TRUE(action->isEnabled()) << text.toStdString();
        action->trigger();
        QApplication::processEvents();
    }
    bool has(const QString& text) { return findAction(tray.menu(), text) != nullptr; }

    GuiScene scene{"never"};
    TrayMenu tray;
    std::vector<SettingsPage> pages;
    int quits = 0;
};

TEST_F(TrayMenuTest, PauseForAnHourThenResume) {
    EXPECT_EQ(titles(tray.menu()).front(), "0 links today");
    trigger("Pause for 1 hour");
    const Instant now = scene.fakes.clock.now();
    EXPECT_TRUE(scene.model->settings().isPaused(now));
    EXPECT_FALSE(scene.model->settings().isPaused(now + std::chrono::seconds{3601}));
    EXPECT_EQ(titles(tray.menu()).front(), "Paused · links open in Firefox · default-release");
    EXPECT_FALSE(has("Pause for 1 hour"));
    trigger("Resume");
    EXPECT_FALSE(scene.model->settings().isPaused(now));
    EXPECT_TRUE(has("Pause for 1 hour"));
}

TEST_F(TrayMenuTest, PausePivraUntilTurnedOnAgain) {
    trigger("Pause Pivra");
    EXPECT_TRUE(scene.model->settings().pausedUntilResumed());
    EXPECT_TRUE(scene.model->settings().isPaused(scene.fakes.clock.now() + std::chrono::seconds{86400}));
    trigger("Turn Pivra on");
    EXPECT_FALSE(scene.model->settings().pausedUntilResumed());
    EXPECT_FALSE(scene.model->settings().isPaused(scene.fakes.clock.now()));
}

TEST_F(TrayMenuTest, EachProblemsRowOpensThePageWhereItIsFixed) {
    struct Case {
        const char* name;
        std::function<void(GuiScene&)> raise;
        QString row;
        SettingsPage page;
    };
    const std::vector<Case> cases{
        {"profile failed", [](GuiScene& s) { s.model->raiseProblem(Problem::profileFailed(testing_support::kSceneChrome)); },
         "Couldn’t open a Google Chrome profile", SettingsPage::browsers},
        {"browser gone", [](GuiScene& s) { s.model->raiseProblem(Problem::browserGone("com.brave.Browser")); },
         "com.brave.Browser isn’t on this Mac", SettingsPage::browsers},
        {"rules error",
         [](GuiScene& s) {
             s.temp.write("Pivra/rules.json", "{\n  \"rules\" : [\n");
             s.model->reloadRules();
         },
         "Show Error", SettingsPage::rules},
        {"not the default browser",
         [](GuiScene& s) {
             s.fakes.workspace.isDefault = false;
             s.model->refreshDefaultBrowser();
         },
         "Choose Browser…", SettingsPage::general},
        // Raised without the state behind it, a problem still gets a row of its own.
        {"a rules error raised alone", [](GuiScene& s) { s.model->raiseProblem(Problem::rulesError("Line 2: Not valid JSON")); },
         "rules.json has an error", SettingsPage::rules},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        GuiScene fresh("never");
        TrayMenu menu(*fresh.model, {});
        std::vector<SettingsPage> opened;
        fresh.model->setOnOpenSettings([&](SettingsPage page) { opened.push_back(page); });
        const QImage calm = menu.icon().pixmap(22, 22).toImage();
        c.raise(fresh);
        QApplication::processEvents();
        EXPECT_NE(menu.icon().pixmap(22, 22).toImage(), calm) << "the dot";
        QAction* row = findAction(menu.menu(), c.row);
        ASSERT_NE(row, nullptr) << titles(menu.menu()).join(" | ").toStdString();
        row->trigger();
        EXPECT_EQ(opened, std::vector<SettingsPage>{c.page});
    }
}

TEST_F(TrayMenuTest, NotGettingLinksOffersMakeDefault) {
    scene.fakes.workspace.isDefault = false;
    scene.model->refreshDefaultBrowser();
    QApplication::processEvents();
    QAction* status = findAction(tray.menu(), "Not getting links");
    ASSERT_NE(status, nullptr);
    EXPECT_FALSE(status->isEnabled());
    trigger("Make Default");
    scene.settle();
    QApplication::processEvents();
    EXPECT_TRUE(scene.model->isDefault());
    EXPECT_FALSE(has("Not getting links"));
}

TEST_F(TrayMenuTest, RecentLinksOpenAgainInThePickerOrBecomeARule) {
    scene.send("https://news.test/today");
    scene.settle();
    QApplication::processEvents();
    EXPECT_TRUE(has("Google Chrome · Work, by rule 1"));
    EXPECT_TRUE(has("Kept in memory only. They’re gone when Pivra quits."));
    trigger("Open again in…");
    ASSERT_NE(scene.controller->state(), nullptr);
    EXPECT_EQ(scene.controller->state()->links(), std::vector<std::string>{"https://news.test/today"});
    QTest::keyClick(&scene.panel->view(), Qt::Key_5);
    scene.settle();
    QApplication::processEvents();
    EXPECT_TRUE(has("Firefox · Work, picked by hand"));

    const auto before = scene.model->rules().rules.size();
    trigger("Make a rule");
    EXPECT_EQ(scene.model->rules().rules.size(), before + 1);
    EXPECT_EQ(scene.model->rules().rules.front().match, Match::domains({"news.test"}));
    EXPECT_EQ(pages, std::vector<SettingsPage>{SettingsPage::rules}) << "the new rule is shown";
}

TEST_F(TrayMenuTest, SettingsAndQuit) {
    scene.model->openSettings(SettingsPage::picker);
    pages.clear();
    QApplication::processEvents();
    trigger("Settings");
    EXPECT_EQ(pages, std::vector<SettingsPage>{SettingsPage::picker}) << "the page last shown";
    trigger("Quit Pivra");
    EXPECT_EQ(quits, 1);
}

TEST_F(TrayMenuTest, AnAltClickPausesAndResumesWhileTheSettingAllowsIt) {
    tray.iconClicked(Qt::AltModifier);
    EXPECT_TRUE(scene.model->settings().pausedUntilResumed());
    tray.iconClicked(Qt::AltModifier);
    EXPECT_FALSE(scene.model->settings().isPaused(scene.fakes.clock.now()));
    EXPECT_FALSE(tray.menu().isVisible());

    scene.fakes.preferences.setValue(SettingKey::kOptionClickPauses, false);
    tray.iconClicked(Qt::AltModifier);
    EXPECT_FALSE(scene.model->settings().isPaused(scene.fakes.clock.now()));
    EXPECT_TRUE(tray.menu().isVisible()) << "the click opens the menu instead";
    tray.menu().hide();
    EXPECT_FALSE(tray.clickPauses(Qt::AltModifier));
}

TEST_F(TrayMenuTest, TheIconComesAndGoesWithTheMenuBarSetting) {
    int rebuilds = 0;
    QObject::connect(&tray, &TrayMenu::rebuilt, [&] { ++rebuilds; });
    EXPECT_TRUE(tray.iconWanted());
    scene.model->changeSettings([](Settings& s) { s.setMenuBarShown(false); });
    QTRY_COMPARE(rebuilds, 1);
    EXPECT_FALSE(tray.iconWanted());
}

}  // namespace
}  // namespace pivra
