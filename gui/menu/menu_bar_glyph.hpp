#pragma once
// The menu bar's glyphs, drawn in one colour: the app's own and the choices
// the "menuBarIcon" setting offers, with a dot in a corner while there are
// problems. The tray icon and the icon chooser of the settings draw them.

#include <QColor>
#include <QIcon>
#include <QPixmap>

#include "app/storage/preference_enums.hpp"

namespace pivra {

// `size` in logical pixels; `devicePixelRatio` for sharp drawing on dense screens.
QPixmap menuBarGlyph(MenuBarIcon icon, int size, const QColor& color, bool problemDot = false,
                     qreal devicePixelRatio = 1.0);
// The glyph at the sizes a tray asks for (16 to 64), marked as a mask so
// that a Mac tints it like its own menu bar symbols.
QIcon menuBarIcon(MenuBarIcon icon, const QColor& color, bool problemDot = false);

}  // namespace pivra
