#pragma once
// The menu bar item on the Mac: an NSStatusItem whose button shows the
// tray menu's icon as a template image (tinted like the system's own, with
// the problem dot when there are problems) and, on a click, opens the tray
// menu under itself, unless an Option-click paused or resumed instead. The
// decisions are TrayMenu's; this only carries AppKit's click and image.
// Qt's QSystemTrayIcon is not used: it opens a context menu on any left
// click, so an Option-click would never reach the app.

#include <memory>

namespace pivra {
class TrayMenu;
}

namespace pivra::mac {

class StatusItem {
public:
    // Shows the item while the tray menu wants its icon. The menu must outlive the item.
    explicit StatusItem(TrayMenu& tray);
    ~StatusItem();
    StatusItem(const StatusItem&) = delete;
    StatusItem& operator=(const StatusItem&) = delete;

private:
    struct Native;
    std::unique_ptr<Native> native_;
};

}  // namespace pivra::mac
