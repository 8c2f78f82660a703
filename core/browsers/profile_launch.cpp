#include "core/browsers/profile_launch.hpp"

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

}  // namespace

std::optional<Plan> plan(boost::urls::url_view link, std::string_view bundleID,
                         const std::optional<std::string>& profile, std::string_view appPath, bool newWindow,
                         bool bringForward, const std::filesystem::path& home) {
    const auto browser = Browsers::lookup(bundleID);
    if (!browser) return std::nullopt;
    const auto folder = Browsers::dataFolder(*browser, home);
    if (!folder) return std::nullopt;
    if (!profile && !newWindow) return std::nullopt;

    // Only a web link may follow the browser's other arguments: anything else
    // could be read by the browser as an option or a local file.
    if (!isWebScheme(link.scheme())) return Plan::refused("the link isn\u2019t a web link");
    if (!appPath.starts_with('/') || !appPath.ends_with(".app")) {
        return Plan::refused("the browser\u2019s path isn\u2019t an app");
    }

    std::vector<std::string> arguments{bringForward ? "-na" : "-gna", std::string(appPath), "--args"};
    const std::string linkText(link.buffer());
    if (browser->family == BrowserFamily::firefox) {
        if (profile) {
            if (hasNul(*profile)) return Plan::profileMissing();
            // Text that is not UTF-8 lists no profiles, as it does for discovery.
            std::string text = readSmallFile(*folder / profileFileName(BrowserFamily::firefox), kMaxProfileFileSize).value_or("");
            if (!isValidUtf8(text)) text.clear();
            const std::string wanted = "Name=" + *profile;
            bool found = false;
            for (const auto line : splitLines(text)) found = found || line == wanted;
            if (!found) return Plan::profileMissing();
            arguments.push_back("-P");
            arguments.push_back(*profile);
        }
        arguments.push_back(newWindow ? "-new-window" : "-new-tab");
    } else {
        if (profile) {
            if (profile->empty() || profile->find('/') != std::string::npos || profile->starts_with('.')) {
                return Plan::refused("the profile isn\u2019t a folder name");
            }
            if (hasNul(*profile)) return Plan::profileMissing();
            std::error_code ec;
            if (!std::filesystem::is_directory(*folder / *profile, ec)) return Plan::profileMissing();
            arguments.push_back("--profile-directory=" + *profile);
        }
        if (newWindow) arguments.push_back("--new-window");
    }
    arguments.push_back(linkText);
    return Plan::open(std::move(arguments));
}

}  // namespace pivra::ProfileLaunch
