#pragma once
// The Mac's port implementations, behind plain C++: the Objective-C++ stays in the .mm files.

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/ports/app_info.hpp"
#include "app/ports/bundle_files.hpp"
#include "app/ports/clock.hpp"
#include "app/ports/code_signing.hpp"
#include "app/ports/dialogs.hpp"
#include "app/ports/file_watcher.hpp"
#include "app/ports/http.hpp"
#include "app/ports/launcher.hpp"
#include "app/ports/keyboard.hpp"
#include "app/ports/log.hpp"
#include "app/ports/login_item.hpp"
#include "app/ports/mail.hpp"
#include "app/ports/pasteboard.hpp"
#include "app/ports/picker_window.hpp"
#include "app/ports/notifications.hpp"
#include "app/ports/preferences.hpp"
#include "app/ports/processes.hpp"
#include "app/ports/scheduler.hpp"
#include "app/ports/screens.hpp"
#include "app/ports/unarchiver.hpp"
#include "app/ports/system_info.hpp"
#include "app/ports/workspace.hpp"

namespace pivra {

// The calendar and time zone the user chose in System Settings.
class MacClock final : public Clock {
public:
    Instant now() const override;
    CalendarDay localDay(Instant instant) const override;
};

// The main dispatch queue; timers are cancellable dispatch blocks.
class DispatchScheduler final : public Scheduler {
public:
    DispatchScheduler();
    ~DispatchScheduler() override;
    void post(Task task) override;
    TaskId runAfter(Seconds delay, Task task) override;
    void cancel(TaskId id) override;

private:
    struct Blocks;
    std::unique_ptr<Blocks> blocks_;
    TaskId nextId_ = 1;
};

// The user defaults domain "app.omra.pivra".
class UserDefaultsPreferences final : public Preferences {
public:
    UserDefaultsPreferences();
    ~UserDefaultsPreferences() override;
    std::optional<PreferenceValue> value(std::string_view key) const override;
    void setValue(std::string_view key, PreferenceValue value) override;
    void removeValue(std::string_view key) override;

private:
    struct Defaults;
    std::unique_ptr<Defaults> defaults_;
};

// File-system object event sources on descriptors opened with O_EVTONLY,
// delivered on the main queue.
class DispatchFileWatcher final : public FileWatcher {
public:
    DispatchFileWatcher();
    ~DispatchFileWatcher() override;
    std::optional<WatchId> watchFolder(const std::filesystem::path& folder, Handler handler) override;
    std::optional<WatchId> watchFile(const std::filesystem::path& file, Handler handler) override;
    void stop(WatchId id) override;

private:
    struct Sources;
    std::optional<WatchId> add(const std::filesystem::path& path, bool folder, Handler handler);
    std::unique_ptr<Sources> sources_;
    WatchId nextId_ = 1;
};

// The unified log, subsystem "app.omra.pivra", one log object per category.
// Lines below the minimum level are left out.
class UnifiedLog final : public Log {
public:
    explicit UnifiedLog(LogLevel minimumLevel = LogLevel::debug);
    ~UnifiedLog() override;
    void write(LogLevel level, std::string_view category, const LogMessage& message) override;

private:
    struct Logs;
    std::unique_ptr<Logs> logs_;
    LogLevel minimumLevel_;
};

// NSSavePanel and NSOpenPanel; without a running application (the command
// line) every request ends as if cancelled.
class PanelDialogs final : public Dialogs {
public:
    void chooseSaveLocation(const SavePanelRequest& request, Completion completion) override;
    void chooseFileToOpen(const OpenPanelRequest& request, Completion completion) override;
};

// NSWorkspace, NSRunningApplication and Launch Services, with this app's identity from `self`.
class MacWorkspace final : public Workspace {
public:
    explicit MacWorkspace(const AppInfo& self) : self_(self) {}
    std::optional<std::string> runningApp(pid_t pid) const override;
    std::vector<pid_t> runningProcesses(std::string_view id) const override;
    std::optional<std::string> frontmostApp() const override;
    std::optional<InstalledApp> application(std::string_view id) const override;
    std::vector<BrowserApp> installedBrowsers() const override;
    void open(const std::vector<std::string>& links, const InstalledApp& app, const OpenOptions& options,
              OpenCompletion completion) override;
    bool isDefaultBrowser() const override;
    void makeDefaultBrowser(std::function<void(bool)> completion) override;

private:
    const AppInfo& self_;
};

// The kernel's process table, through sysctl(CTL_KERN, KERN_PROC, KERN_PROC_PID).
class SysctlProcesses final : public Processes {
public:
    std::optional<pid_t> parent(pid_t pid) const override;
};

// NSEvent's modifier flags, which read the keyboard itself at the moment of the call.
class MacKeyboard final : public Keyboard {
public:
    ModifierKeys modifiers() const override;
};

// The main bundle's Info.plist; outside a bundle (the command-line tool) the build's own identity.
class BundleAppInfo final : public AppInfo {
public:
    std::string identifier() const override;
    std::string version() const override;
    std::string build() const override;
    std::filesystem::path location() const override;
};

// SMAppService's main app service: the app itself as a login item (macOS 13 and later).
class ServiceLoginItem final : public LoginItem {
public:
    bool isEnabled() const override;
    bool setEnabled(bool enabled) override;
};

// NSPasteboard's general pasteboard, as plain text (NSPasteboardTypeString).
class GeneralPasteboard final : public Pasteboard {
public:
    void putText(std::string_view text) override;
};

// NSEvent's mouse location and NSScreen's screens, in AppKit's global
// coordinates; without a window server (a command line over SSH) no screens.
class AppKitScreens final : public Screens {
public:
    ScreenPoint pointer() const override;
    std::vector<Screen> screens() const override;
    std::optional<Screen> mainScreen() const override;
};

// The picker panel (a non-activating NSPanel with the picker view) is not
// built yet: this one is never shown, so the host sets no picker on the model
// and links meant for it close without a choice.
class UnbuiltPickerWindow final : public PickerWindow {
public:
    void setHooks(KeyHook, FocusLostHook) override {}
    ScreenSize fittingSize() override { return {400, 10}; }
    void show(ScreenRect) override {}
    void close() override {}
    bool isVisible() const override { return false; }
};

// UNUserNotificationCenter, with a delegate that shows notifications while
// the app is in front too and hands clicks back on the main queue. The
// centre exists only for a bundled app: without a bundle identifier (the
// command-line tool) the status is unavailable and every request fails.
class UserNotifications final : public Notifications {
public:
    UserNotifications();
    ~UserNotifications() override;
    UserNotifications(const UserNotifications&) = delete;
    UserNotifications& operator=(const UserNotifications&) = delete;

