#include "gui/settings/flow_chart_model.hpp"

#include <algorithm>
#include <cmath>

#include "core/activity/link_counts.hpp"
#include "core/rules/insight.hpp"

namespace pivra::FlowChart {
namespace {

template <typename Key>
int indexOf(std::vector<Key>& keys, const Key& key) {
    const auto found = std::find(keys.begin(), keys.end(), key);
    if (found != keys.end()) return static_cast<int>(found - keys.begin());
    keys.push_back(key);
    return static_cast<int>(keys.size()) - 1;
}

std::int64_t linksOf(const std::map<std::string, std::int64_t>& links, const std::string& key) {
    const auto found = links.find(key);
    return found == links.end() ? 0 : std::max<std::int64_t>(found->second, 0);
}

}  // namespace

Chart build(const RulesFile& rules, const std::map<std::string, std::int64_t>& links, const Names& names) {
    Chart chart;
    std::vector<std::string> sourceKeys;
    std::vector<Target> targetKeys;
    for (int i = 0; i < static_cast<int>(rules.rules.size()); ++i) {
        const Rule& rule = rules.rules[static_cast<std::size_t>(i)];
        Step step;
        step.index = i;
        step.title = ruleTitle(i);
        step.condition = conditionText(rule.match);
        step.enabled = rule.enabled;
        step.shadowedBy = Insight::shadowedBy(i, rules.rules);
        step.source = indexOf(sourceKeys, rule.from);
        step.target = indexOf(targetKeys, rule.open);
        // A rule without an id has never been counted.
        step.links = rule.id.empty() ? 0 : linksOf(links, rule.id);
        chart.steps.push_back(std::move(step));
    }
    Step fallback;
    fallback.title = std::string(kFallbackTitle);
    fallback.condition = std::string(kFallbackDetail);
    fallback.source = indexOf(sourceKeys, std::string("*"));
    fallback.target = indexOf(targetKeys, rules.fallback);
    fallback.links = linksOf(links, std::string(kFallbackCountKey));
    chart.steps.push_back(std::move(fallback));

    for (const auto& key : sourceKeys) chart.sources.push_back(End{key == "*" ? std::string(kAnyApp) : names.app(key), 0});
    for (const auto& key : targetKeys) chart.targets.push_back(End{names.target(key), 0});
    for (const auto& step : chart.steps) {
        chart.sources[static_cast<std::size_t>(step.source)].links += step.links;
        chart.targets[static_cast<std::size_t>(step.target)].links += step.links;
        chart.maxLinks = std::max(chart.maxLinks, step.links);
    }
    return chart;
}

double lineWidth(std::int64_t links, std::int64_t maxLinks) {
    if (links <= 0 || maxLinks <= 0) return kMinLineWidth;
    const double share = std::sqrt(static_cast<double>(std::min(links, maxLinks)) / static_cast<double>(maxLinks));
    return kMinLineWidth + (kMaxLineWidth - kMinLineWidth) * share;
}

std::string ruleTitle(int index) { return "Rule " + std::to_string(index + 1); }

std::string conditionText(const Match& match) {
    if (match.kind() == MatchKind::any) return std::string(kAnyLink);
    if (match.values().empty()) return match.kind() == MatchKind::domains ? "No domains" : "No patterns";
    std::string text;
    for (const auto& value : match.values()) {
        if (!text.empty()) text += ", ";
        text += value;
    }
    return text;
}

std::string neverRunsText(int shadowedBy) {
    return std::string(kNeverRuns) + " " + ruleTitle(shadowedBy) + " takes its links first.";
}

}  // namespace pivra::FlowChart
