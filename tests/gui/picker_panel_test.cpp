// The picker panel on the offscreen platform, driven by real key presses
// and clicks, with the real model and controller behind it.

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include "core/rules/rules_coding.hpp"
#include "gui/picker/picker_view.hpp"
#include "tests/gui/gui_scene.hpp"

namespace pivra {
namespace {

using testing_support::GuiScene;
using testing_support::kSceneChrome;
using testing_support::kSceneFirefox;
using testing_support::kSceneSlack;

class PickerPanelTest : public testing::Test {
protected:
    PickerView& view() { return scene.panel->view(); }
    PickerState* state() { return scene.controller->state(); }
    std::optional<RecentLink> newest() const {
        const auto& recent = scene.model->recentLinks();
        return recent.empty() ? std::nullopt : std::optional<RecentLink>(recent.front());
    }
    std::vector<QString> visibleTexts() const {
        std::vector<QString> texts;
        for (const QLabel* label : scene.panel->view().findChildren<QLabel*>()) {
            if (label->isVisible() && !label->text().isEmpty()) texts.push_back(label->text());
        }
        return texts;
    }
    bool shows(const QString& text) const {
        const auto texts = visibleTexts();
        return std::find(texts.begin(), texts.end(), text) != texts.end();
    }
    void clickRemember() {
        QCheckBox* toggle = view().rememberSwitch();
        QTest::mouseClick(toggle, Qt::LeftButton, {}, QPoint(8, toggle->height() / 2));
    }

