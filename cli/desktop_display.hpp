#pragma once
// The desktop app's screens, where there is a display: a QApplication made
// before the host, the display's ports the host takes in place of its own,
// and, once the model exists, the picker panel, the tray menu, the settings
// window and onboarding.

#include <functional>
#include <memory>

#include "app/ports/host.hpp"

namespace pivra {
class AppModel;
}

namespace pivra::cli {

// Whether the session has a display to draw on (DISPLAY or WAYLAND_DISPLAY).
bool hasDisplay();

// What lives from the model's start to its end: the picker set on the
// model, the tray, the settings window and onboarding. Destroy it before the
// model: links still waiting in the picker then complete without a choice.
class DesktopScreens {
public:
    virtual ~DesktopScreens() = default;
    // Once the model has started: onboarding on the first run.
    virtual void started() = 0;
};

class DesktopDisplay {
public:
    // Makes the QApplication; call before the host is made.
    DesktopDisplay();
    ~DesktopDisplay();
    DesktopDisplay(const DesktopDisplay&) = delete;
    DesktopDisplay& operator=(const DesktopDisplay&) = delete;

    // The clipboard, the screens and the modifier keys through Qt.
    void supplyPorts(HostOptions& options);
    // The picker panel (set on the model), the tray menu and the settings
    // window (the model's requests to show a page); `quit` ends the app. A
    // desktop without a tray is reported to `log`.
    std::unique_ptr<DesktopScreens> attach(AppModel& model, Log& log, std::function<void()> quit);

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

}  // namespace pivra::cli
