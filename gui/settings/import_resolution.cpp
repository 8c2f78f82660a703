#include "gui/settings/import_resolution.hpp"

#include <set>

namespace pivra {

std::string gapText(const ImportGap& gap, const std::function<std::string(const std::string&)>& appName) {
    const std::string name = appName(gap.kind.app());
    switch (gap.kind.kind()) {
        case ImportGap::Kind::Case::missingApp: return name + std::string(ImportText::kNotInstalled);
        case ImportGap::Kind::Case::missingProfile:
            return name + std::string(ImportText::kProfileCalled) + "“" + gap.kind.profile() + "”";
        case ImportGap::Kind::Case::missingSource: return name + std::string(ImportText::kNotOnThisMac);
    }
    return name;
}

std::string gapRulesText(const ImportGap& gap) {
    std::string text = gap.rules.size() == 1 ? "Used by rule " : "Used by rules ";
    for (std::size_t i = 0; i < gap.rules.size(); ++i) {
        if (i > 0) text += ", ";
        text += std::to_string(gap.rules[i] + 1);
    }
    return text;
}

bool someRulesHaveNoGap(std::size_t ruleCount, const std::vector<ImportGap>& gaps) {
    std::set<int> needing;
    for (const auto& gap : gaps) needing.insert(gap.rules.begin(), gap.rules.end());
    return needing.size() < ruleCount;
}

RulesFile resolveImport(RulesFile file, const std::vector<ImportGap>& gaps,
                        const std::vector<std::optional<std::string>>& replacements) {
    for (std::size_t g = 0; g < gaps.size() && g < replacements.size(); ++g) {
        if (!replacements[g]) continue;
        const std::string& with = *replacements[g];
        const ImportGap& gap = gaps[g];
        for (const int position : gap.rules) {
            if (position < 0 || position >= static_cast<int>(file.rules.size())) continue;
            Rule& rule = file.rules[static_cast<std::size_t>(position)];
            switch (gap.kind.kind()) {
                case ImportGap::Kind::Case::missingApp:
                    if (rule.open.app == gap.kind.app() && !with.empty()) rule.open = Target{with, std::nullopt};
                    break;
                case ImportGap::Kind::Case::missingProfile:
                    if (rule.open.app == gap.kind.app() && rule.open.profile == gap.kind.profile()) {
                        rule.open.profile = with.empty() ? std::nullopt : std::optional<std::string>(with);
                    }
                    break;
                case ImportGap::Kind::Case::missingSource:
                    if (rule.from == gap.kind.app() && !with.empty()) rule.from = with;
                    break;
            }
        }
    }
    return file;
}

}  // namespace pivra
