// The Mac host: the main dispatch queue and run loop, user defaults, vnode
// sources, the unified log, AppKit's panels and workspace, the kernel's
// process table, child processes, the keyboard's state, the main bundle, the
// login item service, the general pasteboard, the screens, the user
// notification centre, the file manager, an ephemeral URL session, ditto,
// code signing, the system's version and model, and the compose-e-mail
// sharing service.

#include <csignal>
#include <vector>

#import <Foundation/Foundation.h>
#include <dispatch/dispatch.h>

#include "app/ports/host.hpp"
#include "hosts/mac/mac_ports.hpp"
#include "hosts/posix/posix_launcher.hpp"

namespace pivra {
namespace {

class MacHost final : public Host {
public:
    explicit MacHost(const HostOptions& options) : log_(options.minimumLogLevel) {}

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
        // SIGINT and SIGTERM end the loop instead of the process, so that
        // pending saves can run after run returns.
        for (int signalNumber : {SIGINT, SIGTERM}) {
            std::signal(signalNumber, SIG_IGN);
            dispatch_source_t source = dispatch_source_create(DISPATCH_SOURCE_TYPE_SIGNAL,
                                                              static_cast<uintptr_t>(signalNumber), 0,
                                                              dispatch_get_main_queue());
            dispatch_source_set_event_handler(source, ^{
              CFRunLoopStop(CFRunLoopGetMain());
            });
            dispatch_resume(source);
            signals_.push_back(source);
        }
        CFRunLoopRun();
        for (dispatch_source_t source : signals_) dispatch_source_cancel(source);
        signals_.clear();
    }

    void stop() override { CFRunLoopStop(CFRunLoopGetMain()); }

private:
    MacClock clock_;
    DispatchScheduler scheduler_;
    UserDefaultsPreferences preferences_;
    DispatchFileWatcher watcher_;
    UnifiedLog log_;
    PanelDialogs dialogs_;
    // Each after what it refers to: the workspace to the app's identity, the
    // launcher to the scheduler.
    BundleAppInfo appInfo_;
    MacWorkspace workspace_{appInfo_};
    SysctlProcesses processes_;
    PosixLauncher launcher_{scheduler_};
    MacKeyboard keyboard_;
    ServiceLoginItem loginItem_;
    GeneralPasteboard pasteboard_;
    AppKitScreens screens_;
    UnbuiltPickerWindow pickerWindow_;
    FileManagerBundleFiles bundleFiles_;
    UserNotifications notifications_;  // its delegate set before the run, so a click that launched the app is heard
    UrlSessionHttp http_{scheduler_};
    DittoUnarchiver unarchiver_{launcher_, scheduler_};
    SecurityCodeSigning codeSigning_;
    MacSystemInfo systemInfo_;
    SharingServiceMail mail_;
    std::vector<dispatch_source_t> signals_;
};

}  // namespace

// The data folder is the Application Support folder the app computes itself;
// preferences live in the user defaults of the app's domain, whatever the home
// folder given, not in a file there.
std::unique_ptr<Host> makeHost(const HostOptions& options) { return std::make_unique<MacHost>(options); }

}  // namespace pivra
