#include "cli/desktop_display.hpp"

#include <cstdlib>

#include <QApplication>
#include <QSystemTrayIcon>

#include "app/model/app_model.hpp"
#include "app/model/picker_controller.hpp"
#include "gui/icon/app_icon.hpp"
#include "gui/menu/tray_menu.hpp"
#include "gui/onboarding/onboarding_window.hpp"
#include "gui/settings/settings_window.hpp"
#include "gui/picker/picker_panel.hpp"
#include "hosts/linux/qt_dialogs.hpp"
#include "hosts/linux/qt_keyboard.hpp"
#include "hosts/linux/qt_pasteboard.hpp"
#include "hosts/linux/qt_screens.hpp"

namespace pivra::cli {

namespace {

bool isSet(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0';
}

class AttachedScreens final : public DesktopScreens {
public:
    AttachedScreens(AppModel& model, Log& log, Screens& screens, Pasteboard& pasteboard, std::function<void()> quit)
        : model_(model),
          panel_(model),
          controller_(model, panel_, screens, pasteboard),
          tray_(model, std::move(quit)),
          settings_(model) {
        panel_.setController(&controller_);
        model_.setPicker(&controller_);
        if (!tray_.showInTray()) {
            log.write(LogLevel::notice, "app", "The desktop has no system tray; Pivra runs without its menu");
        }
    }

    void started() override {
        // The first run opens onboarding; without a tray to reach the
        // settings from, a later start opens the settings window.
        if (OnboardingWindow::isWanted(model_)) {
            onboarding_ = std::make_unique<OnboardingWindow>(model_);
            onboarding_->show();
        } else if (!QSystemTrayIcon::isSystemTrayAvailable()) {
            settings_.present(model_.settingsPage());
        }
    }
    ~AttachedScreens() override { model_.setPicker(nullptr); }

private:
    AppModel& model_;
    PickerPanel panel_;
    PickerController controller_;
    TrayMenu tray_;
    SettingsWindow settings_;  // takes the model's requests to show a page
    std::unique_ptr<OnboardingWindow> onboarding_;
};

}  // namespace

bool hasDisplay() { return isSet("DISPLAY") || isSet("WAYLAND_DISPLAY"); }

struct DesktopDisplay::Parts {
    // Qt keeps references to both for the application's life.
    int argc = 1;
    char name[6] = "pivra";
    char* argv[2] = {name, nullptr};
    QApplication application{argc, argv};
    QtKeyboard keyboard;
    QtPasteboard pasteboard;
    QtScreens screens;
    QtDialogs dialogs;
};

DesktopDisplay::DesktopDisplay() : parts_(std::make_unique<Parts>()) {
    // The picker's window comes and goes; the app runs on without windows.
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setApplicationName(QStringLiteral("Pivra"));
    // Every window's icon, where the desktop shows one (title bars, task
    // bars, the window switcher); the installed entry names the same icon.
    QApplication::setWindowIcon(appIconSet());
}

DesktopDisplay::~DesktopDisplay() = default;

void DesktopDisplay::supplyPorts(HostOptions& options) {
    options.keyboard = &parts_->keyboard;
    options.pasteboard = &parts_->pasteboard;
    options.screens = &parts_->screens;
    options.dialogs = &parts_->dialogs;
}

std::unique_ptr<DesktopScreens> DesktopDisplay::attach(AppModel& model, Log& log, std::function<void()> quit) {
    return std::make_unique<AttachedScreens>(model, log, parts_->screens, parts_->pasteboard, std::move(quit));
}

}  // namespace pivra::cli
