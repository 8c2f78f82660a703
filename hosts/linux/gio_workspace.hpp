#pragma once
// The workspace on GIO: installed apps are the desktop entries (the
// "applications" folders of $XDG_DATA_HOME and $XDG_DATA_DIRS), launching and
// the default browser go through GIO and the user's mimeapps.list, as the
// desktop environments themselves do. GIO reads the XDG variables once, when
// first used; they do not change for the life of the process. Main thread only.

#include <filesystem>
#include <memory>
#include <string>

#include "app/ports/scheduler.hpp"
#include "app/ports/workspace.hpp"

namespace pivra {

class GioWorkspace final : public Workspace {
public:
    // `ownId` is this app's desktop-file id without ".desktop" ("app.omra.pivra"):
    // the entry that becomes the default browser, and is never listed as one.
    // Completions are posted to `scheduler`. `procRoot` is "/proc" except in tests.
    GioWorkspace(Scheduler& scheduler, std::string ownId, std::filesystem::path procRoot = "/proc");
    ~GioWorkspace() override;
    GioWorkspace(const GioWorkspace&) = delete;
    GioWorkspace& operator=(const GioWorkspace&) = delete;

    // First from the systemd unit that the desktop started the process in
    // (its cgroup), which holds the app's desktop-file id; else the entry whose
    // program is the process's executable. Absent for launcher layers (a
    // shell, xdg-open, env, flatpak, an interpreter: see isLauncherLayer) that
    // no app unit holds, so that the caller goes on to the parent process.
    // Which entry runs which program is read from every installed entry once,
    // then kept until GIO says the installed apps changed (GAppInfoMonitor,
    // told on the main thread's GLib context, which Qt's loop runs). A process
    // running this app's own program is this app (`ownId`).
    std::optional<std::string> runningApp(pid_t pid) const override;

    // The processes whose executable is the program of the entry "<id>.desktop",
    // links resolved; none when no such entry is installed.
    std::vector<pid_t> runningProcesses(std::string_view id) const override;

    // Linux has no notion of the app in front that works without a window
    // system's own protocol (X11 and Wayland differ, and Wayland tells only
    // the focused window itself): always absent.
    std::optional<std::string> frontmostApp() const override;

    // The desktop entry "<id>.desktop". An entry with Hidden=true is deleted as
    // far as the desktop is concerned (and masks one of the same id further
    // down the folders): absent, as is one whose program is not on PATH, which
    // GIO does not load. NoDisplay entries are installed apps.
    std::optional<InstalledApp> application(std::string_view id) const override;

    // The entries that open https links: those GIO associates with the type
    // (mimeinfo.cache, mimeapps.list), and those whose MimeType says so, since
    // GIO reads MimeType lines only through a folder's mimeinfo.cache, which
    // the user's own folder often lacks. NoDisplay entries are listed (they
    // are installed); this app's own entry is left out.
    // Ordered by name without regard to case, then by id.
    std::vector<BrowserApp> installedBrowsers() const override;

    // Launches the entry that `app.id` names with the links, as its Exec line
    // says (once per link for "%u", once for all with "%U"). A link without a
    // scheme is refused: it could pass as one of the program's options.
    // `options.activates` has no portable meaning here: whether the app comes
    // to the front is the window manager's decision, and its focus-stealing
    // rules, not the launcher's. The completion gets GIO's error message.
    // GIO starts the program through a small helper of its own, so it reports
    // what it finds wrong before then (no terminal for a Terminal=true entry),
    // not a program that fails to start after that.
    void open(const std::vector<std::string>& links, const InstalledApp& app, const OpenOptions& options,
              OpenCompletion completion) override;

    // Whether mimeapps.list's default for https links is this app's entry.
    bool isDefaultBrowser() const override;

    // Makes this app's entry the default for http and https links and for HTML
    // files, in the user's mimeapps.list; the desktop does not ask the user.
    // False when this app has no installed entry or the list cannot be written.
    void makeDefaultBrowser(std::function<void(bool)> completion) override;

private:
    class ProgramIndex;  // the entries by the program they run, and GIO's word that they changed

    Scheduler& scheduler_;
    std::string ownId_;
    std::filesystem::path procRoot_;
    std::filesystem::path ownProgram_;  // what this process runs; empty when procRoot_ does not say
    std::unique_ptr<ProgramIndex> programs_;
};

}  // namespace pivra
