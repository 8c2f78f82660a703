// The Linux host: Qt's event loop with its timers and a socket notifier on
// inotify, a JSON settings file, a log on standard error and programs run
// with posix_spawn.

#include <utility>

#include <QCoreApplication>

#include "app/ports/host.hpp"
#include "hosts/linux/end_signals.hpp"
#include "hosts/linux/inotify_file_watcher.hpp"
#include "hosts/linux/json_file_preferences.hpp"
#include "hosts/linux/linux_app_info.hpp"
#include "hosts/linux/no_dialogs.hpp"
#include "hosts/linux/proc_processes.hpp"
#include "hosts/linux/qt_application.hpp"
#include "hosts/linux/qt_scheduler.hpp"
#include "hosts/linux/stderr_log.hpp"
#include "hosts/linux/system_clock.hpp"
#include "hosts/posix/posix_launcher.hpp"

namespace pivra {
namespace {

constexpr std::string_view kSettingsFileName = "settings.json";

// TODO(this branch): replaced by the GIO workspace and the autostart login
// item before it lands.
class PendingWorkspace final : public Workspace {
public:
    std::optional<std::string> runningApp(pid_t) const override { return std::nullopt; }
    std::optional<std::string> frontmostApp() const override { return std::nullopt; }
    std::optional<InstalledApp> application(std::string_view) const override { return std::nullopt; }
    std::vector<BrowserApp> installedBrowsers() const override { return {}; }
    void open(const std::vector<std::string>&, const InstalledApp&, const OpenOptions&, OpenCompletion) override {}
    bool isDefaultBrowser() const override { return false; }
    void makeDefaultBrowser(std::function<void(bool)>) override {}
};
class PendingLoginItem final : public LoginItem {
public:
    bool isEnabled() const override { return false; }
    bool setEnabled(bool) override { return false; }
};

class LinuxHost final : public Host {
public:
    explicit LinuxHost(const HostOptions& options)
        : log_(options.minimumLogLevel),
          application_(log_),
          preferences_(options.dataFolder / kSettingsFileName, log_) {}

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
                     .loginItem = loginItem_};
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
    PendingWorkspace workspace_;
    ProcProcesses processes_;
    PosixLauncher launcher_{scheduler_};
    NoKeyboard keyboard_;
    LinuxAppInfo appInfo_;
    PendingLoginItem loginItem_;
    bool running_ = false;
    bool stopRequested_ = false;
};

}  // namespace

std::unique_ptr<Host> makeHost(const HostOptions& options) { return std::make_unique<LinuxHost>(options); }

}  // namespace pivra
