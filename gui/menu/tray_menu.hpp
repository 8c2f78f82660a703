#pragma once
// The app's menu in the system tray: the status line, the problems, the
// recent links with "Open again in…" and "Make a rule", the pause actions,
// Settings and Quit, built from AppModel::menu() and rebuilt after the model
// changes. The tray icon is the "menuBarIcon" glyph, with a dot while there
// are problems.

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <QIcon>
#include <QObject>
#include <QPointer>

#include "app/model/app_model.hpp"
#include "gui/style/theme.hpp"

class QMenu;
class QSystemTrayIcon;

namespace pivra {

class TrayMenu : public QObject {
    Q_OBJECT
public:
    // `quit` runs for "Quit Pivra". The model must outlive the menu.
    TrayMenu(AppModel& model, std::function<void()> quit, QObject* parent = nullptr);
    ~TrayMenu() override;

    // Puts the icon in the system tray; false (the menu still works) where
    // the desktop has no tray.
    bool showInTray();
    QSystemTrayIcon* trayIcon() const { return tray_.get(); }

    QMenu& menu() { return *menu_; }
    // The icon as the tray shows it now.
    QIcon icon() const { return icon_; }
    // Builds the menu from the model now; after a change it is rebuilt on
    // the next turn of the event loop, so an action never deletes itself.
    void rebuild();
    // Draws with `theme` from now on instead of following the system's look.
    void pinTheme(const Theme& theme);

    // A left click on the icon: with Alt (the Mac's Option) held it pauses
    // or resumes when the setting allows; otherwise the menu opens.
    void iconClicked(Qt::KeyboardModifiers modifiers);
    // The first half of a click: true when it paused or resumed, and the
    // menu must not open. For an icon that shows the menu itself (the Mac's).
    bool clickPauses(Qt::KeyboardModifiers modifiers);
    // Whether the icon is wanted at all (the "menuBarShown" setting); without
    // it the settings open when the app is opened again.
    bool iconWanted() const;

signals:
    // The menu and the icon were built anew.
    void rebuilt();

private:
    QMenu* addSubmenu(const QString& title);
    void scheduleRebuild();
    Theme currentTheme() const;

    AppModel& model_;
    std::function<void()> quit_;
    std::unique_ptr<QMenu> menu_;
    std::vector<QPointer<QMenu>> submenus_;
    std::unique_ptr<QSystemTrayIcon> tray_;
    QIcon icon_;
    std::optional<Theme> pinned_;
    ObserverId observer_ = 0;
    bool rebuildPending_ = false;
};

}  // namespace pivra
