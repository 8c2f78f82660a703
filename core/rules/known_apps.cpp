#include "core/rules/known_apps.hpp"

#include <unordered_map>

#include "core/text/unicode_text.hpp"

namespace pivra {

std::string_view title(StarterGroup group) {
    switch (group) {
        case StarterGroup::work: return "Work apps";
        case StarterGroup::sites: return "Apps that open their own links";
        case StarterGroup::developer: return "Developer tools";
        case StarterGroup::either: return "Work or personal";
        case StarterGroup::personal: return "Personal";
    }
    return "";
}

namespace KnownApps {

const std::vector<std::string_view>& workApps() {
    static const std::vector<std::string_view> apps{
        "com.tinyspeck.slackmacgap", "com.microsoft.teams2",    "com.microsoft.teams",       "com.microsoft.Outlook",
        "us.zoom.xos",               "com.cisco.webexmeetingsapp", "notion.id",              "com.linear",
        "com.cron.electron",         "com.atlassian.trello",    "com.asana.app",             "com.clickup.desktop-app",
        "com.loom.desktop",          "com.electron.realtimeboard", "com.figma.Desktop",      "com.superhuman.electron",
        "com.microsoft.Word",        "com.microsoft.Excel",     "com.microsoft.Powerpoint",
    };
    return apps;
}

const std::vector<std::string_view>& messagingApps() {
    static const std::vector<std::string_view> apps{"com.apple.MobileSMS", "net.whatsapp.WhatsApp",
                                                    "org.whispersystems.signal-desktop", "ru.keepcoder.Telegram",
                                                    "com.facebook.archon"};
    return apps;
}

const std::vector<std::string_view>& workOrPersonalApps() {
    static const std::vector<std::string_view> apps{
        "com.hnc.Discord",         "com.apple.mail",           "ch.protonmail.desktop",     "org.mozilla.thunderbird",
        "com.readdle.SparkDesktop", "com.mimestream.Mimestream", "com.apple.iCal",          "com.flexibits.fantastical2.mac",
        "com.culturedcode.ThingsMac", "com.todoist.mac.Todoist", "md.obsidian",              "com.lukilabs.lukiapp",
        "net.shinyfrog.bear",      "com.anthropic.claudefordesktop", "com.openai.chat",      "com.raycast.macos",
    };
    return apps;
}

const std::vector<std::string_view>& developerTools() {
    static const std::vector<std::string_view> apps{
        "com.apple.Terminal",       "com.mitchellh.ghostty",   "com.googlecode.iterm2",  "dev.warp.Warp-Stable",
        "com.microsoft.VSCode",     "com.todesktop.230313mzl4w4u92", "dev.zed.Zed",      "com.apple.dt.Xcode",
        "com.sublimetext.4",        "com.panic.Nova",          "com.jetbrains.intellij", "com.jetbrains.WebStorm",
        "com.google.android.studio", "com.docker.docker",      "com.usebruno.app",       "com.postmanlabs.mac",
        "com.github.GitHubClient",  "com.fournova.Tower3",     "com.DanPristupov.Fork",  "dev.expo.orbit",
        "com.xk72.Charles",
    };
    return apps;
}

const std::vector<std::string>& developerPatterns() {
    static const std::vector<std::string> patterns{"localhost:*", "127.0.0.1:*"};
    return patterns;
}

std::optional<AppKind> kind(std::string_view bundleID) {
    static const auto kinds = [] {
        std::unordered_map<std::string_view, AppKind> map;
        for (const auto app : workApps()) map[app] = AppKind::work;
        for (const auto app : messagingApps()) map[app] = AppKind::personal;
        for (const auto app : workOrPersonalApps()) map[app] = AppKind::personal;
        for (const auto app : developerTools()) map[app] = AppKind::developer;
        return map;
    }();
    const auto found = kinds.find(bundleID);
    if (found == kinds.end()) return std::nullopt;
    return found->second;
}

std::optional<AppKind> classifyProfileName(std::string_view name) {
    const std::string lowered = lowerCaseText(name);
    const auto containsAny = [&](std::initializer_list<std::string_view> words) {
        for (const auto word : words) {
            if (lowered.find(word) != std::string::npos) return true;
        }
        return false;
    };
    if (containsAny({"work", "office", "company", "job", "\u5DE5\u4F5C", "\u516C\u53F8"})) return AppKind::work;
    if (containsAny({"personal", "home", "private", "\u500B\u4EBA", "\u79C1\u4EBA", "\u4E2A\u4EBA"})) return AppKind::personal;
    if (lowered == "me") return AppKind::personal;
    if (containsAny({"dev", "test", "staging", "\u958B\u767C"})) return AppKind::developer;
    return std::nullopt;
}

}  // namespace KnownApps

namespace Starter {
namespace {

struct ProfileTarget {
    Target target;
    std::string profileName;
};

Rule starterRule(std::string from, std::string idSuffix, Match match, Target open) {
    Rule rule;
    rule.id = "starter-" + idSuffix;
    rule.from = std::move(from);
    rule.match = std::move(match);
    rule.open = std::move(open);
    return rule;  // enabled, brought forward, no new window: the defaults
}

Rule appRule(std::string_view app, const Target& open) {
    return starterRule(std::string(app), std::string(app), Match::any(), open);
}

}  // namespace

std::vector<Suggestion> suggestions(const std::set<std::string>& installedApps,
                                    const std::map<std::string, std::vector<BrowserProfile>>& profiles,
                                    const std::vector<std::string>& installedBrowsers) {
    const auto installed = [&](std::string_view app) { return installedApps.contains(std::string(app)); };

    // std::map walks bundle identifiers in plain byte order.
    std::map<AppKind, ProfileTarget> targets;
    for (const auto& [browser, list] : profiles) {
        for (const auto& profile : list) {
            const auto kind = KnownApps::classifyProfileName(profile.name);
            if (kind && !targets.contains(*kind)) targets.emplace(*kind, ProfileTarget{Target{browser, profile.id}, profile.name});
        }
    }
    const auto targetFor = [&](AppKind kind) -> const ProfileTarget* {
        const auto found = targets.find(kind);
        return found == targets.end() ? nullptr : &found->second;
    };

    std::optional<Target> plainBrowser;
    if (!profiles.empty()) {
        plainBrowser = Target{profiles.begin()->first, std::nullopt};
    } else {
        for (const auto& browser : installedBrowsers) {
            if (browser != "com.apple.Safari") {
                plainBrowser = Target{browser, std::nullopt};
                break;
            }
        }
    }

    std::vector<Suggestion> result;
    const ProfileTarget* work = targetFor(AppKind::work);
    for (const auto app : KnownApps::workApps()) {
        if (!installed(app)) continue;
        if (work) {
            result.push_back({{appRule(app, work->target)}, work->profileName + " profile", true, StarterGroup::work});
        } else if (plainBrowser) {
            result.push_back({{appRule(app, *plainBrowser)}, "Keeps work apart", false, StarterGroup::work});
        }
    }

    if (installed(KnownApps::kSiteApp)) {
        result.push_back({{starterRule("*", std::string(KnownApps::kSiteDomain), Match::domains({std::string(KnownApps::kSiteDomain)}),
                                       Target{std::string(KnownApps::kSiteApp), std::nullopt})},
                          "App installed", true, StarterGroup::sites});
    }

    std::vector<std::string_view> tools;
    for (const auto app : KnownApps::developerTools()) {
        if (installed(app)) tools.push_back(app);
    }
    const ProfileTarget* developer = targetFor(AppKind::developer);
    if (!tools.empty() && (developer || plainBrowser)) {
        const Target open = developer ? developer->target : *plainBrowser;
        Suggestion suggestion{{}, developer ? developer->profileName + " profile" : "Dev tools",
                              // Without a developer profile the suggestion only moves links between
                              // browsers; the user switches that on deliberately.
                              developer != nullptr, StarterGroup::developer};
        for (const auto app : tools) {
            suggestion.rules.push_back(
                starterRule(std::string(app), std::string(app), Match::patterns(KnownApps::developerPatterns()), open));
        }
        result.push_back(std::move(suggestion));
    }

    if (work) {
        for (const auto app : KnownApps::workOrPersonalApps()) {
            if (installed(app)) {
                result.push_back({{appRule(app, work->target)}, "Work or personal?", false, StarterGroup::either});
            }
        }
    }

    if (const ProfileTarget* personal = targetFor(AppKind::personal)) {
        for (const auto app : KnownApps::messagingApps()) {
            if (installed(app)) {
                result.push_back({{appRule(app, personal->target)}, personal->profileName + " profile", true,
                                  StarterGroup::personal});
            }
        }
    }
    return result;
}

}  // namespace Starter
}  // namespace pivra
