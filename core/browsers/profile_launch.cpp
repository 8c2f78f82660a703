#include "core/browsers/profile_launch.hpp"

#include <algorithm>

#include "core/browsers/browser_profile.hpp"
#include "core/browsers/browsers.hpp"
#include "core/files/small_file.hpp"
#include "core/routing/link.hpp"
#include "core/text/unicode_text.hpp"

namespace pivra::ProfileLaunch {
namespace {

// An argument ends at a NUL on its way to the browser, and a file path there too:
// a profile whose name holds one can be neither checked nor passed on whole.
bool hasNul(std::string_view profile) { return profile.find('\0') != std::string_view::npos; }

// Where to look for the browser's profiles, and so how to start it: the first
// of `candidates` (never empty) that exists. A browser that has not run yet has
// none; one that may be a Mac app or a Linux package (a Flatpak id that is also
// a Mac bundle identifier) is then taken for what its program is, and a ".app"
// is a Mac app.
BrowserDataFolder launchFolder(const std::vector<BrowserDataFolder>& candidates, std::string_view appPath) {
    if (auto existing = Browsers::firstExisting(candidates)) return std::move(*existing);
    const auto kind = appPath.ends_with(".app") ? BrowserLayout::mac : BrowserLayout::linuxDesktop;
    const auto sameKind = std::ranges::find(candidates, kind, &BrowserDataFolder::layout);
    return sameKind != candidates.end() ? *sameKind : candidates.front();
}

// Refuses a profile the browser's files under `folder` do not have, or whose
// name cannot be a profile; absent when the profile may be passed on.
std::optional<Plan> profileProblem(BrowserFamily family, const std::filesystem::path& folder, const std::string& profile) {
    if (family == BrowserFamily::firefox) {
        if (hasNul(profile)) return Plan::profileMissing();
        // Text that is not UTF-8 lists no profiles, as it does for discovery.
        std::string text = readSmallFile(folder / profileFileName(BrowserFamily::firefox), kMaxProfileFileSize).value_or("");
        if (!isValidUtf8(text)) text.clear();
        const std::string wanted = "Name=" + profile;
        bool found = false;
        for (const auto line : splitLines(text)) found = found || line == wanted;
        if (!found) return Plan::profileMissing();
        return std::nullopt;
    }
    if (profile.empty() || profile.find('/') != std::string::npos || profile.starts_with('.')) {
        return Plan::refused("the profile isn\u2019t a folder name");
    }
    if (hasNul(profile)) return Plan::profileMissing();
    std::error_code ec;
    if (!std::filesystem::is_directory(folder / profile, ec)) return Plan::profileMissing();
    return std::nullopt;
}

// "/usr/bin/open" with the app bundle, then the browser's own arguments.
Plan macPlan(const std::string& link, const BrowserInfo& browser, const std::filesystem::path& folder,
             const std::optional<std::string>& profile, std::string_view appPath, bool newWindow, bool bringForward) {
    if (!appPath.starts_with('/') || !appPath.ends_with(".app")) {
        return Plan::refused("the browser\u2019s path isn\u2019t an app");
    }
    if (profile) {
        if (auto problem = profileProblem(browser.family, folder, *profile)) return std::move(*problem);
    }
    std::vector<std::string> arguments{bringForward ? "-na" : "-gna", std::string(appPath), "--args"};
    if (browser.family == BrowserFamily::firefox) {
        if (profile) {
            arguments.push_back("-P");
            arguments.push_back(*profile);
        }
        arguments.push_back(newWindow ? "-new-window" : "-new-tab");
    } else {
        if (profile) arguments.push_back("--profile-directory=" + *profile);
        if (newWindow) arguments.push_back("--new-window");
    }
    arguments.push_back(link);
    return Plan::open(std::move(arguments));
}

// The browser's own program with its arguments. Chromium reads every argument
// after "--" as a link; Firefox takes the link as the value of its window or
// tab option. Neither takes an argument to open behind the front window, so
// bringing forward changes nothing here.
Plan linuxPlan(const std::string& link, const BrowserInfo& browser, const std::filesystem::path& folder,
               const std::optional<std::string>& profile, std::string_view appPath, bool newWindow) {
    if (!appPath.starts_with('/') || hasNul(appPath)) return Plan::refused("the browser\u2019s program isn\u2019t a full path");
    if (profile) {
        if (auto problem = profileProblem(browser.family, folder, *profile)) return std::move(*problem);
    }
    std::vector<std::string> arguments;
    if (browser.family == BrowserFamily::firefox) {
        if (profile) {
            arguments.push_back("-P");
            arguments.push_back(*profile);
        }
        arguments.push_back(newWindow ? "--new-window" : "--new-tab");
    } else {
        if (profile) arguments.push_back("--profile-directory=" + *profile);
        if (newWindow) arguments.push_back("--new-window");
        arguments.push_back("--");
    }
    arguments.push_back(link);
    return Plan::run(std::string(appPath), std::move(arguments));
}

}  // namespace

std::optional<Plan> plan(boost::urls::url_view link, std::string_view bundleID,
                         const std::optional<std::string>& profile, std::string_view appPath, bool newWindow,
                         bool bringForward, const std::filesystem::path& home) {
    const auto browser = Browsers::lookup(bundleID);
    if (!browser) return std::nullopt;
    const auto candidates = Browsers::dataFolders(*browser, home);
    if (candidates.empty()) return std::nullopt;
    if (!profile && !newWindow) return std::nullopt;

    // Only a web link may follow the browser's other arguments: anything else
    // could be read by the browser as an option or a local file.
    if (!isWebScheme(link.scheme())) return Plan::refused("the link isn\u2019t a web link");

    const auto folder = launchFolder(candidates, appPath);
    const std::string linkText(link.buffer());
    if (folder.layout == BrowserLayout::mac) {
        return macPlan(linkText, *browser, folder.path, profile, appPath, newWindow, bringForward);
    }
    return linuxPlan(linkText, *browser, folder.path, profile, appPath, newWindow);
}

}  // namespace pivra::ProfileLaunch
