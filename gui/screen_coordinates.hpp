#pragma once
// Between the app's screen coordinates (points, origin at the bottom-left
// corner of the main screen, y up) and Qt's (logical pixels, origin at the
// top-left of the virtual desktop, y down). `primary` is the main screen's
// geometry in Qt's coordinates: its bottom-left corner is the app's origin.

#include <QPoint>
#include <QRect>

#include "app/ports/screens.hpp"

namespace pivra {

QRect toQtRect(const ScreenRect& rect, const QRect& primary);
ScreenRect fromQtRect(const QRect& rect, const QRect& primary);
QPoint toQtPoint(ScreenPoint point, const QRect& primary);
ScreenPoint fromQtPoint(QPoint point, const QRect& primary);

}  // namespace pivra
