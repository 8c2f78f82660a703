// GLib's headers use "signals" as a name, which Qt defines as a keyword: no
// Qt header may come into this file.
#include "hosts/linux/gio_workspace.hpp"

#include <unistd.h>

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <memory>
#include <set>
#include <system_error>
#include <tuple>

#include "core/files/small_file.hpp"
#include "core/text/unicode_text.hpp"
#include "hosts/linux/process_app.hpp"
#include "hosts/linux/glib_owned.hpp"

namespace pivra {
namespace {

using glib::Owned;
using glib::OwnedText;
using glib::OwnedAppList;
using glib::OwnedError;

constexpr std::string_view kDesktopSuffix = ".desktop";
// The type whose default is "the browser"; http links follow it everywhere.
constexpr const char* kWebLinkType = "x-scheme-handler/https";
constexpr const char* kBrowserTypes[] = {"x-scheme-handler/http", "x-scheme-handler/https", "text/html"};
// A cgroup file is a line per hierarchy, each well under a kilobyte.
constexpr std::uintmax_t kMaxCgroupFileSize = 64 * 1024;
// What the kernel adds to /proc/<pid>/exe once the program's file is replaced
// (a package upgrade while the app runs).
constexpr std::string_view kDeletedSuffix = " (deleted)";

// The id without ".desktop"; absent for an app info that is no desktop entry.
std::optional<std::string> appId(GAppInfo* info) {
    const char* id = g_app_info_get_id(info);
    if (id == nullptr) return std::nullopt;
    std::string_view text(id);
    if (!text.ends_with(kDesktopSuffix) || text.size() == kDesktopSuffix.size()) return std::nullopt;
    text.remove_suffix(kDesktopSuffix.size());
    return std::string(text);
}

bool isHidden(GAppInfo* info) {
    return G_IS_DESKTOP_APP_INFO(info) && g_desktop_app_info_get_is_hidden(G_DESKTOP_APP_INFO(info));
}

// The program of the entry's Exec line, as written ("firefox-esr",
// "/opt/My Browser/browser"). Not GIO's "executable": that is the line's first
// word, quotes and all.
std::string programName(GAppInfo* info) {
    std::string program;
    if (const char* line = g_app_info_get_commandline(info)) {
        gchar** argv = nullptr;
        if (g_shell_parse_argv(line, nullptr, &argv, nullptr)) {
            program = argv[0];
            g_strfreev(argv);
        }
    }
    if (program.empty()) {
        if (const char* executable = g_app_info_get_executable(info)) program = executable;
    }
    return program;
}

// Where Flatpak exports a launcher for the app with this id, which takes the
// app's own options ("flatpak run <id>" takes Flatpak's): the user's
// installation first, then the system's. Empty when neither has one.
std::filesystem::path flatpakLauncher(std::string_view appId) {
    if (appId.empty() || appId.find('/') != std::string_view::npos || appId.starts_with('.')) return {};
    for (const std::filesystem::path& root : {std::filesystem::path(g_get_user_data_dir()) / "flatpak",
                                             std::filesystem::path("/var/lib/flatpak")}) {
        const auto launcher = root / "exports/bin" / appId;
        if (::access(launcher.c_str(), X_OK) == 0) return launcher;
    }
    return {};
}

// The entry's program as PATH finds it now; empty when it is not there. For a
// Flatpak app, its exported launcher, so that a browser's profile options reach it.
std::filesystem::path programOf(GAppInfo* info) {
    const std::string program = programName(info);
    if (program.empty()) return {};
    if (G_IS_DESKTOP_APP_INFO(info) && std::filesystem::path(program).filename() == "flatpak") {
        const OwnedText appId(g_desktop_app_info_get_string(G_DESKTOP_APP_INFO(info), "X-Flatpak"));
        if (appId) {
            if (auto launcher = flatpakLauncher(appId.get()); !launcher.empty()) return launcher;
        }
    }
    const OwnedText found(g_find_program_in_path(program.c_str()));
    return found ? std::filesystem::path(found.get()) : std::filesystem::path();
}

InstalledApp describe(GAppInfo* info, std::string id) {
    // GIO names an entry without a Name "Unnamed", in the user's language.
    const bool named = G_IS_DESKTOP_APP_INFO(info) && g_desktop_app_info_has_key(G_DESKTOP_APP_INFO(info), "Name");
    std::string name = named ? g_app_info_get_name(info) : id;
    return InstalledApp{.id = std::move(id), .name = std::move(name), .location = programOf(info), .version = {}};
}

// The installed entry with this id (without ".desktop"), not hidden.
Owned<GDesktopAppInfo> installedEntry(std::string_view id) {
    // An id names one file: nothing GIO could take for a path or cut short.
    if (id.empty() || id.find('/') != std::string_view::npos || id.find('\0') != std::string_view::npos) return nullptr;
    const std::string fileId = std::string(id) + std::string(kDesktopSuffix);
    Owned<GDesktopAppInfo> entry(g_desktop_app_info_new(fileId.c_str()));
    if (entry && g_desktop_app_info_get_is_hidden(entry.get())) entry.reset();
    return entry;
}

bool handlesType(GAppInfo* info, const char* type) {
    const char** types = g_app_info_get_supported_types(info);
    if (types == nullptr) return false;
    for (; *types != nullptr; ++types) {
        if (g_ascii_strcasecmp(*types, type) == 0) return true;
    }
    return false;
}

// Symbolic links resolved, so that an entry's /usr/bin/firefox-esr and the
// /usr/lib/firefox-esr/firefox-esr that it links to, which is what a process
// shows, compare equal. The path as given where it cannot be resolved.
std::filesystem::path resolvedPath(const std::filesystem::path& path) {
    std::error_code error;
    auto resolved = std::filesystem::weakly_canonical(path, error);
    return error ? path : resolved;
}

// The program a process runs, from its /proc "exe" link; empty when the
// process is gone or is not ours to inspect.
std::filesystem::path runningProgram(const std::filesystem::path& exeLink) {
    std::error_code error;
    std::string target = std::filesystem::read_symlink(exeLink, error).string();
    if (error || target.empty() || target.front() != '/') return {};
    if (target.ends_with(kDeletedSuffix)) target.resize(target.size() - kDeletedSuffix.size());
    return target;
}

std::optional<std::string> launch(const std::vector<std::string>& links, const InstalledApp& app) {
    const std::string& shownName = app.name.empty() ? app.id : app.name;
    const auto entry = installedEntry(app.id);
    if (!entry) return "“" + shownName + "” isn’t installed";
    for (const auto& link : links) {
        if (link.find('\0') != std::string::npos || g_uri_peek_scheme(link.c_str()) == nullptr) {
            return "“" + link + "” isn’t a link";
        }
    }
    GList* uris = nullptr;
    for (auto it = links.rbegin(); it != links.rend(); ++it) uris = g_list_prepend(uris, const_cast<char*>(it->c_str()));
    const Owned<GAppLaunchContext> context(g_app_launch_context_new());
    // Those tell a starting app how this process itself was started: passed
    // on, they would make a browser take an old activation for its own.
    g_app_launch_context_unsetenv(context.get(), "DESKTOP_STARTUP_ID");
    g_app_launch_context_unsetenv(context.get(), "XDG_ACTIVATION_TOKEN");
    GError* rawError = nullptr;
    const bool launched = g_app_info_launch_uris(G_APP_INFO(entry.get()), uris, context.get(), &rawError);
    g_list_free(uris);
    const OwnedError error(rawError);
    if (launched) return std::nullopt;
    return error ? std::string(error->message) : "“" + shownName + "” couldn’t be started";
}

}  // namespace

// Reading every entry costs GIO a parse of each file (a desktop has a few
// hundred), and a link's source may take several looks up its parent
// processes: the answer is kept from one change of the installed apps to the next.
class GioWorkspace::ProgramIndex {
public:
    ProgramIndex() : monitor_(g_app_info_monitor_get()) {
        changedHandler_ = g_signal_connect(monitor_.get(), "changed", G_CALLBACK(&ProgramIndex::changed), this);
    }
    ~ProgramIndex() { g_signal_handler_disconnect(monitor_.get(), changedHandler_); }
    ProgramIndex(const ProgramIndex&) = delete;
    ProgramIndex& operator=(const ProgramIndex&) = delete;

