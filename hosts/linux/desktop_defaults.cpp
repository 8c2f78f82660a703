// GLib only, no Qt: GLib's headers use "signals" as a name, which Qt defines.
#include "hosts/linux/desktop_defaults.hpp"

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <memory>

#include "core/files/small_file.hpp"
#include "hosts/linux/autostart_login_item.hpp"
#include "hosts/linux/glib_owned.hpp"

namespace pivra {
namespace {

using glib::Owned;
using glib::OwnedText;
using glib::OwnedKeyFile;

constexpr std::string_view kDesktopSuffix = ".desktop";
constexpr const char* kGroup = G_KEY_FILE_DESKTOP_GROUP;
constexpr const char* kDefaultsGroup = "Default Applications";
// A mimeapps.list is a few kilobytes.
constexpr std::uintmax_t kMaxListSize = 1024 * 1024;

std::optional<std::string> takeError(GError* error, std::string_view otherwise) {
    std::string text = error != nullptr ? error->message : std::string(otherwise);
    if (error != nullptr) g_error_free(error);
    return text;
}

Owned<GDesktopAppInfo> entry(std::string_view id) {
    if (id.empty() || id.find('/') != std::string_view::npos || id.find('\0') != std::string_view::npos) return nullptr;
    const std::string fileId = std::string(id) + std::string(kDesktopSuffix);
    return Owned<GDesktopAppInfo>(g_desktop_app_info_new(fileId.c_str()));
}

// The D-Bus service file's Exec line: dbus-daemon splits it the way a shell
// would, so a path with blanks or quotes is single-quoted.
std::string busExecArgument(const std::string& argument) {
    const bool plain = !argument.empty() && argument.find_first_not_of(
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/._+-,:@") == std::string::npos;
    if (plain) return argument;
    std::string quoted = "'";
    for (const char c : argument) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

}  // namespace

std::filesystem::path userApplicationsFolder() { return std::filesystem::path(g_get_user_data_dir()) / "applications"; }

std::filesystem::path userBusServicesFolder() {
    return std::filesystem::path(g_get_user_data_dir()) / "dbus-1" / "services";
}

std::filesystem::path userIconThemeFolder() {
    return std::filesystem::path(g_get_user_data_dir()) / "icons" / "hicolor";
}

std::filesystem::path userAppIconFile(std::string_view iconName, int pixels) {
    const std::string size = std::to_string(pixels);
    return userIconThemeFolder() / (size + "x" + size) / "apps" / (std::string(iconName) + ".png");
}

std::string desktopEntryText(const std::filesystem::path& program, std::string_view iconName) {
    std::string types;
    for (const char* type : kBrowserTypes) types += std::string(type) + ";";
    const OwnedKeyFile keys(g_key_file_new());
    g_key_file_set_string(keys.get(), kGroup, "Type", "Application");
    g_key_file_set_string(keys.get(), kGroup, "Name", "Pivra");
    g_key_file_set_string(keys.get(), kGroup, "Comment", "Opens each link in the browser your rules name");
    // Desktop entry strings escape "\" once more on top of the Exec quoting.
    g_key_file_set_string(keys.get(), kGroup, "Exec", (execArgument(program.string()) + " open %U").c_str());
    g_key_file_set_string(keys.get(), kGroup, "Icon", std::string(iconName).c_str());
    g_key_file_set_string(keys.get(), kGroup, "MimeType", types.c_str());
    g_key_file_set_string(keys.get(), kGroup, "DBusActivatable", "true");
    g_key_file_set_string(keys.get(), kGroup, "NoDisplay", "false");
    g_key_file_set_string(keys.get(), kGroup, "Categories", "Network;WebBrowser;");
    g_key_file_set_string(keys.get(), kGroup, "StartupNotify", "false");
    const OwnedText text(g_key_file_to_data(keys.get(), nullptr, nullptr));
    return text.get();
}

std::string busServiceText(const std::filesystem::path& program, std::string_view appId) {
    return "[D-BUS Service]\nName=" + std::string(appId) + "\nExec=" + busExecArgument(program.string()) + " run\n";
}

std::optional<std::string> defaultAppForType(const char* type) {
    const Owned<GAppInfo> handler(g_app_info_get_default_for_type(type, FALSE));
    if (!handler) return std::nullopt;
    const char* id = g_app_info_get_id(handler.get());
    if (id == nullptr) return std::nullopt;
    std::string_view text(id);
    if (text.ends_with(kDesktopSuffix)) text.remove_suffix(kDesktopSuffix.size());
    return std::string(text);
}

std::optional<std::string> setDefaultAppForType(std::string_view id, const char* type) {
    const auto app = entry(id);
    if (!app) return "“" + std::string(id) + "” isn’t installed";
    GError* error = nullptr;
    if (g_app_info_set_as_default_for_type(G_APP_INFO(app.get()), type, &error)) return std::nullopt;
    return takeError(error, "mimeapps.list couldn’t be written");
}

std::optional<std::string> resetDefaultForType(const char* type) {
    // GIO reports no failure here; the caller reads the default again.
    g_app_info_reset_type_associations(type);
    return std::nullopt;
}

std::string desktopAppName(std::string_view id) {
    const auto app = entry(id);
    if (!app || !g_desktop_app_info_has_key(app.get(), "Name")) return std::string(id);
    return g_app_info_get_name(G_APP_INFO(app.get()));
}

std::vector<std::filesystem::path> desktopListsNamingDefault(const char* type) {
    std::vector<std::filesystem::path> folders{g_get_user_config_dir()};
    for (const gchar* const* dir = g_get_system_config_dirs(); *dir != nullptr; ++dir) folders.emplace_back(*dir);
    std::vector<std::filesystem::path> lists;
    const char* desktops = g_getenv("XDG_CURRENT_DESKTOP");
    if (desktops == nullptr) return lists;
    gchar** names = g_strsplit(desktops, ":", -1);
    for (const auto& folder : folders) {
        for (gchar** name = names; *name != nullptr; ++name) {
            if (**name == '\0') continue;
            const OwnedText lower(g_ascii_strdown(*name, -1));
            const auto list = folder / (std::string(lower.get()) + "-mimeapps.list");
            const auto bytes = readSmallFile(list, kMaxListSize);
            if (!bytes) continue;
            const OwnedKeyFile keys(g_key_file_new());
            if (!g_key_file_load_from_data(keys.get(), bytes->data(), bytes->size(), G_KEY_FILE_NONE, nullptr)) continue;
            if (g_key_file_has_key(keys.get(), kDefaultsGroup, type, nullptr)) lists.push_back(list);
        }
    }
    g_strfreev(names);
    return lists;
}

}  // namespace pivra
