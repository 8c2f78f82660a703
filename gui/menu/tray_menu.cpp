#include "gui/menu/tray_menu.hpp"

#include <QCursor>
#include <QGuiApplication>
#include <QKeySequence>
#include <QMenu>
#include <QSystemTrayIcon>

#include "gui/menu/menu_bar_glyph.hpp"

namespace pivra {

namespace {

QString qs(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

// A row that only says something.
void addLabel(QMenu& menu, const QString& text) {
    QAction* action = menu.addAction(text);
    action->setEnabled(false);
}

constexpr int kMaxLinkChars = 60;

QString shortLink(const std::string& link) {
    const QString text = QString::fromStdString(link);
    if (text.size() <= kMaxLinkChars) return text;
    return text.left(kMaxLinkChars / 2 - 1) + QStringLiteral("…") + text.right(kMaxLinkChars / 2 - 1);
}

}  // namespace

TrayMenu::TrayMenu(AppModel& model, std::function<void()> quit, QObject* parent)
    : QObject(parent), model_(model), quit_(std::move(quit)), menu_(std::make_unique<QMenu>()) {
    // After the model changes: the menu is rebuilt once the change is done.
    observer_ = model_.addObserver([this] { scheduleRebuild(); });
    rebuild();
}

TrayMenu::~TrayMenu() {
    model_.removeObserver(observer_);
    if (tray_) tray_->setContextMenu(nullptr);
}

bool TrayMenu::showInTray() {
    if (!QSystemTrayIcon::isSystemTrayAvailable()) return false;
    if (!tray_) {
        tray_ = std::make_unique<QSystemTrayIcon>(icon_);
        tray_->setToolTip(QStringLiteral("Pivra"));
        tray_->setContextMenu(menu_.get());
        connect(tray_.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
            // Qt tells which modifiers were held only through the application's state.
            if (reason == QSystemTrayIcon::Trigger) iconClicked(QGuiApplication::keyboardModifiers());
        });
    }
    tray_->setIcon(icon_);
    tray_->setVisible(iconWanted());
    return true;
}

bool TrayMenu::clickPauses(Qt::KeyboardModifiers modifiers) {
    return (modifiers & Qt::AltModifier) && model_.optionClick();
}

void TrayMenu::iconClicked(Qt::KeyboardModifiers modifiers) {
    if (!clickPauses(modifiers)) menu_->popup(QCursor::pos());
}

bool TrayMenu::iconWanted() const { return model_.settings().menuBarShown(); }

void TrayMenu::pinTheme(const Theme& theme) {
    pinned_ = theme;
    rebuild();
}

Theme TrayMenu::currentTheme() const {
    return pinned_ ? *pinned_ : Theme::system(QString::fromStdString(model_.settings().accent()));
}

void TrayMenu::scheduleRebuild() {
    if (rebuildPending_) return;
    rebuildPending_ = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (rebuildPending_) rebuild();
        },
        Qt::QueuedConnection);
}

QMenu* TrayMenu::addSubmenu(const QString& title) {
    QMenu* submenu = menu_->addMenu(title);
    applyTheme(*submenu, currentTheme());
    submenus_.emplace_back(submenu);
    return submenu;
}

void TrayMenu::rebuild() {
    rebuildPending_ = false;
    const Theme theme = currentTheme();
    applyTheme(*menu_, theme);
    menu_->clear();
    for (const auto& submenu : submenus_) {
        if (submenu) submenu->deleteLater();
    }
    submenus_.clear();

    const Menu menu = model_.menu();
    if (!menu.status.empty()) addLabel(*menu_, qs(menu.status));
    if (menu.notGettingLinks) {
        menu_->addSeparator();
        addLabel(*menu_, qs(MenuText::kNotGettingLinks));
        connect(menu_->addAction(qs(MenuText::kMakeDefault)), &QAction::triggered, this,
                [this] { model_.makeDefaultBrowser(); });
        // The default browser is chosen on the General page here.
        connect(menu_->addAction(qs(MenuText::kChooseBrowser)), &QAction::triggered, this,
                [this] { model_.openSettings(SettingsPage::general); });
    }
    if (menu.showError) {
        connect(menu_->addAction(qs(MenuText::kShowError)), &QAction::triggered, this,
                [this] { model_.openSettings(SettingsPage::rules); });
    }
    // The problems, each opening the page where it is fixed; "Not getting
    // links" and "Show Error" above already stand for two of them.
    bool problemsShown = false;
    for (const Problem& problem : model_.problems()) {
        if (problem.kind == ProblemKind::notDefault && menu.notGettingLinks) continue;
        if (problem.kind == ProblemKind::rulesError && menu.showError) continue;
        if (!problemsShown) menu_->addSeparator();
        problemsShown = true;
        const ProblemText text = model_.problemText(problem);
        QAction* action = menu_->addAction(qs(text.title));
        action->setToolTip(qs(text.body));
        action->setStatusTip(qs(text.body));
        const SettingsPage page = problem.page();
        connect(action, &QAction::triggered, this, [this, page] { model_.openSettings(page); });
    }

    if (!menu.recent.empty()) {
        menu_->addSeparator();
        addLabel(*menu_, qs(MenuText::kRecent));
        for (const MenuRecentRow& row : menu.recent) {
            QMenu* submenu = addSubmenu(qs(row.text));
            submenu->menuAction()->setToolTip(QString::fromStdString(row.link));
            addLabel(*submenu, shortLink(row.link));
            submenu->addSeparator();
            const std::string id = row.id;
            if (menu.canOpenAgain) {
                connect(submenu->addAction(qs(MenuText::kOpenAgain)), &QAction::triggered, this,
                        [this, id] { model_.openAgain(id); });
            }
            connect(submenu->addAction(qs(MenuText::kMakeRule)), &QAction::triggered, this, [this, id] {
                // The new rule is shown on the rules page.
                if (model_.makeRule(id)) model_.openSettings(SettingsPage::rules);
            });
        }
        addLabel(*menu_, qs(MenuText::kRecentNote));
    }

    menu_->addSeparator();
    const bool timedResumes = menu.timedPauseAction == MenuText::kResume;
    connect(menu_->addAction(qs(menu.timedPauseAction)), &QAction::triggered, this, [this, timedResumes] {
        if (timedResumes) model_.resume();
        else model_.pauseFor(Seconds{3600});
    });
    const bool turnsOn = menu.pauseAction == MenuText::kTurnOn;
    connect(menu_->addAction(qs(menu.pauseAction)), &QAction::triggered, this, [this, turnsOn] {
        if (turnsOn) model_.resume();
        else model_.pauseUntilResumed();
    });
    menu_->addSeparator();
    QAction* settings = menu_->addAction(qs(MenuText::kSettings));
    settings->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    connect(settings, &QAction::triggered, this, [this] { model_.openSettings(model_.settingsPage()); });
    connect(menu_->addAction(qs(MenuText::kQuit)), &QAction::triggered, this, [this] {
        if (quit_) quit_();
    });

    const QColor ink = theme.palette().color(QPalette::WindowText);
    icon_ = menuBarIcon(model_.settings().menuBarIcon(), ink, menu.problemDot);
    if (tray_) {
        tray_->setIcon(icon_);
        tray_->setVisible(iconWanted());
    }
    emit rebuilt();
}

}  // namespace pivra