    void requestAuthorization(Completion done) override;
    void readStatus(std::function<void(NotificationStatus)> done) override;
    void post(const NotificationContent& content, Completion done) override;
    void remove(const std::vector<std::string>& identifiers) override;
    void setOnClick(std::function<void(std::string page)> handler) override;

private:
    struct Center;
    std::unique_ptr<Center> center_;
};

// NSFileManager for copies, moves and the Trash; removexattr with
// XATTR_NOFOLLOW for attributes.
class FileManagerBundleFiles final : public BundleFiles {
public:
    FileError copyBundle(const std::filesystem::path& from, const std::filesystem::path& to) override;
    std::expected<std::filesystem::path, std::string> moveToTrash(const std::filesystem::path& item) override;
    FileError removeAttributeEverywhere(const std::filesystem::path& root, std::string_view name) override;
    bool isWritableFolder(const std::filesystem::path& folder) const override;
    bool exists(const std::filesystem::path& path) const override;
    FileError createFolders(const std::filesystem::path& folder) override;
    FileError move(const std::filesystem::path& from, const std::filesystem::path& to) override;
    FileError remove(const std::filesystem::path& item) override;
};

// An ephemeral NSURLSession: no URL cache, caches ignored, no cookie
// storage and no cookies set, no credential storage, "User-Agent: Pivra",
// 30 s without data fails a request. Its delegate refuses every redirect,
// so a 3xx answer comes back as it is; links other than plain https (a user
// or password in them included) fail without a request. Results go to the
// main thread through `scheduler`, which must outlive this object.
class UrlSessionHttp final : public Http {
public:
    explicit UrlSessionHttp(Scheduler& scheduler);
    // Cancels the transfers in flight; their completions never run.
    ~UrlSessionHttp() override;
    UrlSessionHttp(const UrlSessionHttp&) = delete;
    UrlSessionHttp& operator=(const UrlSessionHttp&) = delete;

    void get(const std::string& url, std::uint64_t maxBodySize, std::function<void(HttpAnswer)> completion) override;
    void download(const std::string& url, const std::filesystem::path& file, std::uint64_t maxSize,
                  std::function<void(HttpDownload)> completion) override;

private:
    struct Session;
    std::unique_ptr<Session> session_;
};

// "/usr/bin/ditto -x -k archive folder" through the launcher, into a hidden
// folder beside the destination that is renamed into place once ditto has
// succeeded and no link in it leads outside it or to an absolute path.
class DittoUnarchiver final : public Unarchiver {
public:
    // `launcher` and `scheduler` must outlive this object.
    DittoUnarchiver(Launcher& launcher, Scheduler& scheduler);
    ~DittoUnarchiver() override;
    void unpack(const std::filesystem::path& archive, const std::filesystem::path& folder,
                Completion completion) override;

private:
    Launcher& launcher_;
    Scheduler& scheduler_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

// The Security framework's static code checks (see code_signature.hpp).
class SecurityCodeSigning final : public CodeSigning {
public:
    std::optional<std::int32_t> check(const std::filesystem::path& bundle, std::string_view requirement) const override;
};

// NSProcessInfo's operating-system version and the kernel's "hw.model".
class MacSystemInfo final : public SystemInfo {
public:
    std::string systemName() const override;
    std::string systemVersion() const override;
    std::string machineModel() const override;
};

// The sharing service that composes an e-mail in the user's mail app (Mail,
// or the one chosen in its settings). Without a mail account it cannot
// perform, and the answer is false.
class SharingServiceMail final : public Mail {
public:
    void compose(const MailMessage& message, Completion completion) override;
};

}  // namespace pivra
