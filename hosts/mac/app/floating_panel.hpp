#pragma once
// The picker's window as the Mac's floating panel. Qt makes a window of
// type Qt::Tool an NSPanel (its QNSPanel); this turns that panel into one
// that takes the keyboard without activating Pivra, so the app the link came
// from stays in front: the non-activating style, floating at the pop-up menu
// level (101), on every space and beside full-screen apps, and not hidden
// when Pivra is not the active app (which it never is).
//
// Limits: AppKit reads the non-activating style most reliably when a panel
// is created with it, and Qt creates the panel itself; and Qt's
// activateWindow, which PickerPanel::show calls, may activate the app. Both
// want a check on a Mac. Where the style does not take, the full answer is a
// panel of our own created with NSWindowStyleMaskNonactivatingPanel that
// hosts the picker's QWidget through QWindow::fromWinId (a foreign window),
// with PickerPanel showing it instead of its own top-level window.

#include <QWidget>

namespace pivra::mac {

// `window` must be a top-level Qt::Tool widget; call again whenever Qt may
// have made a new native window for it (after setWindowFlags).
void makeFloatingPanel(QWidget& window);

}  // namespace pivra::mac
