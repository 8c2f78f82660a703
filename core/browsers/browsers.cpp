#include "core/browsers/browsers.hpp"

#include <algorithm>
#include <unordered_map>

#include "core/files/data_location.hpp"

namespace pivra {

namespace Browsers {
namespace {

constexpr auto kLinux = BrowserLayout::linuxDesktop;

// The folders under the home folder for a Linux entry's key, in the order they
// are tried. A Flatpak keeps its files in ".var/app/<id>", where the app's
// ".config" is "config"; a Snap in "snap/<name>/common".
const std::vector<std::string_view>* linuxFolders(std::string_view key) {
    static const std::unordered_map<std::string_view, std::vector<std::string_view>> folders{
        {"chrome", {".config/google-chrome"}},
        {"chrome-beta", {".config/google-chrome-beta"}},
        {"chrome-unstable", {".config/google-chrome-unstable"}},
        {"chrome-flatpak", {".var/app/com.google.Chrome/config/google-chrome"}},
        {"chromium", {".config/chromium"}},
        {"chromium-snap", {"snap/chromium/common/chromium"}},
        {"chromium-flatpak", {".var/app/org.chromium.Chromium/config/chromium"}},
        {"brave", {".config/BraveSoftware/Brave-Browser"}},
        {"brave-flatpak", {".var/app/com.brave.Browser/config/BraveSoftware/Brave-Browser"}},
        {"edge", {".config/microsoft-edge"}},
        {"edge-flatpak", {".var/app/com.microsoft.Edge/config/microsoft-edge"}},
        {"vivaldi", {".config/vivaldi"}},
        {"vivaldi-flatpak", {".var/app/com.vivaldi.Vivaldi/config/vivaldi"}},
        {"opera", {".config/opera"}},
        {"opera-flatpak", {".var/app/com.opera.Opera/config/opera"}},
        {"firefox", {".mozilla/firefox", ".config/mozilla/firefox"}},
        {"firefox-snap", {"snap/firefox/common/.mozilla/firefox"}},
        {"firefox-flatpak", {".var/app/org.mozilla.firefox/.mozilla/firefox",
                             ".var/app/org.mozilla.firefox/config/mozilla/firefox"}},
    };
    const auto found = folders.find(key);
    return found == folders.end() ? nullptr : &found->second;
}

// The Linux entry with exactly this identifier, whether or not a Mac entry hides it.
const BrowserInfo* linuxEntry(std::string_view identifier) {
    static const auto index = [] {
        std::unordered_map<std::string_view, const BrowserInfo*> byIdentifier;
        for (const auto& browser : allLinux()) byIdentifier.emplace(browser.bundleID, &browser);
        return byIdentifier;
    }();
    const auto found = index.find(identifier);
    return found == index.end() ? nullptr : found->second;
}

}  // namespace

const std::vector<BrowserInfo>& all() {
    static const std::vector<BrowserInfo> browsers{
        {"com.google.Chrome", BrowserFamily::chromium, "chrome"},
        {"com.google.Chrome.beta", BrowserFamily::chromium, "chrome-beta"},
        {"com.google.Chrome.canary", BrowserFamily::chromium, "chrome-canary"},
        {"org.chromium.Chromium", BrowserFamily::chromium, "chromium"},
        {"com.microsoft.edgemac", BrowserFamily::chromium, "edge"},
        {"com.brave.Browser", BrowserFamily::chromium, "brave"},
        {"com.vivaldi.Vivaldi", BrowserFamily::chromium, "vivaldi"},
        {"org.mozilla.firefox", BrowserFamily::firefox, "firefox"},
        {"org.mozilla.firefoxdeveloperedition", BrowserFamily::firefox, "firefox"},
        {"org.mozilla.nightly", BrowserFamily::firefox, "firefox"},
    };
    return browsers;
}

const std::vector<BrowserInfo>& allLinux() {
    // Debian's Chromium is "chromium", Ubuntu's older package "chromium-browser";
    // both keep their files in ".config/chromium", as Debian's Firefox ESR shares Firefox's.
    static const std::vector<BrowserInfo> browsers{
        {"google-chrome", BrowserFamily::chromium, "chrome", kLinux},
        {"google-chrome-beta", BrowserFamily::chromium, "chrome-beta", kLinux},
        {"google-chrome-unstable", BrowserFamily::chromium, "chrome-unstable", kLinux},
        {"com.google.Chrome", BrowserFamily::chromium, "chrome-flatpak", kLinux},
        {"chromium", BrowserFamily::chromium, "chromium", kLinux},
        {"chromium-browser", BrowserFamily::chromium, "chromium", kLinux},
        {"chromium_chromium", BrowserFamily::chromium, "chromium-snap", kLinux},
        {"org.chromium.Chromium", BrowserFamily::chromium, "chromium-flatpak", kLinux},
        {"brave-browser", BrowserFamily::chromium, "brave", kLinux},
        {"com.brave.Browser", BrowserFamily::chromium, "brave-flatpak", kLinux},
        {"microsoft-edge", BrowserFamily::chromium, "edge", kLinux},
        {"com.microsoft.Edge", BrowserFamily::chromium, "edge-flatpak", kLinux},
        {"vivaldi-stable", BrowserFamily::chromium, "vivaldi", kLinux},
        {"com.vivaldi.Vivaldi", BrowserFamily::chromium, "vivaldi-flatpak", kLinux},
        {"opera", BrowserFamily::chromium, "opera", kLinux},
        {"com.opera.Opera", BrowserFamily::chromium, "opera-flatpak", kLinux},
        {"firefox", BrowserFamily::firefox, "firefox", kLinux},
        {"firefox-esr", BrowserFamily::firefox, "firefox", kLinux},
        {"firefox_firefox", BrowserFamily::firefox, "firefox-snap", kLinux},
        {"org.mozilla.firefox", BrowserFamily::firefox, "firefox-flatpak", kLinux},
    };
    return browsers;
}

const std::vector<BrowserInfo>& allByIdentifier() {
    static const std::vector<BrowserInfo> browsers = [] {
        std::vector<BrowserInfo> list = all();
        for (const auto& browser : allLinux()) {
            const bool hidden = std::ranges::any_of(all(), [&](const BrowserInfo& mac) { return mac.bundleID == browser.bundleID; });
            if (!hidden) list.push_back(browser);
        }
        return list;
    }();
    return browsers;
}

std::optional<BrowserInfo> lookup(std::string_view bundleID) {
    static const auto index = [] {
        std::unordered_map<std::string_view, const BrowserInfo*> byIdentifier;
        for (const auto& browser : allByIdentifier()) byIdentifier.emplace(browser.bundleID, &browser);
        return byIdentifier;
    }();
    const auto found = index.find(bundleID);
    if (found == index.end()) return std::nullopt;
    return *found->second;
}

std::optional<std::string_view> folder(std::string_view key) {
    static const std::unordered_map<std::string_view, std::string_view> folders{
        {"chrome", "Google/Chrome"},   {"chrome-beta", "Google/Chrome Beta"},
        {"chrome-canary", "Google/Chrome Canary"}, {"chromium", "Chromium"},
        {"edge", "Microsoft Edge"},    {"brave", "BraveSoftware/Brave-Browser"},
        {"vivaldi", "Vivaldi"},        {"firefox", "Firefox"},
    };
    const auto found = folders.find(key);
    if (found == folders.end()) return std::nullopt;
    return found->second;
}

std::vector<BrowserDataFolder> dataFolders(const BrowserInfo& browser, const std::filesystem::path& home) {
    std::vector<BrowserDataFolder> candidates;
    const BrowserInfo* desktop = &browser;
    if (browser.layout == BrowserLayout::mac) {
        if (const auto relative = folder(browser.key)) {
            candidates.push_back({applicationSupportFolder(home) / std::filesystem::path(*relative), BrowserLayout::mac});
        }
        desktop = linuxEntry(browser.bundleID);
        if (!desktop) return candidates;
    }
    if (const auto* relatives = linuxFolders(desktop->key)) {
        for (const auto relative : *relatives) candidates.push_back({home / std::filesystem::path(relative), kLinux});
    }
    return candidates;
}

std::optional<BrowserDataFolder> firstExisting(const std::vector<BrowserDataFolder>& candidates) {
    const auto existing = std::ranges::find_if(candidates, [](const BrowserDataFolder& candidate) {
        std::error_code ec;
        return std::filesystem::is_directory(candidate.path, ec);
    });
    if (existing == candidates.end()) return std::nullopt;
    return *existing;
}

std::optional<BrowserDataFolder> existingDataFolder(const BrowserInfo& browser, const std::filesystem::path& home) {
    return firstExisting(dataFolders(browser, home));
}

std::optional<std::filesystem::path> dataFolder(const BrowserInfo& browser, const std::filesystem::path& home) {
    const auto candidates = dataFolders(browser, home);
    if (candidates.empty()) return std::nullopt;
    return firstExisting(candidates).value_or(candidates.front()).path;
}

}  // namespace Browsers

namespace AppBundle {

std::optional<std::string> enclosing(std::string_view path) {
    std::size_t start = 0;
    for (;;) {
        const std::size_t end = path.find('/', start);
        const std::string_view piece = path.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start);
        if (piece.ends_with(".app")) return std::string(path.substr(0, start + piece.size()));
        if (end == std::string_view::npos) return std::nullopt;
        start = end + 1;
    }
}

}  // namespace AppBundle
}  // namespace pivra