    // The installed app whose entry runs `program` (symbolic links resolved).
    std::optional<std::string> appRunning(const std::filesystem::path& program) {
        if (!byProgram_) byProgram_ = read();
        const auto found = byProgram_->find(resolvedPath(program));
        if (found == byProgram_->end()) return std::nullopt;
        return found->second;
    }

private:
    static void changed(GAppInfoMonitor*, gpointer self) { static_cast<ProgramIndex*>(self)->byProgram_.reset(); }

    static std::map<std::filesystem::path, std::string> read() {
        // Several entries may run one program (an app's entries for its
        // parts): one that menus show comes first, then the smallest id.
        std::map<std::filesystem::path, std::tuple<bool, std::string>> best;
        const OwnedAppList all(g_app_info_get_all());
        for (GList* item = all.get(); item != nullptr; item = item->next) {
            auto* info = static_cast<GAppInfo*>(item->data);
            if (isHidden(info)) continue;
            // An entry that runs a wrapper or an interpreter is one of many that do.
            if (isLauncherLayer(programName(info))) continue;
            const auto entryProgram = programOf(info);
            if (entryProgram.empty()) continue;
            auto id = appId(info);
            if (!id) continue;
            std::tuple<bool, std::string> rank{!g_app_info_should_show(info), std::move(*id)};
            auto [at, added] = best.try_emplace(resolvedPath(entryProgram), rank);
            if (!added && rank < at->second) at->second = std::move(rank);
        }
        std::map<std::filesystem::path, std::string> byProgram;
        for (auto& [program, rank] : best) byProgram.emplace(program, std::get<1>(std::move(rank)));
        return byProgram;
    }

