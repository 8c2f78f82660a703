#include "gui/settings/trial_lines.hpp"

#include "gui/settings/flow_chart_model.hpp"

namespace pivra {

std::vector<TrialLine> trialLines(const Insight::Trial& trial, const RulesFile& rules,
                                  const std::function<std::string(const std::string&)>& appName,
                                  const std::function<std::string(const Target&)>& targetName) {
    std::vector<TrialLine> lines;
    if (trial.unwrappedFrom) {
        lines.push_back({TrialLine::Kind::note, std::string(TrialText::kUnwrappedFrom), *trial.unwrappedFrom, false,
                         false, std::nullopt});
    }
    lines.push_back({TrialLine::Kind::note, std::string(TrialText::kMatchedAgainst), trial.checked, false, false,
                     std::nullopt});
    for (const auto& step : trial.steps) {
        TrialLine line;
        line.kind = TrialLine::Kind::step;
        line.title = FlowChart::ruleTitle(step.index);
        line.rule = step.index;
        if (!step.verdict) {
            line.skipped = true;
            line.detail = FlowChart::ruleTitle(trial.matched.value_or(0)) + std::string(TrialText::kMatchedFirst);
        } else {
            switch (step.verdict->kind()) {
                case VerdictKind::match:
                    line.matched = true;
                    line.detail = std::string(TrialText::kThisRuleMatched);
                    break;
                case VerdictKind::notFrom:
                    line.detail = std::string(TrialText::kOnlyFrom) + appName(step.verdict->from());
                    break;
                case VerdictKind::off: line.detail = std::string(TrialText::kTurnedOff); break;
                case VerdictKind::notMatched: line.detail = std::string(TrialText::kNotMatched); break;
            }
        }
        lines.push_back(std::move(line));
    }
    TrialLine result;
    result.kind = TrialLine::Kind::result;
    result.matched = true;
    if (trial.matched && *trial.matched < static_cast<int>(rules.rules.size())) {
        result.title = FlowChart::ruleTitle(*trial.matched);
        result.detail = targetName(rules.rules[static_cast<std::size_t>(*trial.matched)].open);
        result.rule = trial.matched;
    } else {
        result.title = std::string(TrialText::kNoRuleMatched);
        result.detail = targetName(rules.fallback);
    }
    lines.push_back(std::move(result));
    return lines;
}

}  // namespace pivra
