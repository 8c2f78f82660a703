#pragma once
// The menu bar's glyphs, drawn in one colour: the app's own and the choices
// the "menuBarIcon" setting offers, with a dot in a corner while there are
// problems. The tray icon and the icon chooser of the settings draw them; the
// app icon draws the app's own mark.

#include <QColor>
#include <QIcon>
#include <QPixmap>

class QPainter;

#include "app/storage/preference_enums.hpp"

namespace pivra {

// The app's own mark on a 16 × 16 grid (the painter scaled to it), filling
// about (1.3, 2.1)–(14.8, 13.9): strokes of `penWidth` grid units in `color`.
void drawPivraMark(QPainter& painter, const QColor& color, qreal penWidth = 1.5);

// `size` in logical pixels; `devicePixelRatio` for sharp drawing on dense screens.
QPixmap menuBarGlyph(MenuBarIcon icon, int size, const QColor& color, bool problemDot = false,
                     qreal devicePixelRatio = 1.0);
// The glyph at the sizes a tray asks for (16 to 64), marked as a mask so
// that a Mac tints it like its own menu bar symbols.
QIcon menuBarIcon(MenuBarIcon icon, const QColor& color, bool problemDot = false);

}  // namespace pivra
