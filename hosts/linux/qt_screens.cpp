#include "hosts/linux/qt_screens.hpp"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

#include "gui/screen_coordinates.hpp"

namespace pivra {

namespace {

QRect primaryGeometry() {
    const QScreen* primary = QGuiApplication::primaryScreen();
    return primary ? primary->geometry() : QRect();
}

Screen toScreen(const QScreen& screen, const QRect& primary) {
    return Screen{fromQtRect(screen.geometry(), primary), fromQtRect(screen.availableGeometry(), primary)};
}

}  // namespace

ScreenPoint QtScreens::pointer() const { return fromQtPoint(QCursor::pos(), primaryGeometry()); }

std::vector<Screen> QtScreens::screens() const {
    std::vector<Screen> result;
    const QRect primary = primaryGeometry();
    const QScreen* first = QGuiApplication::primaryScreen();
    if (first) result.push_back(toScreen(*first, primary));
    for (const QScreen* screen : QGuiApplication::screens()) {
        if (screen != first) result.push_back(toScreen(*screen, primary));
    }
    return result;
}

std::optional<Screen> QtScreens::mainScreen() const {
    const QRect primary = primaryGeometry();
    if (const QScreen* under = QGuiApplication::screenAt(QCursor::pos())) return toScreen(*under, primary);
    if (const QScreen* first = QGuiApplication::primaryScreen()) return toScreen(*first, primary);
    return std::nullopt;
}

}  // namespace pivra
