#include "hosts/linux/process_app.hpp"

#include <algorithm>
#include <iterator>
#include <cctype>
#include <span>

namespace pivra {
namespace {

constexpr std::string_view kAppUnitPrefix = "app-";
constexpr std::string_view kScopeSuffix = ".scope";
constexpr std::string_view kServiceSuffix = ".service";
constexpr std::string_view kAutostartPart = "autostart";

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    while (true) {
        const auto at = text.find(separator);
        parts.push_back(text.substr(0, at));
        if (at == std::string_view::npos) return parts;
        text.remove_prefix(at + 1);
    }
}

std::optional<std::string> innermostUnit(std::string_view path) {
    const auto components = split(path, '/');
    for (auto it = components.rbegin(); it != components.rend(); ++it) {
        if (it->ends_with(kScopeSuffix) || it->ends_with(kServiceSuffix)) return std::string(*it);
    }
    return std::nullopt;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// systemd's unit-name escapes: "\xNN" is the byte NN. Anything else stays.
std::string unescapeUnitName(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size() && text[i + 1] == 'x') {
            const int high = hexValue(text[i + 2]);
            const int low = hexValue(text[i + 3]);
            if (high >= 0 && low >= 0) {
                result += static_cast<char>(high * 16 + low);
                i += 3;
                continue;
            }
        }
        result += text[i];
    }
    return result;
}

// A desktop-file id names a file: no folders, no control characters.
bool isPlausibleDesktopId(std::string_view id) {
    return !id.empty() && std::ranges::none_of(id, [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return c == '/' || byte < 0x20 || byte == 0x7f;
    });
}

std::string joined(std::span<const std::string_view> segments) {
    std::string result;
    for (const auto segment : segments) {
        if (!result.empty()) result += '-';
        result += segment;
    }
    return result;
}

}  // namespace

std::optional<std::string> unitNameFromCgroup(std::string_view cgroupText) {
    std::optional<std::string_view> unified;
    std::optional<std::string_view> systemdV1;
    for (const auto line : split(cgroupText, '\n')) {
        // "<hierarchy>:<controllers>:<path>"; the path may hold colons itself.
        const auto first = line.find(':');
        if (first == std::string_view::npos) continue;
        const auto second = line.find(':', first + 1);
        if (second == std::string_view::npos) continue;
        const auto hierarchy = line.substr(0, first);
        const auto controllers = line.substr(first + 1, second - first - 1);
        const auto path = line.substr(second + 1);
        if (hierarchy == "0" && controllers.empty()) {
            unified = path;
        } else if (controllers == "name=systemd") {
            systemdV1 = path;
        }
    }
    for (const auto& path : {unified, systemdV1}) {
        if (!path) continue;
        if (auto unit = innermostUnit(*path)) return unit;
    }
    return std::nullopt;
}

std::vector<std::string> desktopIdCandidates(std::string_view unitName) {
    if (!unitName.starts_with(kAppUnitPrefix)) return {};
    std::string_view body = unitName.substr(kAppUnitPrefix.size());
    bool scope = false;
    bool instance = false;
    if (body.ends_with(kScopeSuffix)) {
        scope = true;
        body.remove_suffix(kScopeSuffix.size());
    } else if (body.ends_with(kServiceSuffix)) {
        body.remove_suffix(kServiceSuffix.size());
        // A template's instance ("@autostart", "@<uuid>") follows the id.
        if (const auto at = body.find('@'); at != std::string_view::npos) {
            body = body.substr(0, at);
            instance = true;
        }
    } else {
        return {};
    }
    const auto segments = split(body, '-');
    if (std::ranges::any_of(segments, [](std::string_view s) { return s.empty(); })) return {};

    // The segments that hold "[<launcher>-]<id>", in the order of how likely
    // each reading is.
    std::vector<std::span<const std::string_view>> readings;
    const std::span<const std::string_view> all(segments);
    if (scope) {
        if (segments.size() < 2) return {};  // a scope always ends in its random part
        readings.push_back(all.first(segments.size() - 1));
    } else {
        // gnome-session names the services of autostarted apps "...-<id>-autostart".
        const bool autostart = !instance && segments.size() >= 2 && segments.back() == kAutostartPart;
        if (autostart) readings.push_back(all.first(segments.size() - 1));
        readings.push_back(all);
        // The older services ended in a random part too.
        if (!instance && !autostart && segments.size() >= 2) readings.push_back(all.first(segments.size() - 1));
    }

    std::vector<std::string> candidates;
    const auto add = [&](std::span<const std::string_view> idSegments) {
        std::string id = unescapeUnitName(joined(idSegments));
        if (isPlausibleDesktopId(id) && std::ranges::find(candidates, id) == candidates.end()) {
            candidates.push_back(std::move(id));
        }
    };
    for (const auto reading : readings) {
        for (std::size_t launcherLength = 1; launcherLength < reading.size(); ++launcherLength) {
            add(reading.subspan(launcherLength));
        }
        add(reading);
    }
    return candidates;
}

std::optional<std::string> desktopIdFromUnitName(std::string_view unitName,
                                                 const std::function<bool(const std::string&)>& isInstalled) {
    for (auto& candidate : desktopIdCandidates(unitName)) {
        if (isInstalled(candidate)) return std::move(candidate);
    }
    return std::nullopt;
}

bool isLauncherLayer(std::string_view program) {
    // By file name, without a version ("python3.11", "kde-open5", "ksh93").
    static constexpr std::string_view kLayers[] = {
        // shells
        "ash", "bash", "busybox", "csh", "dash", "fish", "ksh", "mksh", "sh", "tcsh", "zsh",
        // openers and launchers of desktop entries
        "exo-open", "gio", "gnome-open", "gtk-launch", "gvfs-open", "kde-open", "kioclient", "xdg-open",
        // wrappers that start the program they are given
        "bwrap", "dbus-launch", "dbus-run-session", "env", "flatpak", "flatpak-spawn", "ionice", "nice",
        "nohup", "pkexec", "setsid", "snap", "stdbuf", "sudo", "systemd-run", "timeout",
        // interpreters of the scripts that many entries run
        "gjs", "java", "mono", "node", "perl", "python", "ruby", "wine",
    };
    if (const auto slash = program.rfind('/'); slash != std::string_view::npos) program.remove_prefix(slash + 1);
    while (!program.empty() && (std::isdigit(static_cast<unsigned char>(program.back())) || program.back() == '.')) {
        program.remove_suffix(1);
    }
    return !program.empty() && std::ranges::find(kLayers, program) != std::end(kLayers);
}

}  // namespace pivra
