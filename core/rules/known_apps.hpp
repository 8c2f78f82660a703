#pragma once
// What Pivra knows about well-known apps, and the starter rules it builds
// from the apps and browser profiles found on a Mac.

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/browsers/browser_profile.hpp"
#include "core/rules/rules_file.hpp"
#include "core/text/raw_value.hpp"

namespace pivra {

BOOST_DEFINE_ENUM_CLASS(AppKind, work, personal, developer)

// Groups of suggestions, in the order they are shown.
BOOST_DEFINE_ENUM_CLASS(StarterGroup, work, sites, developer, either, personal)
std::string_view title(StarterGroup group);

struct Suggestion {
    std::vector<Rule> rules;
    std::string why;  // one short line shown under it
    bool on = false;  // whether it starts switched on
    StarterGroup group = StarterGroup::work;

    bool operator==(const Suggestion&) const = default;
};

namespace KnownApps {

const std::vector<std::string_view>& workApps();
const std::vector<std::string_view>& messagingApps();
const std::vector<std::string_view>& workOrPersonalApps();
const std::vector<std::string_view>& developerTools();

// The one site whose links its own app opens.
inline constexpr std::string_view kSiteDomain = "figma.com";
inline constexpr std::string_view kSiteApp = "com.figma.Desktop";

// Addresses of a developer's own machine.
const std::vector<std::string>& developerPatterns();

// The kind of a listed app; absent for any other.
std::optional<AppKind> kind(std::string_view bundleID);

// What a profile's name says it is for ("Work", "Personal", "Dev", their
// Chinese forms...); absent when it says nothing.
std::optional<AppKind> classifyProfileName(std::string_view name);

}  // namespace KnownApps

namespace Starter {

// Suggestions from the installed apps, the profiles found per browser, and the
// installed browsers in the app's own order.
std::vector<Suggestion> suggestions(const std::set<std::string>& installedApps,
                                    const std::map<std::string, std::vector<BrowserProfile>>& profiles,
                                    const std::vector<std::string>& installedBrowsers);

}  // namespace Starter
}  // namespace pivra
