#include "app/workspace/installed_apps.hpp"

#include <algorithm>
#include <set>

#include "core/text/ascii_case.hpp"
#include "core/text/unicode_text.hpp"

namespace pivra {

std::string installedAppName(std::string_view shownName, std::string_view displayName, std::string_view bundleName,
                             std::string_view id) {
    constexpr std::string_view kBundleExtension = ".app";
    std::string_view shown = trimWhitespace(shownName);
    // "Safari.app" loses its extension; a bundle named just ".app" keeps it.
    if (shown.size() > kBundleExtension.size() &&
        equalsIgnoringAsciiCase(shown.substr(shown.size() - kBundleExtension.size()), kBundleExtension)) {
        shown = trimWhitespace(shown.substr(0, shown.size() - kBundleExtension.size()));
    }
    for (std::string_view candidate : {shown, trimWhitespace(displayName), trimWhitespace(bundleName)}) {
        if (!candidate.empty()) return std::string(candidate);
    }
    return std::string(id);
}

std::vector<BrowserApp> browserList(std::vector<InstalledApp> apps, std::string_view ownId, const NameOrder& order) {
    std::vector<BrowserApp> list;
    std::set<std::string, std::less<>> seen;
    for (InstalledApp& app : apps) {
        if (app.id.empty() || app.id == ownId) continue;
        if (!seen.insert(app.id).second) continue;
        list.push_back(std::move(app));
    }
    // Stable and bounds-safe even if a platform order were inconsistent.
    std::stable_sort(list.begin(), list.end(), [&order](const BrowserApp& a, const BrowserApp& b) {
        const int byName = order(a.name, b.name);
        if (byName != 0) return byName < 0;
        return a.id < b.id;
    });
    return list;
}

std::optional<std::string> firstFallbackBrowser(const std::optional<std::string>& previous,
                                                const std::optional<std::string>& current, std::string_view ownId,
                                                const std::vector<BrowserApp>& browsers) {
    const auto usable = [&](std::string_view id) { return !id.empty() && id != ownId; };
    for (const auto* candidate : {&previous, &current}) {
        if (*candidate && usable(**candidate)) return **candidate;
    }
    for (const auto& browser : browsers) {
        if (usable(browser.id)) return browser.id;
    }
    return std::nullopt;
}

}  // namespace pivra