    Owned<GAppInfoMonitor> monitor_;
    gulong changedHandler_ = 0;
    std::optional<std::map<std::filesystem::path, std::string>> byProgram_;  // absent until read, and after a change
};

GioWorkspace::GioWorkspace(Scheduler& scheduler, std::string ownId, std::filesystem::path procRoot)
    : scheduler_(scheduler), ownId_(std::move(ownId)), procRoot_(std::move(procRoot)),
      ownProgram_(runningProgram(procRoot_ / "self/exe")), programs_(std::make_unique<ProgramIndex>()) {}

GioWorkspace::~GioWorkspace() = default;

std::optional<std::string> GioWorkspace::runningApp(pid_t pid) const {
    if (pid <= 0) return std::nullopt;
    const auto folder = procRoot_ / std::to_string(pid);
    if (const auto cgroup = readSmallFile(folder / "cgroup", kMaxCgroupFileSize)) {
        if (const auto unit = unitNameFromCgroup(*cgroup)) {
            auto id = desktopIdFromUnitName(*unit, [](const std::string& candidate) {
                return installedEntry(candidate) != nullptr;
            });
            if (id) return id;
        }
    }
    const auto program = runningProgram(folder / "exe");
    if (program.empty() || isLauncherLayer(program.filename().string())) return std::nullopt;
    // This app's own program (`pivra open` starts from its own process) needs
    // no look through the entries. The kernel gives both paths resolved.
    if (program == ownProgram_) return ownId_;
    return programs_->appRunning(program);
}

std::vector<pid_t> GioWorkspace::runningProcesses(std::string_view id) const {
    std::vector<pid_t> found;
    const auto entry = installedEntry(id);
    const auto program = entry ? programOf(G_APP_INFO(entry.get())) : std::filesystem::path();
    if (program.empty()) return found;
    const auto wanted = resolvedPath(program);
    std::error_code error;
    for (const auto& process : std::filesystem::directory_iterator(procRoot_, error)) {
        const std::string name = process.path().filename().string();
        pid_t pid = 0;
        const auto [end, parsed] = std::from_chars(name.data(), name.data() + name.size(), pid);
        if (parsed != std::errc() || end != name.data() + name.size() || pid <= 0) continue;  // not a process
        const auto running = runningProgram(process.path() / "exe");
        if (!running.empty() && resolvedPath(running) == wanted) found.push_back(pid);
    }
    std::ranges::sort(found);
    return found;
}

std::optional<std::string> GioWorkspace::frontmostApp() const { return std::nullopt; }

std::optional<InstalledApp> GioWorkspace::application(std::string_view id) const {
    const auto entry = installedEntry(id);
    if (!entry) return std::nullopt;
    return describe(G_APP_INFO(entry.get()), std::string(id));
}

std::vector<BrowserApp> GioWorkspace::installedBrowsers() const {
    std::vector<BrowserApp> browsers;
    std::set<std::string, std::less<>> seen;
    const auto add = [&](GAppInfo* info) {
        if (isHidden(info)) return;
        auto id = appId(info);
        if (!id || *id == ownId_ || !seen.insert(*id).second) return;
        browsers.push_back(describe(info, std::move(*id)));
    };
    const OwnedAppList associated(g_app_info_get_all_for_type(kWebLinkType));
    for (GList* item = associated.get(); item != nullptr; item = item->next) add(static_cast<GAppInfo*>(item->data));
    const OwnedAppList all(g_app_info_get_all());
    for (GList* item = all.get(); item != nullptr; item = item->next) {
        auto* info = static_cast<GAppInfo*>(item->data);
        if (handlesType(info, kWebLinkType)) add(info);
    }
    std::vector<std::pair<std::string, BrowserApp>> keyed;
    keyed.reserve(browsers.size());
    for (auto& browser : browsers) keyed.emplace_back(lowerCaseText(browser.name), std::move(browser));
    std::ranges::sort(keyed, [](const auto& a, const auto& b) {
        const int byName = compareForSorting(a.first, b.first);
        return byName != 0 ? byName < 0 : a.second.id < b.second.id;
    });
    browsers.clear();
    for (auto& [key, browser] : keyed) browsers.push_back(std::move(browser));
    return browsers;
}

void GioWorkspace::open(const std::vector<std::string>& links, const InstalledApp& app, const OpenOptions&,
                        OpenCompletion completion) {
    auto error = launch(links, app);
    scheduler_.post([completion = std::move(completion), error = std::move(error)] { completion(error); });
}

bool GioWorkspace::isDefaultBrowser() const {
    const Owned<GAppInfo> handler(g_app_info_get_default_for_type(kWebLinkType, FALSE));
    return handler && appId(handler.get()) == ownId_;
}

void GioWorkspace::makeDefaultBrowser(std::function<void(bool)> completion) {
    if (const auto own = installedEntry(ownId_)) {
        for (const char* type : kBrowserTypes) {
            GError* rawError = nullptr;
            // A failure leaves the list as it was; the answer below says so.
            if (!g_app_info_set_as_default_for_type(G_APP_INFO(own.get()), type, &rawError)) {
                const OwnedError error(rawError);
                break;
            }
        }
    }
    scheduler_.post([completion = std::move(completion), isDefault = isDefaultBrowser()] { completion(isDefault); });
}

}  // namespace pivra
