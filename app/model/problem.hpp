#pragma once
// A condition that keeps links from going the way the user set them up. The
// identifier is its identity: raising a problem that is already listed
// changes nothing.

#include <string>
#include <string_view>

#include "core/text/raw_value.hpp"

namespace pivra {

BOOST_DEFINE_ENUM_CLASS(ProblemKind, profileFailed, browserGone, rulesError, notDefault)

// The pages of the settings window, in their order.
BOOST_DEFINE_ENUM_CLASS(SettingsPage, rules, browsers, picker, menuBar, general)

struct Problem {
    ProblemKind kind;
    // The browser's identifier (profileFailed, browserGone), the rules
    // file's error text (rulesError), or empty (notDefault).
    std::string subject;

    static Problem profileFailed(std::string browser) { return {ProblemKind::profileFailed, std::move(browser)}; }
    static Problem browserGone(std::string browser) { return {ProblemKind::browserGone, std::move(browser)}; }
    static Problem rulesError(std::string text) { return {ProblemKind::rulesError, std::move(text)}; }
    static Problem notDefault() { return {ProblemKind::notDefault, {}}; }

    // "profileFailed:com.google.Chrome", "browserGone:…", "rulesError", "notDefault".
    std::string identifier() const {
        switch (kind) {
            case ProblemKind::profileFailed:
            case ProblemKind::browserGone: return std::string(rawValue(kind)) + ":" + subject;
            case ProblemKind::rulesError:
            case ProblemKind::notDefault: return std::string(rawValue(kind));
        }
        return {};
    }

    // The settings page where the problem is fixed.
    SettingsPage page() const;

    bool operator==(const Problem&) const = default;
};

// A problem as the menu and a notification say it.
struct ProblemText {
    std::string title;
    std::string body;
};

// `browserName`: the name people read for the problem's browser (its
// identifier when unknown); `fallbackName`: the rules' fallback's;
// `machineNoun`: what the texts call this machine (AppInfo::machineNoun).
ProblemText problemText(const Problem& problem, std::string_view browserName, std::string_view fallbackName,
                        std::string_view machineNoun);

// The page a notification names by its raw value; "general" for anything else.
SettingsPage settingsPageNamed(std::string_view rawValue);

}  // namespace pivra
