// The prompt to move into Applications, driven as a user would, on the real
// flow with fake ports and real files in a temporary folder.

#include "gui/install/move_prompt.hpp"

#include <functional>
#include <ostream>

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>

#include "gui/style/theme.hpp"
#include "tests/gui/install/move_scene.hpp"

namespace pivra {
namespace {

using testing_support::MoveScene;

std::string text(const QLabel* label) { return label->text().toStdString(); }
std::string text(const QPushButton* button) { return button->text().toStdString(); }

struct Shown {
    MoveScene scene;
    MoveToApplications& flow;
    MovePromptWindow window;

    explicit Shown(std::string_view installedBuild = {})
        : scene(installedBuild), flow(scene.open()), window(flow, Theme::light(QStringLiteral("Blue"))) {
        window.show();
    }

    bool buttonsEnabled() const { return window.primaryButton()->isEnabled() && window.secondaryButton()->isEnabled(); }
};

struct KindCase {
    const char* name;
    const char* installedBuild;  // "": no copy in Applications
    const char* title;
    const char* note;  // "": hidden
    const char* primary;
};

void PrintTo(const KindCase& c, std::ostream* os) { *os << c.name; }

class MovePromptKinds : public testing::TestWithParam<KindCase> {};

TEST_P(MovePromptKinds, ShowTheirTexts) {
    const KindCase& c = GetParam();
    Shown shown(c.installedBuild);
    const MovePromptWindow& w = shown.window;
    const MovePrompt texts = movePrompt(shown.flow.state().kind);
    EXPECT_EQ(text(w.titleLabel()), c.title);
    EXPECT_EQ(text(w.textLabel()), texts.text);
    EXPECT_EQ(w.noteLabel()->isVisible(), std::string_view(c.note) != "");
    EXPECT_EQ(text(w.noteLabel()), c.note);
    EXPECT_EQ(text(w.primaryButton()), c.primary);
    EXPECT_EQ(text(w.secondaryButton()), "Not Now");
    EXPECT_TRUE(w.primaryButton()->isDefault());
    EXPECT_TRUE(shown.buttonsEnabled());
    EXPECT_FALSE(w.errorLabel()->isVisible());
    EXPECT_FALSE(w.busyBar()->isVisible());
    EXPECT_EQ(w.minimumSize(), w.maximumSize()) << "a fixed size";
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MovePromptKinds,
    testing::Values(KindCase{"move", "", "Move Pivra to Applications?", "", "Move to Applications"},
                    KindCase{"olderCopyThere", "100", "Move Pivra to Applications?", "", "Move to Applications"},
                    KindCase{"newerCopyThere", "300", "Pivra is already in Applications",
                             "Open That One quits this copy and switches to the one in Applications.",
                             "Open That One"}),
    [](const testing::TestParamInfo<KindCase>& info) { return std::string(info.param.name); });

TEST(MovePrompt, MoveRunsWithTheButtonsDisabledAndCompletes) {
    Shown shown;
    shown.window.primaryButton()->click();
    EXPECT_TRUE(shown.flow.state().working);
    EXPECT_FALSE(shown.window.primaryButton()->isEnabled());
    EXPECT_FALSE(shown.window.secondaryButton()->isEnabled());
    EXPECT_TRUE(shown.window.busyBar()->isVisible());
    EXPECT_EQ(text(shown.window.busyLabel()), "Moving…");
    EXPECT_EQ(shown.window.busyBar()->maximum(), 0) << "indeterminate";

    // Neither Escape nor closing the window stops a move.
    QTest::keyClick(&shown.window, Qt::Key_Escape);
    shown.window.close();
    EXPECT_TRUE(shown.window.isVisible());

    ASSERT_TRUE(shown.scene.finishMove());
    EXPECT_EQ(shown.scene.quits, 1);
    EXPECT_TRUE(std::filesystem::exists(shown.scene.installed / "Contents/MacOS/Pivra"));
    EXPECT_EQ(shown.scene.thens, 0);
}

TEST(MovePrompt, AFailedMoveShowsWhyAndCanBeTriedAgain) {
    Shown shown;
    shown.scene.fakes.bundleFiles.moveError = "the disk is locked";
    QTest::keyClick(&shown.window, Qt::Key_Return);
    ASSERT_TRUE(shown.flow.state().working);
    ASSERT_TRUE(shown.scene.finishMove());

    EXPECT_EQ(shown.scene.quits, 0);
    EXPECT_TRUE(shown.window.isVisible());
    EXPECT_TRUE(shown.window.errorLabel()->isVisible());
    EXPECT_EQ(text(shown.window.errorLabel()), *shown.flow.state().error);
    EXPECT_TRUE(shown.window.errorLabel()->text().startsWith(QStringLiteral("Couldn’t move Pivra: ")));
    EXPECT_NE(shown.window.errorLabel()->palette().color(QPalette::WindowText),
              shown.window.textLabel()->palette().color(QPalette::WindowText));
    EXPECT_FALSE(shown.window.busyBar()->isVisible());
    EXPECT_TRUE(shown.buttonsEnabled());

    shown.scene.fakes.bundleFiles.moveError.reset();
    shown.window.primaryButton()->click();
    EXPECT_FALSE(shown.window.errorLabel()->isVisible()) << "the old reason goes with a new try";
    ASSERT_TRUE(shown.scene.finishMove());
    EXPECT_EQ(shown.scene.quits, 1);
}

TEST(MovePrompt, OpenThatOneOpensTheCopyInApplicationsOrSaysWhyNot) {
    Shown shown("300");
    shown.scene.fakes.workspace.failingOpens["app.omra.pivra"] = "the application is damaged";
    shown.window.primaryButton()->click();
    shown.scene.fakes.scheduler.runDue();
    ASSERT_EQ(shown.scene.fakes.workspace.opens.size(), 1u);
    EXPECT_EQ(shown.scene.fakes.workspace.opens[0].app.location, shown.scene.installed);
    EXPECT_EQ(text(shown.window.errorLabel()), "Couldn’t open it: the application is damaged");
    EXPECT_TRUE(shown.window.errorLabel()->isVisible());

    shown.scene.fakes.workspace.failingOpens.clear();
    shown.window.primaryButton()->click();
    shown.scene.fakes.scheduler.runDue();
    EXPECT_EQ(shown.scene.quits, 1);
}

struct DismissCase {
    const char* name;
    const char* installedBuild;
    std::function<void(MovePromptWindow&)> dismiss;
};

void PrintTo(const DismissCase& c, std::ostream* os) { *os << c.name; }

class MovePromptDismissed : public testing::TestWithParam<DismissCase> {};

TEST_P(MovePromptDismissed, RemembersThePlaceAndCloses) {
    const DismissCase& c = GetParam();
    Shown shown(c.installedBuild);
    c.dismiss(shown.window);
    EXPECT_FALSE(shown.window.isVisible());
    EXPECT_FALSE(shown.flow.state().promptOpen);
    EXPECT_EQ(Settings(shown.scene.fakes.preferences).moveNotNowAt(), shown.scene.bundle.string());
    EXPECT_EQ(shown.scene.thens, 1) << "once, however it was dismissed";
    EXPECT_EQ(shown.scene.quits, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MovePromptDismissed,
    testing::Values(DismissCase{"notNow", "", [](MovePromptWindow& w) { w.secondaryButton()->click(); }},
                    DismissCase{"notNowThere", "300", [](MovePromptWindow& w) { w.secondaryButton()->click(); }},
                    DismissCase{"escape", "", [](MovePromptWindow& w) { QTest::keyClick(&w, Qt::Key_Escape); }},
                    DismissCase{"closeWindow", "", [](MovePromptWindow& w) { w.close(); }}),
    [](const testing::TestParamInfo<DismissCase>& info) { return std::string(info.param.name); });

TEST(MovePrompt, StopsListeningWhenGone) {
    MoveScene scene;
    MoveToApplications& flow = scene.open();
    { MovePromptWindow window(flow, Theme::dark(QStringLiteral("Blue"))); }
    flow.notNow();  // would reach the window if it still listened
    EXPECT_EQ(scene.thens, 1);
}

}  // namespace
}  // namespace pivra
