// pivra run, install and uninstall: Pivra as a Linux desktop app. `run` is
// the app itself, the one instance on the session bus that the desktop and
// `pivra open` hand links to; `install` puts its desktop entry and bus
// service in the user's data folder and makes it the default browser;
// `uninstall` undoes both.

#include <QDBusConnection>

#include "app/model/app_model.hpp"
#include "app/model/source_resolver.hpp"
#include "app/ports/host.hpp"
#include "app/storage/file_io.hpp"
#include "app/storage/settings.hpp"
#include "cli/app_commands.hpp"
#include "cli/commands.hpp"
#include "cli/desktop_display.hpp"
#include "core/files/small_file.hpp"
#include "core/routing/link.hpp"
#include "core/text/raw_value.hpp"
#include "gui/icon/app_icon.hpp"
#include "hosts/linux/application_service.hpp"
#include "hosts/linux/autostart_login_item.hpp"
#include "hosts/linux/desktop_defaults.hpp"

namespace pivra::cli {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kAppCategory = "app";
// The type whose default is "the browser", named in what install and uninstall say.
constexpr const char* kWebLinkType = "x-scheme-handler/https";
// update-desktop-database reads one folder of entries; it never takes this long.
constexpr Seconds kDatabaseUpdateGiveUp{30};

// The sizes of the app icon in the user's icon theme: those desktops ask
// for, from menus and task bars to app grids.
constexpr int kIconSizes[] = {16, 32, 48, 64, 128, 256, 512};

const OptionSpec kHomeOption{"home", true};

std::string entryFileName(std::string_view appId) { return std::string(appId) + ".desktop"; }

// --- run ---------------------------------------------------------------------

int runRun(const Arguments& args, const Context& context) {
    const auto folders = appFolders(args, context.environment);
    if (!folders) return context.fail(kExitUsage, folders.error());
    // With a display the app shows its picker and its tray menu; without one
    // it routes by the rules alone.
    std::unique_ptr<DesktopDisplay> display = hasDisplay() ? std::make_unique<DesktopDisplay>() : nullptr;
    HostOptions options{folders->config, LogLevel::info};
    if (display) display->supplyPorts(options);
    const auto host = makeHost(options);
    Ports ports = host->ports();
    const std::string ownId = ports.appInfo.identifier();

    ApplicationService service(QDBusConnection::sessionBus(), ownId);
    switch (service.start()) {
        case ApplicationService::Registration::registered: break;
        case ApplicationService::Registration::nameTaken:
            return context.fail(kExitFailed, "Pivra is already running: " + ownId + " is taken on the session bus");
        case ApplicationService::Registration::noBus:
            return context.fail(kExitFailed, "there is no session bus to take links from (DBUS_SESSION_BUS_ADDRESS)");
    }

    AppModel model(ports, ModelFolders::separate(folders->config, folders->state, folders->home));
    model.setNewRulesFallback(newRulesFallback(ports));
    // A notification's click names a settings page. With a display the
    // settings window takes this over (below); without one it can only be told.
    model.setOnOpenSettings([&](SettingsPage page) {
        ports.log.write(LogLevel::notice, kAppCategory,
                        "The settings page “" + std::string(rawValue(page)) + "” was asked for; there is no display to show it on");
    });
    // Started from the desktop's app list: the settings, as a Mac app reopens its window.
    service.setOnActivate([&] {
        ports.log.write(LogLevel::info, kAppCategory, "Activated");
        model.openSettings(model.settingsPage());
    });
    service.setOnOpen([&](const LinkDelivery& delivery) {
        // Named by the sender (`pivra open --from`), else found from the
        // calling process and its parents, once for all its links: the caller
        // waits for the answer meanwhile, so they are still there.
        const Source source = delivery.source ? (delivery.source->empty() ? Source::unknown() : Source::app(*delivery.source))
                                              : resolveSource(delivery.callerPid, ports.workspace, ports.processes, ownId);
        for (const auto& text : delivery.links) {
            const auto link = parseLink(text);
            if (!link) continue;  // as for a link from the system: not a link, no trace
            model.handleLink(*link, source);
        }
    });
    // Gone before the model: links still in the picker then complete without a choice.
    const std::unique_ptr<DesktopScreens> screens = display ? display->attach(model, ports.log, [&] { host->stop(); }) : nullptr;
    model.start();
    if (screens) screens->started();
    ports.log.write(LogLevel::notice, kAppCategory, "Running as " + ownId + " on the session bus");
    host->run();
    model.terminate();
    return kExitOk;
}

// --- install and uninstall -----------------------------------------------------

// Writes `bytes` unless the file holds them already. Whether it wrote; a failure is reported.
std::expected<bool, int> writeIfChanged(const fs::path& file, const std::string& bytes, const Context& context) {
    if (readSmallFile(file, bytes.size() + 1) == bytes) return false;
    if (!writeFileAtomically(file, bytes)) return std::unexpected(context.fail(kExitFailed, "can’t write " + file.string()));
    context.out << "Wrote " << file.string() << "\n";
    return true;
}

// Removes the file when it is there. Whether it removed it; a failure is reported.
std::expected<bool, int> removeIfPresent(const fs::path& file, const Context& context) {
    std::error_code error;
    if (!fs::exists(fs::symlink_status(file, error))) return false;
    if (!fs::remove(file, error)) {
        return std::unexpected(context.fail(kExitFailed, "can’t remove " + file.string() + ": " + error.message()));
    }
    context.out << "Removed " << file.string() << "\n";
    return true;
}

// Lets menus and the desktop's type cache see a changed folder of entries at
// once; without the tool they notice by themselves.
void updateDesktopDatabase(Host& host, const fs::path& folder) {
    Ports ports = host.ports();
    LaunchRequest request{.program = "update-desktop-database", .arguments = {folder.string()},
                          .timeout = kDatabaseUpdateGiveUp, .leaveRunning = false};
    bool done = false;
    ports.launcher.launch(request, [&](const LaunchResult&) {
        done = true;
        host.stop();
    });
    if (!done) host.run();
}

// Why this app is not the default for `type` after all.
std::string notDefaultReason(const char* type) {
    const auto lists = desktopListsNamingDefault(type);
    if (!lists.empty()) return lists.front().string() + " names another app for it, and the desktop reads that list first";
    const auto now = defaultAppForType(type);
    return now ? "the desktop still names " + *now : "the desktop names no app";
}

int runInstall(const Arguments& args, const Context& context) {
    const auto folders = appFolders(args, context.environment);
    if (!folders) return context.fail(kExitUsage, folders.error());
    const auto host = makeHost(HostOptions{folders->config, LogLevel::error});
    Ports ports = host->ports();
    const std::string ownId = ports.appInfo.identifier();
    const fs::path program = ports.appInfo.location();
    if (program.empty() || !program.is_absolute()) return context.fail(kExitFailed, "can’t tell where this program is");

    // The files first: GIO reads the folders once, at its first use below.
    // The icons before the entry that names them, so a menu that sees the
    // entry finds its icon.
    bool wroteIcon = false;
    for (const int pixels : kIconSizes) {
        const auto png = appIconPng(pixels);
        if (!png) return context.fail(kExitFailed, "can’t draw the icon at " + std::to_string(pixels) + " pixels");
        const auto wrote = writeIfChanged(userAppIconFile(ownId, pixels), *png, context);
        if (!wrote) return wrote.error();
        wroteIcon = wroteIcon || *wrote;
    }
    const fs::path applications = userApplicationsFolder();
    const auto wroteEntry = writeIfChanged(applications / entryFileName(ownId), desktopEntryText(program, ownId), context);
    if (!wroteEntry) return wroteEntry.error();
    const auto wroteService =
        writeIfChanged(userBusServicesFolder() / (ownId + ".service"), busServiceText(program, ownId), context);
    if (!wroteService) return wroteService.error();
    if (*wroteEntry) updateDesktopDatabase(*host, applications);
    bool changed = wroteIcon || *wroteEntry || *wroteService;

    if (!args.has("no-default")) {
        Settings settings(ports.preferences);
        auto previous = settings.previousDefaults();
        std::optional<std::string> was;
        bool madeDefault = false;
        for (const char* type : kBrowserTypes) {
            const auto current = defaultAppForType(type);
            if (current == ownId) continue;
            if (const auto error = setDefaultAppForType(ownId, type)) {
                return context.fail(kExitFailed, "Pivra couldn’t become the default for " + std::string(type) + ": " + *error);
            }
            madeDefault = true;
            // Only what another app held is remembered: a type that had no
            // default goes back to having none.
            if (current) previous[type] = *current;
            if (current && std::string_view(type) == kWebLinkType) was = current;
        }
        settings.setPreviousDefaults(previous);
        for (const char* type : kBrowserTypes) {
            if (defaultAppForType(type) != ownId) {
                return context.fail(kExitFailed, "Pivra isn’t the default for " + std::string(type) + ": " + notDefaultReason(type));
            }
        }
        if (madeDefault) {
            context.out << "Pivra is now the default browser" << (was ? " (was " + desktopAppName(*was) + ")" : "") << "\n";
            changed = true;
        }
    }
    if (!changed) context.out << "Nothing to do\n";
    return kExitOk;
}

int runUninstall(const Arguments& args, const Context& context) {
    const auto folders = appFolders(args, context.environment);
    if (!folders) return context.fail(kExitUsage, folders.error());
    const auto host = makeHost(HostOptions{folders->config, LogLevel::error});
    Ports ports = host->ports();
    const std::string ownId = ports.appInfo.identifier();

    // The defaults first, while this app's entry is still there to be recognised.
    Settings settings(ports.preferences);
    const auto previous = settings.previousDefaults();
    bool changed = false;
    std::optional<std::string> gaveBackTo;
    bool gaveBack = false;
    for (const char* type : kBrowserTypes) {
        // A type whose default someone changed since is theirs now.
        if (defaultAppForType(type) != ownId) continue;
        const auto before = previous.find(type);
        const bool restorable = before != previous.end() && before->second != ownId &&
                                !setDefaultAppForType(before->second, type).has_value();
        if (!restorable) resetDefaultForType(type);
        gaveBack = true;
        if (std::string_view(type) == kWebLinkType) gaveBackTo = defaultAppForType(type);
    }
    if (!previous.empty()) settings.setPreviousDefaults({});
    if (gaveBack) {
        context.out << "Pivra is no longer the default browser"
                    << (gaveBackTo && *gaveBackTo != ownId ? " (now " + desktopAppName(*gaveBackTo) + ")" : "") << "\n";
        changed = true;
    }

    const fs::path applications = userApplicationsFolder();
    std::vector<fs::path> files{applications / entryFileName(ownId), userBusServicesFolder() / (ownId + ".service"),
                                AutostartLoginItem::userAutostartFolder() / entryFileName(ownId)};
    for (const int pixels : kIconSizes) files.push_back(userAppIconFile(ownId, pixels));
    for (const fs::path& file : files) {
        const auto removed = removeIfPresent(file, context);
        if (!removed) return removed.error();
        if (*removed && file.parent_path() == applications) updateDesktopDatabase(*host, applications);
        changed = changed || *removed;
    }
    if (!changed) context.out << "Nothing to do\n";
    return kExitOk;
}

}  // namespace

