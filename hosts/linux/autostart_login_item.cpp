// GLib only, no Qt: GLib's headers use "signals" as a name, which Qt defines.
#include "hosts/linux/autostart_login_item.hpp"

#include <glib.h>

#include <memory>
#include <system_error>

#include "app/storage/file_io.hpp"
#include "core/files/small_file.hpp"
#include "core/text/unicode_text.hpp"
#include "hosts/linux/glib_owned.hpp"

namespace pivra {
namespace {

using glib::OwnedText;
using glib::OwnedKeyFile;

constexpr const char* kGroup = G_KEY_FILE_DESKTOP_GROUP;
constexpr const char* kEnabledKey = "X-GNOME-Autostart-enabled";
constexpr const char* kAppName = "Pivra";
constexpr const char* kRunArgument = "run";
// An autostart entry is a few lines; a larger file is not one.
constexpr std::uintmax_t kMaxEntrySize = 64 * 1024;

enum class EntryState { missing, on, off };

// The entry's keys, comments and translations kept; null when it cannot be
// read or is not a desktop entry.
OwnedKeyFile loadEntry(const std::filesystem::path& file) {
    const auto bytes = readSmallFile(file, kMaxEntrySize);
    if (!bytes) return nullptr;
    OwnedKeyFile keys(g_key_file_new());
    const auto flags = static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
    if (!g_key_file_load_from_data(keys.get(), bytes->data(), bytes->size(), flags, nullptr)) return nullptr;
    if (!g_key_file_has_group(keys.get(), kGroup)) return nullptr;
    return keys;
}

// The key's value; `fallback` when it is missing or not a boolean.
bool booleanKey(GKeyFile* keys, const char* key, bool fallback) {
    GError* error = nullptr;
    const gboolean value = g_key_file_get_boolean(keys, kGroup, key, &error);
    if (error == nullptr) return value != FALSE;
    g_error_free(error);
    return fallback;
}

EntryState stateOf(const std::filesystem::path& file) {
    std::error_code error;
    if (!std::filesystem::exists(file, error)) return error ? EntryState::off : EntryState::missing;
    const auto keys = loadEntry(file);
    if (!keys || booleanKey(keys.get(), G_KEY_FILE_DESKTOP_KEY_HIDDEN, false) ||
        !booleanKey(keys.get(), kEnabledKey, true)) {
        return EntryState::off;
    }
    return EntryState::on;
}

bool writeEntry(const std::filesystem::path& file, GKeyFile* keys) {
    gsize length = 0;
    const OwnedText data(g_key_file_to_data(keys, &length, nullptr));
    return data && writeFileAtomically(file, std::string_view(data.get(), length));
}

}  // namespace

std::string execArgument(std::string_view argument) {
    // The characters that the Exec line reserves, and those that a shell would
    // take for its own.
    constexpr std::string_view kReserved = " \t\n\r\"'\\><~|&;$*?#`()";
    const bool quoted = argument.empty() || argument.find_first_of(kReserved) != std::string_view::npos;
    std::string result = quoted ? "\"" : "";
    for (const char c : argument) {
        if (c == '%') {
            result += "%%";
            continue;
        }
        if (quoted && (c == '"' || c == '`' || c == '$' || c == '\\')) result += '\\';
        result += c;
    }
    if (quoted) result += '"';
    return result;
}

AutostartLoginItem::AutostartLoginItem(std::filesystem::path userFolder, std::vector<std::filesystem::path> systemFolders,
                                       std::filesystem::path program, std::string_view appId)
    : program_(std::move(program)) {
    const std::string fileName = std::string(appId) + ".desktop";
    userEntry_ = std::move(userFolder) / fileName;
    for (auto& folder : systemFolders) systemEntries_.push_back(std::move(folder) / fileName);
}

std::filesystem::path AutostartLoginItem::userAutostartFolder() {
    return std::filesystem::path(g_get_user_config_dir()) / "autostart";
}

std::vector<std::filesystem::path> AutostartLoginItem::systemAutostartFolders() {
    std::vector<std::filesystem::path> folders;
    for (const gchar* const* dir = g_get_system_config_dirs(); *dir != nullptr; ++dir) {
        folders.push_back(std::filesystem::path(*dir) / "autostart");
    }
    return folders;
}

bool AutostartLoginItem::isEnabled() const {
    if (const auto user = stateOf(userEntry_); user != EntryState::missing) return user == EntryState::on;
    for (const auto& entry : systemEntries_) {
        if (const auto state = stateOf(entry); state != EntryState::missing) return state == EntryState::on;
    }
    return false;
}

bool AutostartLoginItem::setEnabled(bool enabled) {
    // Key files hold UTF-8 only: GIO would refuse the line of any other path.
    // GIO also looks for the program before it undoes the "%%" of a "%", so
    // GNOME's session would skip an entry whose program's path has one.
    const bool canRun = !program_.empty() && isValidUtf8(program_.native()) &&
                        program_.native().find('%') == std::string::npos;
    if (!enabled) {
        bool systemStarts = false;
        for (const auto& entry : systemEntries_) {
            if (const auto state = stateOf(entry); state != EntryState::missing) {
                systemStarts = state == EntryState::on;
                break;
            }
        }
        if (!systemStarts) {
            std::error_code error;
            std::filesystem::remove(userEntry_, error);  // none there is success too
            return !error;
        }
    } else if (!canRun) {
        return false;
    }
    OwnedKeyFile keys = loadEntry(userEntry_);
    if (!keys) keys.reset(g_key_file_new());
    g_key_file_set_string(keys.get(), kGroup, G_KEY_FILE_DESKTOP_KEY_TYPE, G_KEY_FILE_DESKTOP_TYPE_APPLICATION);
    g_key_file_set_string(keys.get(), kGroup, G_KEY_FILE_DESKTOP_KEY_NAME, kAppName);
    if (canRun) {
        const std::string exec = execArgument(program_.native()) + " " + kRunArgument;
        g_key_file_set_string(keys.get(), kGroup, G_KEY_FILE_DESKTOP_KEY_EXEC, exec.c_str());
    }
    if (enabled) {
        g_key_file_set_boolean(keys.get(), kGroup, kEnabledKey, TRUE);
        g_key_file_remove_key(keys.get(), kGroup, G_KEY_FILE_DESKTOP_KEY_HIDDEN, nullptr);
    } else {
        // Masks the system's entry of the same name.
        g_key_file_set_boolean(keys.get(), kGroup, G_KEY_FILE_DESKTOP_KEY_HIDDEN, TRUE);
    }
    return writeEntry(userEntry_, keys.get());
}

}  // namespace pivra
