// Pivra.app: the Mac app. One QApplication; the Mac host's ports; the one
// model; the picker as a floating panel, the menu bar item, the settings
// window and onboarding from the shared screens; Pivra's application
// delegate in front of Qt's. What happens when is AppLaunch's to decide:
// launching finished → the move offer or the start; a link → the model (held
// until the start); reopen → the settings; the end → the pending counts.

#include <cstdlib>
#include <memory>

#include <unistd.h>

#import <Foundation/Foundation.h>

#include <QApplication>

#include "app/install/move_to_applications.hpp"
#include "app/model/app_launch.hpp"
#include "app/model/app_model.hpp"
#include "app/model/picker_controller.hpp"
#include "app/ports/host.hpp"
#include "core/files/data_location.hpp"
#include "gui/install/move_prompt.hpp"
#include "gui/menu/tray_menu.hpp"
#include "gui/onboarding/onboarding_window.hpp"
#include "gui/picker/picker_panel.hpp"
#include "gui/settings/settings_window.hpp"
#include "gui/style/theme.hpp"
#include "hosts/mac/app/app_delegate.hpp"
#include "hosts/mac/app/floating_panel.hpp"
#include "hosts/mac/app/status_item.hpp"

namespace {

namespace fs = std::filesystem;

fs::path resolved(NSURL* url) { return fs::path(url.URLByResolvingSymlinksInPath.path.fileSystemRepresentation); }

}  // namespace

int main(int argc, char* argv[]) {
    using namespace pivra;
    // Qt makes a process it starts the active app; Pivra is started by the
    // system for a link, and the app the link came from must stay in front.
    setenv("QT_MAC_DISABLE_FOREGROUND_APPLICATION_TRANSFORM", "1", 1);
    QApplication application(argc, argv);
    // The windows come and go; the app lives on in the menu bar.
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setApplicationName(QStringLiteral("Pivra"));
    const auto quit = [] { QCoreApplication::quit(); };

    const fs::path home = resolved([NSURL fileURLWithPath:NSHomeDirectory() isDirectory:YES]);
    const fs::path bundle = resolved(NSBundle.mainBundle.bundleURL);
    const fs::path temporary = fs::path(NSTemporaryDirectory().fileSystemRepresentation);
    const pid_t process = getpid();

    // The ports first: the model, the move flow and the screens hold them.
    const std::unique_ptr<Host> host = makeHost(HostOptions{fs::path(), LogLevel::info});
    Ports ports = host->ports();
    const bool debugBuild = ports.appInfo.identifier() == kDebugAppIdentifier;
    AppModel model(ports, ModelFolders(dataFolder(home, debugBuild), home));
    MoveToApplications move(ports, bundle, home, process, quit);

    // The screens, before any link can reach the model.
    PickerPanel panel(model, mac::floatingPanelPresenter());
    PickerController controller(model, panel, ports.screens, ports.pasteboard);
    panel.setController(&controller);
    model.setPicker(&controller);
    TrayMenu tray(model, quit);  // its icon goes in the menu bar's status item, made at the start
    std::unique_ptr<mac::StatusItem> statusItem;
    SettingsWindow settings(model);  // takes the model's requests to show a page
    std::unique_ptr<OnboardingWindow> onboarding;

    AppLaunch launch(
        model, move, launchUpdaterSetup(ports.systemInfo, process, temporary, ports.bundleFiles, quit),
        [&] {
            auto* prompt = new MovePromptWindow(move, Theme::system(QString::fromStdString(model.settings().accent())));
            prompt->setAttribute(Qt::WA_DeleteOnClose);
            prompt->show();
            prompt->raise();
            prompt->activateWindow();
        },
        [&] {
            statusItem = std::make_unique<mac::StatusItem>(tray);
            if (OnboardingWindow::isWanted(model)) {
                onboarding = std::make_unique<OnboardingWindow>(model);
                onboarding->show();
            }
        });

    // After the QApplication (whose making installs Qt's delegate) and before
    // exec (whose start finishes launching): see app_delegate.hpp.
    mac::installAppDelegate(mac::AppEvents{
        .link = [&](std::string_view text, pid_t sender) { launch.linkArrived(text, sender); },
        .finishedLaunching = [&] { launch.finishedLaunching(); },
        .reopened = [&] { launch.reopened(); },
    });

    // Quit Pivra, the move's relaunch, an update's relaunch, and the system's
    // quit (logout, Activity Monitor) all end the loop here: Qt answers
    // AppKit's termination request by leaving exec.
    const int status = QApplication::exec();
    launch.terminating();
    model.setPicker(nullptr);
    return status;
}
