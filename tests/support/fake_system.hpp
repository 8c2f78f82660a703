#pragma once
// Stand-ins for the ports that reach the operating system's apps and
// processes: a scripted workspace, process table, launcher, keyboard, app
// identity, login item, notification centre, system description and mail app. Completions go through the scheduler, as the real
// ones do, so a test decides when they run.

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "app/ports/app_info.hpp"
#include "app/ports/code_signing.hpp"
#include "app/ports/http.hpp"
#include "app/ports/keyboard.hpp"
#include "app/ports/launcher.hpp"
#include "app/ports/login_item.hpp"
#include "app/ports/mail.hpp"
#include "app/ports/pasteboard.hpp"
#include "app/ports/picker_window.hpp"
#include "app/ports/notifications.hpp"
#include "app/ports/processes.hpp"
#include "app/ports/scheduler.hpp"
#include "app/ports/screens.hpp"
#include "app/ports/unarchiver.hpp"
#include "app/ports/system_info.hpp"
#include "app/ports/workspace.hpp"

namespace pivra::testing_support {

class FakeWorkspace final : public Workspace {
public:
    explicit FakeWorkspace(Scheduler& scheduler) : scheduler_(scheduler) {}

    std::optional<std::string> runningApp(pid_t pid) const override;
    std::vector<pid_t> runningProcesses(std::string_view id) const override;
    std::optional<std::string> frontmostApp() const override { return frontmost; }
    std::optional<InstalledApp> application(std::string_view id) const override;
    std::vector<BrowserApp> installedBrowsers() const override { return browsers; }
    void open(const std::vector<std::string>& links, const InstalledApp& app, const OpenOptions& options,
              OpenCompletion completion) override;
    bool isDefaultBrowser() const override { return isDefault; }
    void makeDefaultBrowser(std::function<void(bool)> completion) override;

    // Installs an app at "/Applications/<name>.app" unless a location is given.
    InstalledApp& install(const std::string& id, const std::string& name, std::filesystem::path location = {});

    struct OpenCall {
        std::vector<std::string> links;
        InstalledApp app;
        OpenOptions options;
    };

    std::map<pid_t, std::string> running;         // process id → app identifier
    std::optional<std::string> frontmost;
    std::map<std::string, InstalledApp, std::less<>> installed;
    std::vector<BrowserApp> browsers;
    std::map<std::string, std::string> failingOpens;  // app identifier → the error its opens report
    bool isDefault = true;
    bool userAcceptsDefault = true;                   // the answer to makeDefaultBrowser
    std::vector<OpenCall> opens;

private:
    Scheduler& scheduler_;
};

class FakeProcesses final : public Processes {
public:
    std::optional<pid_t> parent(pid_t pid) const override;
    std::map<pid_t, pid_t> parents;  // child → parent; a process not listed cannot be inspected
};

// Programs behave as scripted, in the scheduler's time: one that runs for
// longer than the request's time-out times out (or is left running) then.
class ScriptedLauncher final : public Launcher {
public:
    struct Program {
        bool exists = true;
        int status = 0;
        Seconds runs{0};  // how long it runs before it exits
        bool hangs = false;
        std::string output;  // handed back when the request captures it

        static Program exits(int status, Seconds after = Seconds{0}) { return {true, status, after, false, {}}; }
        static Program hanging() { return {true, 0, Seconds{0}, true, {}}; }
        static Program missing() { return {false, 0, Seconds{0}, false, {}}; }
        static Program printing(std::string output) { return {true, 0, Seconds{0}, false, std::move(output)}; }
    };

    explicit ScriptedLauncher(Scheduler& scheduler) : scheduler_(scheduler) {}
    void launch(const LaunchRequest& request, std::function<void(LaunchResult)> completion) override;

    std::map<std::string, Program> programs;   // by program path; one not listed exits 0 at once
    std::vector<LaunchRequest> requests;

private:
    Scheduler& scheduler_;
};

class FakeKeyboard final : public Keyboard {
public:
    ModifierKeys modifiers() const override { return held; }
    ModifierKeys held;
};

class FakeAppInfo final : public AppInfo {
public:
    std::string identifier() const override { return id; }
    std::string version() const override { return versionText; }
    std::string build() const override { return buildText; }
    std::filesystem::path location() const override { return path; }

    std::string id = "app.omra.pivra";
    std::string versionText = "1.0";
    std::string buildText = "100";
    std::filesystem::path path = "/Applications/Pivra.app";
};

class FakeLoginItem final : public LoginItem {
public:
    bool isEnabled() const override { return enabled; }
    bool setEnabled(bool value) override;
    bool enabled = false;
    bool refuses = false;
};

class FakePasteboard final : public Pasteboard {
public:
    void putText(std::string_view text) override { texts.emplace_back(text); }
    std::vector<std::string> texts;  // every text put, in order
};

class FakeScreens final : public Screens {
public:
    ScreenPoint pointer() const override { return pointerAt; }
    std::vector<Screen> screens() const override { return all; }
    std::optional<Screen> mainScreen() const override { return main; }

