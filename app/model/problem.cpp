#include "app/model/problem.hpp"

namespace pivra {

SettingsPage Problem::page() const {
    switch (kind) {
        case ProblemKind::profileFailed:
        case ProblemKind::browserGone: return SettingsPage::browsers;
        case ProblemKind::rulesError: return SettingsPage::rules;
        case ProblemKind::notDefault: return SettingsPage::general;
    }
    return SettingsPage::general;
}

ProblemText problemText(const Problem& problem, std::string_view browserName, std::string_view fallbackName,
                        std::string_view machineNoun) {
    const std::string name(browserName);
    switch (problem.kind) {
        case ProblemKind::profileFailed:
            return {"Couldn’t open a " + name + " profile", "So links opened in " + name + "’s last used profile."};
        case ProblemKind::browserGone:
            return {name + " isn’t on this " + std::string(machineNoun), "Its rules’ links open in " + std::string(fallbackName) + " instead."};
        case ProblemKind::rulesError:
            return {"rules.json has an error", problem.subject + ". Pivra keeps using your last good rules."};
        case ProblemKind::notDefault:
            return {"Pivra isn’t the default browser", "Links skip your rules until Pivra is the default again."};
    }
    return {};
}

SettingsPage settingsPageNamed(std::string_view rawValue) {
    return fromRawValue<SettingsPage>(rawValue).value_or(SettingsPage::general);
}

}  // namespace pivra
