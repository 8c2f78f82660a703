#pragma once
// The system's knowledge of apps: which is running where, which are installed,
// opening links with one, and which is the default browser.

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace pivra {

// An installed app. Its identifier is a bundle identifier on a Mac
// ("com.apple.Safari") and a desktop-file id without ".desktop" on Linux
// ("firefox-esr", "org.gnome.Evolution").
struct InstalledApp {
    std::string id;
    std::string name;                 // the name people read ("Firefox ESR"); the id when the app has none
    std::filesystem::path location;   // the app bundle on a Mac; the entry's program on Linux
    std::string version;              // empty when the app does not say

    bool operator==(const InstalledApp&) const = default;
};

// An installed browser, as the settings screens and the picker list it.
using BrowserApp = InstalledApp;

struct OpenOptions {
    bool activates = true;  // bring the app to the front
};

class Workspace {
public:
    // Receives nothing when the open worked, else what went wrong in a few words.
    using OpenCompletion = std::function<void(std::optional<std::string> error)>;

    virtual ~Workspace() = default;

    // The identifier of the app that process `pid` belongs to, absent when it
    // is no app the system knows of (a tool, a shell, a finished process).
    virtual std::optional<std::string> runningApp(pid_t pid) const = 0;

    // The processes of every running app with exactly this identifier, this
    // process among them when it is one; none where the platform cannot tell.
    virtual std::vector<pid_t> runningProcesses(std::string_view id) const = 0;

    // The identifier of the app in front, absent where there is none or the
    // platform cannot tell.
    virtual std::optional<std::string> frontmostApp() const = 0;

    // The installed app with exactly this identifier, absent when not installed.
    virtual std::optional<InstalledApp> application(std::string_view id) const = 0;

    // Every installed app that opens web links, ordered by name, each once.
    virtual std::vector<BrowserApp> installedBrowsers() const = 0;

    // Opens `links` with `app`. `completion` runs once on the main thread,
    // never before this returns.
    virtual void open(const std::vector<std::string>& links, const InstalledApp& app, const OpenOptions& options,
                      OpenCompletion completion) = 0;

    // Whether this app is the system's default for web links; false where the
    // platform has no such default or it cannot be read.
    virtual bool isDefaultBrowser() const = 0;

    // Asks the system to make this app the default for web links. `completion`
    // runs once on the main thread with whether it is the default now (the
    // system may ask the user first, who may refuse).
    virtual void makeDefaultBrowser(std::function<void(bool)> completion) = 0;
};

}  // namespace pivra
