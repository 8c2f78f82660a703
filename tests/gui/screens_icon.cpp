// The app icon: 1024, 128, 32 and 16 pixels side by side as drawn, and
// below them the 16 and 32 pixel icons enlarged pixel for pixel, on the
// theme's window colour.

#include <QPainter>

#include "gui/icon/app_icon.hpp"
#include "tests/gui/screens.hpp"

namespace pivra::screens {

namespace {

QImage renderAppIcon(const Theme& theme) {
    constexpr int kMargin = 24, kGap = 24, kZoom = 8;
    const std::vector<int> sizes{1024, 128, 32, 16};
    int width = kMargin * 2 - kGap;
    for (const int size : sizes) width += size + kGap;
    const int zoomed = kZoom * (16 + 32) + kGap;
    QImage canvas(width, kMargin * 2 + 1024 + kGap + kZoom * 32, QImage::Format_ARGB32);
    canvas.fill(theme.palette().color(QPalette::Window));
    QPainter painter(&canvas);
    int x = kMargin;
    for (const int size : sizes) {
        // Level with the bottom of the largest, as icons stand in a row.
        painter.drawImage(x, kMargin + 1024 - size, appIcon(size));
        x += size + kGap;
    }
    x = width - kMargin - zoomed;
    const int y = kMargin + 1024 + kGap;
    for (const int size : {32, 16}) {
        const QImage icon = appIcon(size).scaled(size * kZoom, size * kZoom, Qt::IgnoreAspectRatio, Qt::FastTransformation);
        painter.drawImage(x, y, icon);
        x += icon.width() + kGap;
    }
    painter.end();
    return canvas;
}

}  // namespace

std::vector<Shot> iconShots() { return {{"app-icon", renderAppIcon}}; }

}  // namespace pivra::screens
