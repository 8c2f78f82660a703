#include "core/browsers/browsers.hpp"

#include <unordered_map>

#include "core/files/data_location.hpp"

namespace pivra {

namespace Browsers {

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

std::optional<BrowserInfo> lookup(std::string_view bundleID) {
    static const auto index = [] {
        std::unordered_map<std::string_view, const BrowserInfo*> byBundle;
        for (const auto& browser : all()) byBundle.emplace(browser.bundleID, &browser);
        return byBundle;
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

std::optional<std::filesystem::path> dataFolder(const BrowserInfo& browser, const std::filesystem::path& home) {
    const auto relative = folder(browser.key);
    if (!relative) return std::nullopt;
    return applicationSupportFolder(home) / std::filesystem::path(*relative);
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
