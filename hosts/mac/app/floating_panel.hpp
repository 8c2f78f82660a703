#pragma once
// The picker's panel on the Mac: a panel of our own, created non-activating,
// that takes the keyboard without activating Pivra, so the app the link came
// from stays in front. It floats at the pop-up menu level (101), on every
// space and beside full-screen apps, with a clear background and a shadow,
// and hosts the picker's view: the view's native NSView (QWidget::winId) is
// its content view, which Qt supports as a view embedded in a foreign window.
// Qt then shows it with makeKeyAndOrderFront (never activating the app, as
// QWidget::raise and activateWindow would) and hears the panel's key status
// for the view's focus.

#include <memory>

#include "gui/picker/picker_panel.hpp"

namespace pivra::mac {

std::unique_ptr<PanelPresenter> floatingPanelPresenter();

}  // namespace pivra::mac
