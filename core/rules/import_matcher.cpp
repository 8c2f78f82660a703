#include "core/rules/import_matcher.hpp"

#include <algorithm>

namespace pivra {

std::string ImportGap::Kind::textKey() const {
    switch (case_) {
        case Case::missingApp: return "app:" + app_;
        case Case::missingProfile: return "profile:" + app_ + "/" + profile_;
        case Case::missingSource: return "source:" + app_;
    }
    return "";
}

namespace ImportMatcher {

std::vector<ImportGap> gaps(const RulesFile& imported, const std::set<std::string>& installedApps,
                            const std::map<std::string, std::vector<BrowserProfile>>& profiles) {
    std::vector<ImportGap> result;
    const auto need = [&](ImportGap::Kind kind, int position) {
        const auto existing = std::find_if(result.begin(), result.end(), [&](const ImportGap& gap) { return gap.kind == kind; });
        if (existing != result.end()) {
            existing->rules.push_back(position);
        } else {
            result.push_back(ImportGap{std::move(kind), {position}});
        }
    };
    for (std::size_t i = 0; i < imported.rules.size(); ++i) {
        const Rule& rule = imported.rules[i];
        const int position = static_cast<int>(i);
        if (!installedApps.contains(rule.open.app)) {
            need(ImportGap::Kind::missingApp(rule.open.app), position);
        } else if (rule.open.profile && !profiles.empty()) {
            const auto known = profiles.find(rule.open.app);
            if (known != profiles.end() &&
                std::none_of(known->second.begin(), known->second.end(),
                             [&](const BrowserProfile& p) { return p.id == *rule.open.profile; })) {
                need(ImportGap::Kind::missingProfile(rule.open.app, *rule.open.profile), position);
            }
        }
        if (rule.from != "*" && !installedApps.contains(rule.from)) need(ImportGap::Kind::missingSource(rule.from), position);
    }
    return result;
}

}  // namespace ImportMatcher
}  // namespace pivra
