// The Linux host: Qt's event loop with its timers and a socket notifier on
// inotify, a JSON settings file, a log on standard error, the desktop's apps,
// default browser and autostart through GIO, programs run with posix_spawn,
// notifications through the desktop's notification server on D-Bus, bundle
// files on POSIX calls with GIO's Trash, HTTPS through libcurl, zip archives
// through libzip, the system described by os-release, and mail through
// xdg-email.

#include <utility>

#include <QCoreApplication>

#include "app/ports/host.hpp"
#include "core/files/data_location.hpp"
#include "hosts/linux/autostart_login_item.hpp"
#include "hosts/linux/curl_http.hpp"
#include "hosts/linux/end_signals.hpp"
#include "hosts/linux/freedesktop_notifications.hpp"
#include "hosts/linux/gio_bundle_files.hpp"
#include "hosts/linux/gio_workspace.hpp"
#include "hosts/linux/inotify_file_watcher.hpp"
#include "hosts/linux/json_file_preferences.hpp"
#include "hosts/linux/libzip_unarchiver.hpp"
#include "hosts/linux/linux_app_info.hpp"
#include "hosts/linux/no_dialogs.hpp"
#include "hosts/linux/no_display.hpp"
#include "hosts/linux/os_release_system_info.hpp"
#include "hosts/linux/proc_processes.hpp"
#include "hosts/linux/qt_application.hpp"
#include "hosts/linux/qt_scheduler.hpp"
#include "hosts/linux/stderr_log.hpp"
#include "hosts/linux/system_clock.hpp"
#include "hosts/linux/unsigned_code_signing.hpp"
#include "hosts/linux/xdg_email_mail.hpp"
#include "hosts/posix/posix_launcher.hpp"

namespace pivra {
namespace {

class LinuxHost final : public Host {
public:
    explicit LinuxHost(const HostOptions& options)
        : log_(options.minimumLogLevel),
          application_(log_),
          preferences_(options.dataFolder / kSettingsFileName, log_),
          workspace_(scheduler_, appInfo_.identifier()),
          loginItem_(AutostartLoginItem::userAutostartFolder(), AutostartLoginItem::systemAutostartFolders(),
                     appInfo_.location(), appInfo_.identifier()),
          keyboard_(options.keyboard ? *options.keyboard : noKeyboard_),
          pasteboard_(options.pasteboard ? *options.pasteboard : noPasteboard_),
          screens_(options.screens ? *options.screens : noScreens_) {}

    Ports ports() override {
        return Ports{.clock = clock_,
                     .scheduler = scheduler_,
                     .preferences = preferences_,
                     .fileWatcher = watcher_,
                     .log = log_,
                     .dialogs = dialogs_,
                     .workspace = workspace_,
                     .processes = processes_,
                     .launcher = launcher_,
                     .keyboard = keyboard_,
                     .appInfo = appInfo_,
                     .loginItem = loginItem_,
                     .pasteboard = pasteboard_,
                     .screens = screens_,
                     .pickerWindow = pickerWindow_,
                     .notifications = notifications_,
                     .bundleFiles = bundleFiles_,
                     .http = http_,
                     .unarchiver = unarchiver_,
                     .codeSigning = codeSigning_,
                     .systemInfo = systemInfo_,
                     .mail = mail_};
    }

    void run() override {
        // A stop asked for before run (by start-up code) ends it at once.
        if (std::exchange(stopRequested_, false)) return;
        EndSignals endSignals([this] { stop(); });
        if (!endSignals.catching()) {
            log_.write(LogLevel::error, "host", "Can’t catch SIGINT and SIGTERM; either ends the process at once");
        }
        running_ = true;
        // The application's own loop, so that a desktop app quitting (its
        // last window closed, say) ends the run as well.
        QCoreApplication::exec();
        running_ = false;
    }

    void stop() override {
        if (running_) {
            QCoreApplication::exit(0);
        } else {
            stopRequested_ = true;
        }
    }

private:
    SystemClock clock_;
    StderrLog log_;             // first of what Qt's messages and the preferences report to
    QtApplication application_;  // before, and gone after, every part that uses Qt
    QtScheduler scheduler_;
    JsonFilePreferences preferences_;
    InotifyFileWatcher watcher_;
    NoDialogs dialogs_;
    LinuxAppInfo appInfo_;      // before the parts that are told who this app is
    GioWorkspace workspace_;
    ProcProcesses processes_;
    PosixLauncher launcher_{scheduler_};
    NoKeyboard noKeyboard_;
    AutostartLoginItem loginItem_;
    // Without a display the program supplies none of these and sets no
    // picker on the model; the panel is the program's, so this only fills the port.
    NoPasteboard noPasteboard_;
    NoScreens noScreens_;
    NoPickerWindow pickerWindow_;
    Keyboard& keyboard_;
    Pasteboard& pasteboard_;
    Screens& screens_;
    GioBundleFiles bundleFiles_;
    FreedesktopNotifications notifications_;  // on the session bus, under the app's name and icon
    CurlHttp http_{scheduler_};
    LibzipUnarchiver unarchiver_{scheduler_};
    UnsignedCodeSigning codeSigning_;
    OsReleaseSystemInfo systemInfo_;
    XdgEmailMail mail_{launcher_, scheduler_};  // the desktop's mailto app, through xdg-email
    bool running_ = false;
    bool stopRequested_ = false;
};

}  // namespace

std::unique_ptr<Host> makeHost(const HostOptions& options) { return std::make_unique<LinuxHost>(options); }

}  // namespace pivra
