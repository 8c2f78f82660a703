#include "gui/screen_coordinates.hpp"

#include <cmath>

namespace pivra {

namespace {
// The y of the main screen's bottom edge in Qt's coordinates. QRect's
// bottom() is the last row inside, one above the edge.
int bottomEdge(const QRect& primary) { return primary.y() + primary.height(); }
int rounded(double value) { return static_cast<int>(std::lround(value)); }
}  // namespace

QRect toQtRect(const ScreenRect& rect, const QRect& primary) {
    const int width = rounded(rect.width);
    const int height = rounded(rect.height);
    return {primary.x() + rounded(rect.x), bottomEdge(primary) - rounded(rect.y) - height, width, height};
}

ScreenRect fromQtRect(const QRect& rect, const QRect& primary) {
    return ScreenRect{static_cast<double>(rect.x() - primary.x()),
                      static_cast<double>(bottomEdge(primary) - (rect.y() + rect.height())),
                      static_cast<double>(rect.width()), static_cast<double>(rect.height())};
}

QPoint toQtPoint(ScreenPoint point, const QRect& primary) {
    return {primary.x() + rounded(point.x), bottomEdge(primary) - rounded(point.y)};
}

ScreenPoint fromQtPoint(QPoint point, const QRect& primary) {
    return ScreenPoint{static_cast<double>(point.x() - primary.x()), static_cast<double>(bottomEdge(primary) - point.y())};
}

}  // namespace pivra