    GuiScene scene;
};

TEST_F(PickerPanelTest, ShowsTheLinkItsSourceTheRowsAndTheRulesPick) {
    scene.send("https://news.test/a");
    ASSERT_TRUE(view().isVisible());
    EXPECT_TRUE(scene.panel->isVisible());
    EXPECT_TRUE(shows("https://news.test/a"));
    EXPECT_TRUE(shows("From Slack"));
    EXPECT_TRUE(shows("Always open news.test from Slack in the one you pick"));
    EXPECT_EQ(view().rememberSwitch()->text(), "Remember for this site");
    EXPECT_TRUE(view().copyButton()->isVisible());
    const auto rows = view().rows();
    ASSERT_EQ(rows.size(), 6u);
    std::vector<QString> keys;
    for (const auto* row : rows) keys.push_back(row->numberKey());
    EXPECT_EQ(keys, (std::vector<QString>{"1", "2", "3", "4", "5", "6"}));
    EXPECT_EQ(rows[1]->sub(), "Side project");
    EXPECT_TRUE(rows[2]->isSelected()) << "Chrome's Work, the rule's pick";
    EXPECT_EQ(rows[2]->ruleLabel(), "Rule 1");
    EXPECT_EQ(rows[0]->ruleLabel(), "");
    EXPECT_GE(view().height(), view().fittingHeight()) << "nothing cut off";
}

TEST_F(PickerPanelTest, NumberKeysReturnAndAClickPickTheirRow) {
    struct Case {
        const char* name;
        std::function<void(PickerView&)> act;
        Target expected;
    };
    const std::vector<Case> cases{
        {"5", [](PickerView& v) { QTest::keyClick(&v, Qt::Key_5); }, {kSceneFirefox, "Work"}},
        {"keypad 1", [](PickerView& v) { QTest::keyClick(&v, Qt::Key_1, Qt::KeypadModifier); }, {kSceneChrome, "Default"}},
        {"Return on the rules' pick", [](PickerView& v) { QTest::keyClick(&v, Qt::Key_Return); }, {kSceneChrome, "Profile 1"}},
        {"Down twice, then Enter",
         [](PickerView& v) {
             QTest::keyClick(&v, Qt::Key_Down);
             QTest::keyClick(&v, Qt::Key_Down);
             QTest::keyClick(&v, Qt::Key_Enter, Qt::KeypadModifier);
         },
         {kSceneFirefox, "Work"}},
        {"a click on row 4", [](PickerView& v) { QTest::mouseClick(v.rows()[3], Qt::LeftButton); }, {kSceneFirefox, "default-release"}},
    };
    int sent = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        scene.fakes.clock.set(scene.fakes.clock.now() + std::chrono::seconds{10});
        scene.send("https://news.test/" + std::to_string(++sent));
        ASSERT_NE(state(), nullptr);
        c.act(view());
        EXPECT_EQ(state(), nullptr);
        EXPECT_FALSE(view().isVisible());
        scene.settle();
        ASSERT_TRUE(newest());
        EXPECT_TRUE(newest()->picked);
        EXPECT_EQ(newest()->target, c.expected);
    }
    EXPECT_TRUE(scene.fakes.pasteboard.texts.empty());
}

TEST_F(PickerPanelTest, ControlCAndTheCopyButtonCopyEveryLinkAndOpenNone) {
    for (const bool button : {false, true}) {
        SCOPED_TRACE(button ? "Copy button" : "Ctrl+C");
        scene.fakes.pasteboard.texts.clear();
        scene.fakes.clock.set(scene.fakes.clock.now() + std::chrono::seconds{10});
        scene.send("https://news.test/1");
        scene.send("https://news.test/2");
        ASSERT_NE(state(), nullptr);
        if (button) {
            QTest::mouseClick(view().copyButton(), Qt::LeftButton);
        } else {
            QTest::keyClick(&view(), Qt::Key_C, Qt::ControlModifier);
        }
        EXPECT_EQ(state(), nullptr);
        EXPECT_EQ(scene.fakes.pasteboard.texts, std::vector<std::string>{"https://news.test/1\nhttps://news.test/2"});
        scene.settle();
        EXPECT_FALSE(newest()->picked);
        EXPECT_EQ(scene.journalTexts().back(), LinkText::kPickerClosed);
    }
    EXPECT_TRUE(scene.fakes.workspace.opens.empty());
    EXPECT_TRUE(scene.fakes.launcher.requests.empty());
}

TEST_F(PickerPanelTest, WithCopyingOffThereIsNoCopyButtonAndControlCDoesNothing) {
    scene.fakes.preferences.setValue(SettingKey::kPickerCopies, false);
    scene.send("https://news.test/1");
    EXPECT_FALSE(view().copyButton()->isVisible());
    QTest::keyClick(&view(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_NE(state(), nullptr);
    EXPECT_TRUE(scene.fakes.pasteboard.texts.empty());
}

TEST_F(PickerPanelTest, TheRememberSwitchThenAPickWritesARuleAheadOfTheRulesOne) {
    scene.send("https://www.news.test/a");
    clickRemember();
    EXPECT_TRUE(state()->remember());
    QTest::keyClick(&view(), Qt::Key_4);
    scene.settle();
    const auto saved = RulesCoding::decode(scene.temp.read("Pivra/rules.json"));
    ASSERT_TRUE(saved.has_value());
    ASSERT_EQ(saved->rules.size(), 3u);
    EXPECT_EQ(saved->rules[0].from, kSceneSlack);
    EXPECT_EQ(saved->rules[0].match, Match::domains({"news.test"}));
    EXPECT_EQ(saved->rules[0].open, (Target{kSceneFirefox, "default-release"}));
    EXPECT_EQ(saved->rules[1].id, "R1");
}

TEST_F(PickerPanelTest, TheSwitchIsOffForEveryNewPanelAndAbsentForAnUnknownApp) {
    scene.send("https://news.test/a");
    clickRemember();
    QTest::keyClick(&view(), Qt::Key_Escape);
    scene.fakes.clock.set(scene.fakes.clock.now() + std::chrono::seconds{10});
    scene.send("https://news.test/b");
    EXPECT_FALSE(view().rememberSwitch()->isChecked());
    QTest::keyClick(&view(), Qt::Key_Escape);
    scene.send("https://news.test/c", 999);
    EXPECT_TRUE(shows("From an unknown app"));
    EXPECT_FALSE(view().rememberSwitch()->isVisible());
}

TEST_F(PickerPanelTest, LinksThatJoinCountInTheHeaderAndThePanelGrows) {
    scene.send("https://news.test/1");
    const int before = view().height();
    const PickerRowView* firstRow = view().rows().front();
    scene.send("https://news.test/2");
    EXPECT_TRUE(shows("2 links at once"));
    EXPECT_TRUE(shows("Picked once for all of them. They open in the order they came."));
    EXPECT_EQ(view().rememberSwitch()->text(), "Remember for this app");
    EXPECT_GT(view().height(), before);
    EXPECT_GE(view().height(), view().fittingHeight());
    QTest::keyClick(&view(), Qt::Key_Escape);
    // The window and its rows are made once and reused.
    scene.fakes.clock.set(scene.fakes.clock.now() + std::chrono::seconds{10});
    scene.send("https://news.test/3");
    EXPECT_EQ(view().rows().front(), firstRow);
    EXPECT_FALSE(shows("2 links at once"));
}

TEST_F(PickerPanelTest, EscapeAndAClickElsewhereCloseWithoutAChoice) {
    scene.send("https://news.test/1");
    QTest::keyClick(&view(), Qt::Key_Escape);
    EXPECT_EQ(state(), nullptr);
    EXPECT_FALSE(view().isVisible());

    scene.fakes.clock.set(scene.fakes.clock.now() + std::chrono::seconds{10});
    scene.send("https://news.test/2");
    ASSERT_TRUE(QTest::qWaitForWindowActive(&view()));
    QWidget elsewhere;
    elsewhere.show();
    elsewhere.activateWindow();
    QTRY_VERIFY_WITH_TIMEOUT(state() == nullptr, 5000);
    EXPECT_FALSE(view().isVisible());
    scene.settle();
    const auto texts = scene.journalTexts();
    EXPECT_EQ(std::count(texts.begin(), texts.end(), std::string(LinkText::kPickerClosed)), 2);
    EXPECT_TRUE(scene.fakes.workspace.opens.empty());
    EXPECT_TRUE(scene.fakes.launcher.requests.empty());
}

TEST_F(PickerPanelTest, HidingThePanelItselfIsNoCancel) {
    scene.send("https://news.test/1");
    ASSERT_TRUE(QTest::qWaitForWindowActive(&view()));
    QTest::keyClick(&view(), Qt::Key_2);
    QApplication::processEvents();
    scene.settle();
    EXPECT_TRUE(newest()->picked) << "the pick stands; losing the focus on close added no cancel";
    const auto texts = scene.journalTexts();
    EXPECT_EQ(std::count(texts.begin(), texts.end(), std::string(LinkText::kPickerClosed)), 0);
}

// A presenter that puts the view on screen without Qt's activation, as the
// Mac's non-activating panel does, and keeps what it was asked.
class RecordingPresenter final : public PanelPresenter {
public:
    struct Calls {
        int adopted = 0;
        std::vector<ScreenRect> frames;  // presented, then reframed
        int dismissed = 0;
        std::function<void()> resigned;
    };
    explicit RecordingPresenter(Calls& calls) : calls_(calls) {}
    void adopt(QWidget&) override { ++calls_.adopted; }
    void present(QWidget& view, ScreenRect frame, std::function<void()> resigned) override {
        calls_.frames = {frame};
        calls_.resigned = std::move(resigned);
        view.show();
    }
    void reframe(QWidget&, ScreenRect frame) override { calls_.frames.push_back(frame); }
    void dismiss(QWidget& view) override {
        ++calls_.dismissed;
        view.hide();
    }

private:
    Calls& calls_;
};

TEST(PickerPanelPresenter, PlacesTheViewGrowsItDownwardsAndEndsThePickerWhenItResigns) {
    RecordingPresenter::Calls calls;
    GuiScene scene("always", std::make_unique<RecordingPresenter>(calls));
    EXPECT_EQ(calls.adopted, 1);

    scene.send("https://news.test/1");
    ASSERT_EQ(calls.frames.size(), 1u);
    const ScreenRect first = calls.frames[0];
    EXPECT_EQ(first.width, PickerView::kWidth);
    // Just below and to the right of the pointer at (400, 700).
    EXPECT_EQ(first.x, 408);
    EXPECT_EQ(first.maxY(), 700 - 12);

    scene.send("https://news.test/2");
    ASSERT_GE(calls.frames.size(), 2u);
    const ScreenRect grown = calls.frames.back();
    EXPECT_EQ(grown.x, first.x);
    EXPECT_EQ(grown.maxY(), first.maxY()) << "the top edge stays; the panel grows downwards";
    EXPECT_GT(grown.height, first.height);

    // A click elsewhere: the panel resigned, both links end without a choice.
    calls.resigned();
    EXPECT_EQ(scene.controller->state(), nullptr);
    EXPECT_EQ(calls.dismissed, 1);
    scene.settle();
    auto texts = scene.journalTexts();
    EXPECT_EQ(std::count(texts.begin(), texts.end(), std::string(LinkText::kPickerClosed)), 2);

    // Ordered out by a close, the panel's late resignation is no cancel of the next one.
    scene.fakes.clock.set(scene.fakes.clock.now() + std::chrono::seconds{10});
    const auto stale = calls.resigned;
    scene.send("https://news.test/3");
    QTest::keyClick(&scene.panel->view(), Qt::Key_1);
    stale();
    calls.resigned();
    scene.settle();
    texts = scene.journalTexts();
    EXPECT_EQ(std::count(texts.begin(), texts.end(), std::string(LinkText::kPickerClosed)), 2);
    EXPECT_TRUE(scene.model->recentLinks().front().picked);
}

}  // namespace
}  // namespace pivra
