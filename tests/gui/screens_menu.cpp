// The tray menu: links today with recent links (a row's submenu open beside
// it), and paused with problems.

#include <QApplication>
#include <QMenu>
#include <QPainter>

#include "gui/menu/tray_menu.hpp"
#include "tests/gui/gui_scene.hpp"
#include "tests/gui/screens.hpp"

namespace pivra::screens {

namespace {

using testing_support::GuiScene;

// The menu, and beside it the submenu of its first row that has one, level
// with that row, on the theme's window colour.
QImage renderMenu(TrayMenu& tray, const Theme& theme) {
    QMenu& menu = tray.menu();
    menu.popup(QPoint(0, 0));
    QApplication::processEvents();
    const QImage main = menu.grab().toImage();
    QMenu* submenu = nullptr;
    QRect row;
    for (QAction* action : menu.actions()) {
        if (action->menu()) {
            submenu = action->menu();
            row = menu.actionGeometry(action);
            break;
        }
    }
    QImage side;
    if (submenu) {
        submenu->popup(QPoint(main.width(), row.top()));
        QApplication::processEvents();
        side = submenu->grab().toImage();
        submenu->hide();
    }
    menu.hide();
    const int margin = 12;
    const QSize size(margin * 2 + main.width() + (side.isNull() ? 0 : side.width() - 4),
                     margin * 2 + std::max(main.height(), side.isNull() ? 0 : row.top() + side.height()));
    QImage canvas(size, QImage::Format_ARGB32);
    canvas.fill(theme.palette().color(QPalette::Window).darker(theme.isDark ? 130 : 108));
    QPainter painter(&canvas);
    painter.drawImage(margin, margin, main);
    if (!side.isNull()) painter.drawImage(margin + main.width() - 4, margin + row.top(), side);
    // The icon as the tray shows it, in the top-right corner.
    painter.end();
    return canvas;
}

QImage renderIcons(const Theme& theme, bool problem) {
    GuiScene scene;
    if (problem) scene.model->raiseProblem(Problem::notDefault());
    const std::vector<MenuBarIcon> icons{MenuBarIcon::pivra, MenuBarIcon::arrows, MenuBarIcon::split,
                                         MenuBarIcon::signpost, MenuBarIcon::branch, MenuBarIcon::compass,
                                         MenuBarIcon::link, MenuBarIcon::globe, MenuBarIcon::dot};
    const int cell = 48;
    QImage canvas(QSize(cell * static_cast<int>(icons.size()), cell), QImage::Format_ARGB32);
    canvas.fill(theme.palette().color(QPalette::Window));
    QPainter painter(&canvas);
    TrayMenu tray(*scene.model, {});
    tray.pinTheme(theme);
    for (std::size_t i = 0; i < icons.size(); ++i) {
        scene.fakes.preferences.setValue(SettingKey::kMenuBarIcon, std::string(rawValue(icons[i])));
        tray.rebuild();
        painter.drawPixmap(static_cast<int>(i) * cell + 8, 8, tray.icon().pixmap(32, 32));
    }
    return canvas;
}

}  // namespace

std::vector<Shot> menuShots() {
    return {
        {"menu-recent", [](const Theme& theme) {
             GuiScene scene("never");
             scene.send("https://news.test/today");
             scene.send("https://example.com/pricing", testing_support::kMailPid);
             scene.send("https://www.wikipedia.org/wiki/Hyperlink", testing_support::kMailPid);
             scene.settle();
             TrayMenu tray(*scene.model, {});
             tray.pinTheme(theme);
             return renderMenu(tray, theme);
         }},
        {"menu-problems", [](const Theme& theme) {
             GuiScene scene("never");
             scene.model->pauseFor(Seconds{3600});
             scene.model->raiseProblem(Problem::profileFailed(testing_support::kSceneChrome));
             scene.model->raiseProblem(Problem::browserGone("com.brave.Browser"));
             scene.fakes.workspace.isDefault = false;
             scene.model->refreshDefaultBrowser();
             scene.temp.write("Pivra/rules.json", "{\n  \"rules\" : [\n");
             scene.model->reloadRules();
             TrayMenu tray(*scene.model, {});
             tray.pinTheme(theme);
             return renderMenu(tray, theme);
         }},
        {"menu-icons", [](const Theme& theme) { return renderIcons(theme, false); }},
        {"menu-icons-problem", [](const Theme& theme) { return renderIcons(theme, true); }},
    };
}

}  // namespace pivra::screens