std::vector<Command> platformCommands() {
    return {
        Command{"run", "run Pivra: take links from the desktop until told to quit",
                "usage: pivra run [--home DIR]\n\n"
                "Runs the app until it gets SIGTERM or SIGINT: the rules (watched as you edit\n"
                "them), the journal, the counts, notifications of problems, and the service\n"
                "app.omra.pivra on the session bus, through which the desktop and `pivra open`\n"
                "hand it links (org.freedesktop.Application at /app/omra/pivra). Only one runs:\n"
                "when the name is taken this says so and exits 1. The log goes to standard error.\n",
                {kHomeOption}, 0, 0, runRun},
        Command{"install", "make Pivra a desktop app and the default browser",
                "usage: pivra install [--no-default] [--home DIR]\n\n"
                "Writes the desktop entry app.omra.pivra.desktop into $XDG_DATA_HOME/applications\n"
                "(else ~/.local/share/applications) and the session bus's service file\n"
                "app.omra.pivra.service into $XDG_DATA_HOME/dbus-1/services, both running this\n"
                "program, and the app icon (16 to 512 pixels) into the icon theme in\n"
                "$XDG_DATA_HOME/icons/hicolor. Then, unless --no-default, makes Pivra the default\n"
                "for web links and web pages in mimeapps.list, remembering the apps that were\n"
                "(settings.json, \"previousDefaults\") for uninstall and for the first rules'\n"
                "fallback.\n"
                "Prints one line per change, or \"Nothing to do\".\n",
                {kHomeOption, {"no-default", false}}, 0, 0, runInstall},
        Command{"uninstall", "give the default browser back and remove Pivra's desktop files",
                "usage: pivra uninstall [--home DIR]\n\n"
                "Where Pivra is still the default, gives each type back to the app that was the\n"
                "default before `pivra install` (or to the system's choice), then removes the\n"
                "desktop entry, the bus service file, Pivra's autostart entry and its icons.\n"
                "Rules, settings, journal and counts stay. Prints one line per change, or\n"
                "\"Nothing to do\".\n",
                {kHomeOption}, 0, 0, runUninstall},
    };
}

}  // namespace pivra::cli
