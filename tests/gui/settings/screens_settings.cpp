// The settings window, page by page, with a dozen rules; the rules page of a
// first run and of a broken rules.json; and the three steps of onboarding.

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QScrollArea>
#include <QScrollBar>

#include "gui/onboarding/onboarding_window.hpp"
#include "gui/settings/rule_editor.hpp"
#include "gui/settings/rules_page.hpp"
#include "gui/settings/settings_window.hpp"
#include "gui/style/pv_page.hpp"
#include "tests/gui/screens.hpp"
#include "tests/gui/settings/settings_scene.hpp"

namespace pivra::screens {

namespace {

using testing_support::SettingsScene;

constexpr int kWidth = 1040;
constexpr int kHeight = 760;

QImage grab(QWidget& window, QSize size) {
    window.resize(size);
    window.show();
    QApplication::processEvents();
    return window.grab().toImage();
}

// The rules page with rule 4 selected and a link being tried from Mail.
QImage renderRules(const Theme& theme, SettingsScene::Rules rules, bool tryLink) {
    SettingsScene scene(rules);
    SettingsWindow window(*scene.model);
    window.pinTheme(theme);
    window.showPage(SettingsPage::rules);
    RulesPage& page = *window.rulesPage();
    if (rules != SettingsScene::Rules::none) page.selectRule(3);
    if (tryLink) {
        QComboBox& source = *page.editor()->trySourceBox();
        source.setCurrentIndex(source.findData(QStringLiteral("com.apple.mail")));
        page.editor()->tryLinkEdit()->setText(QStringLiteral("https://github.com/pivra/app/pull/12?utm_source=mail"));
    }
    const QImage first = grab(window, QSize(kWidth, kHeight));
    if (!tryLink) return first;
    // The try section is under the rule's fields: scrolled into view.
    for (auto* scroll : window.findChildren<QScrollArea*>()) {
        if (scroll->widget() == page.editor()) scroll->verticalScrollBar()->setValue(scroll->verticalScrollBar()->maximum());
    }
    return grab(window, QSize(kWidth, kHeight));
}

// A page of the window, tall enough to show all of it.
QImage renderPage(const Theme& theme, SettingsPage which) {
    SettingsScene scene;
    SettingsWindow window(*scene.model);
    window.pinTheme(theme);
    window.showPage(which);
    window.resize(kWidth, kHeight);
    window.show();
    QApplication::processEvents();
    int height = kHeight;
    for (auto* page : window.findChildren<PVPage*>()) {
        if (page->isVisible()) height = std::max(height, page->widget()->sizeHint().height() + 8);
    }
    return grab(window, QSize(kWidth, std::min(height, 1600)));
}

QImage renderOnboarding(const Theme& theme, OnboardingWindow::Step step) {
    SettingsScene scene(SettingsScene::Rules::none);
    OnboardingWindow window(*scene.model);
    window.pinTheme(theme);
    if (step == OnboardingWindow::Step::done) {
        window.goTo(OnboardingWindow::Step::starterRules);
        window.addChosenRules();
    }
    window.goTo(step);
    return grab(window, QSize(640, step == OnboardingWindow::Step::starterRules ? 720 : 340));
}

}  // namespace

std::vector<Shot> settingsShots() {
    return {
        {"settings-rules", [](const Theme& t) { return renderRules(t, SettingsScene::Rules::dozen, false); }},
        {"settings-rules-try", [](const Theme& t) { return renderRules(t, SettingsScene::Rules::dozen, true); }},
        {"settings-rules-first-run", [](const Theme& t) { return renderRules(t, SettingsScene::Rules::none, false); }},
        {"settings-rules-broken", [](const Theme& t) { return renderRules(t, SettingsScene::Rules::broken, false); }},
        {"settings-browsers", [](const Theme& t) { return renderPage(t, SettingsPage::browsers); }},
        {"settings-picker", [](const Theme& t) { return renderPage(t, SettingsPage::picker); }},
        {"settings-menubar", [](const Theme& t) { return renderPage(t, SettingsPage::menuBar); }},
        {"settings-general", [](const Theme& t) { return renderPage(t, SettingsPage::general); }},
        {"onboarding-default", [](const Theme& t) { return renderOnboarding(t, OnboardingWindow::Step::makeDefault); }},
        {"onboarding-starter", [](const Theme& t) { return renderOnboarding(t, OnboardingWindow::Step::starterRules); }},
        {"onboarding-done", [](const Theme& t) { return renderOnboarding(t, OnboardingWindow::Step::done); }},
    };
}

}  // namespace pivra::screens