    ScreenPoint pointerAt;
    std::vector<Screen> all;
    std::optional<Screen> main;
};

// A panel that is "on screen" between show and close; a test plays the user
// with press and loseFocus, which go through the hooks as the real panel's do.
class FakePickerWindow final : public PickerWindow {
public:
    void setHooks(KeyHook onKey, FocusLostHook onFocusLost) override {
        keyHook = std::move(onKey);
        focusLostHook = std::move(onFocusLost);
    }
    ScreenSize fittingSize() override { return size; }
    void show(ScreenRect frame) override {
        frames.push_back(frame);
        visible = true;
    }
    void close() override {
        visible = false;
        ++closes;
    }
    bool isVisible() const override { return visible; }

    // Whether the picker handled the key; false with no hook set.
    bool press(int keyCode, std::string characters = {}, bool command = false) {
        return keyHook ? keyHook(PickerKey{keyCode, std::move(characters), command}) : false;
    }
    void loseFocus() {
        if (focusLostHook) focusLostHook();
    }

    KeyHook keyHook;
    FocusLostHook focusLostHook;
    ScreenSize size{400, 300};
    std::vector<ScreenRect> frames;  // where each show put the panel
    bool visible = false;
    int closes = 0;
};

// Records what is posted and withdrawn; completions go through the
// scheduler. A post fails with `postError` while that is set, or when the
// status is denied or unavailable.
class RecordingNotifications final : public Notifications {
public:
    explicit RecordingNotifications(Scheduler& scheduler) : scheduler_(scheduler) {}

    void requestAuthorization(Completion done) override;
    void readStatus(std::function<void(NotificationStatus)> done) override;
    void post(const NotificationContent& content, Completion done) override;
    void remove(const std::vector<std::string>& identifiers) override;
    void setOnClick(std::function<void(std::string page)> handler) override { onClick_ = std::move(handler); }

    // The user clicks the notification shown under `identifier`: the handler
    // gets its page, at once. False when none is shown under it.
    bool click(const std::string& identifier);

    NotificationStatus status = NotificationStatus::notDetermined;
    bool userAllows = true;  // the answer to requestAuthorization when not yet determined
    std::optional<std::string> postError;
    std::vector<NotificationContent> posts;                   // every post, in order
    std::vector<std::string> removals;                        // every identifier withdrawn, in order
    std::map<std::string, NotificationContent> shown;         // by identifier: what is on screen
    int authorizationRequests = 0;

private:
    Scheduler& scheduler_;
    std::function<void(std::string)> onClick_;
};

// Answers from a script by link; a link not scripted fails as a server that
// can't be reached would. A download of a 2xx answer writes the body to the file.
class ScriptedHttp final : public Http {
public:
    struct Reply {
        int status = 200;
        std::string body;
        std::optional<std::string> error;  // a transfer that fails with this text
    };

    explicit ScriptedHttp(Scheduler& scheduler) : scheduler_(scheduler) {}
    void get(const std::string& url, std::uint64_t maxBodySize, std::function<void(HttpAnswer)> completion) override;
    void download(const std::string& url, const std::filesystem::path& file, std::uint64_t maxSize,
                  std::function<void(HttpDownload)> completion) override;

    std::map<std::string, Reply> replies;
    std::vector<std::string> requests;  // every link asked for, in order

private:
    Scheduler& scheduler_;
};

// A Mac's answers by default.
class FakeSystemInfo final : public SystemInfo {
public:
    std::string systemName() const override { return name; }
    std::string systemVersion() const override { return version; }
    std::string machineModel() const override { return model; }

    std::string name = "macOS";
    std::string version = "14.5";
    std::string model = "Mac14,2";
};

// Records each message; the completion, through the scheduler, says
// `composes` (false: no mail app is set up).
class RecordingMail final : public Mail {
public:
    explicit RecordingMail(Scheduler& scheduler) : scheduler_(scheduler) {}
    void compose(const MailMessage& message, Completion completion) override;

    bool composes = true;
    std::vector<MailMessage> messages;

private:
    Scheduler& scheduler_;
};

// Unpacks nothing: makes the folder and lets `contents` fill it, or fails with `failure`.
class ScriptedUnarchiver final : public Unarchiver {
public:
    explicit ScriptedUnarchiver(Scheduler& scheduler) : scheduler_(scheduler) {}
    void unpack(const std::filesystem::path& archive, const std::filesystem::path& folder, Completion completion) override;

    std::optional<std::string> failure;
    std::function<void(const std::filesystem::path& folder)> contents;
    std::vector<std::filesystem::path> archives;

private:
    Scheduler& scheduler_;
};

// Every bundle is signed as required unless `status` says otherwise. Set it
// before the check runs: checks come from a thread of their own.
class FakeCodeSigning final : public CodeSigning {
public:
    std::optional<std::int32_t> check(const std::filesystem::path&, std::string_view) const override { return status; }
    std::optional<std::int32_t> status;
};

}  // namespace pivra::testing_support
