#pragma once
// Installing the app into the user's desktop and making it the default
// browser, as the desktops do it: a desktop entry in the user's
// "applications" folder, a D-Bus service file that lets the bus start the
// app, and the defaults of mimeapps.list through GIO. GIO reads the XDG
// variables once, when first used.

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pivra {

// The types a browser is the default for: web links and web pages.
inline constexpr const char* kBrowserTypes[] = {"x-scheme-handler/http", "x-scheme-handler/https", "text/html",
                                                "application/xhtml+xml"};

// $XDG_DATA_HOME/applications, else ~/.local/share/applications.
std::filesystem::path userApplicationsFolder();
// $XDG_DATA_HOME/dbus-1/services, where the session bus finds the user's services.
std::filesystem::path userBusServicesFolder();

// The icon theme every desktop falls back to, in the user's data folder:
// $XDG_DATA_HOME/icons/hicolor.
std::filesystem::path userIconThemeFolder();
// Where that theme keeps the app icon `iconName` drawn at `pixels` square:
// <theme>/<pixels>x<pixels>/apps/<iconName>.png.
std::filesystem::path userAppIconFile(std::string_view iconName, int pixels);

// The desktop entry that makes `program` (an absolute path) the app: it
// opens links with "<program> open %U", is D-Bus activatable under `appId`,
// shows the theme's icon `iconName`, and handles every browser type.
std::string desktopEntryText(const std::filesystem::path& program, std::string_view iconName);
// The session bus's service file that starts "<program> run" for the name `appId`.
std::string busServiceText(const std::filesystem::path& program, std::string_view appId);

// The app that opens `type` now, as the desktop decides it (desktop-specific
// lists first, then mimeapps.list, then the installed entries): its
// desktop-file id without ".desktop"; absent when none does.
std::optional<std::string> defaultAppForType(const char* type);

// Makes the installed entry `id` the user's default for `type` in
// mimeapps.list. What went wrong when it could not.
std::optional<std::string> setDefaultAppForType(std::string_view id, const char* type);

// Forgets the user's choices for `type` in mimeapps.list, so that the
// system's default applies again. What went wrong when it could not.
std::optional<std::string> resetDefaultForType(const char* type);

// The name people read for an installed entry; the id itself when it is not installed.
std::string desktopAppName(std::string_view id);

// The desktop's own lists ("<desktop>-mimeapps.list" for each name in
// $XDG_CURRENT_DESKTOP, in the user's config folder and then the system's)
// that name a default for `type`: these come before mimeapps.list.
std::vector<std::filesystem::path> desktopListsNamingDefault(const char* type);

}  // namespace pivra
