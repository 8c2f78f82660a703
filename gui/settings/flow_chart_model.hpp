#pragma once
// The rules page's flow chart as plain data: the apps links come from, the
// numbered rules, and the browsers and profiles they open, joined by lines
// as wide as the links that took them. Drawing it is the view's business.

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/rules/rules_file.hpp"

namespace pivra::FlowChart {

inline constexpr std::string_view kAnyApp = "Any app";
inline constexpr std::string_view kAnyLink = "Any link";
inline constexpr std::string_view kFallbackTitle = "Fallback";
inline constexpr std::string_view kFallbackDetail = "Links no rule takes";
inline constexpr std::string_view kNeverRuns = "This rule never runs.";

// The thinnest and widest line, in pixels.
inline constexpr double kMinLineWidth = 1.0;
inline constexpr double kMaxLineWidth = 12.0;

// An app that links come from, or a browser (with a profile) that opens them.
struct End {
    std::string title;
    std::int64_t links = 0;  // the links of every rule that starts or ends here

    bool operator==(const End&) const = default;
};

// One rule, or the fallback (index absent), which comes last.
struct Step {
    std::optional<int> index;  // zero-based position in the rules
    std::string title;         // "Rule 3", "Fallback"
    std::string condition;     // "slack.com, notion.so", "Any link", "Links no rule takes"
    bool enabled = true;
    std::optional<int> shadowedBy;  // the earlier rule that takes all its links
    int source = 0;                 // into Chart::sources
    int target = 0;                 // into Chart::targets
    std::int64_t links = 0;

    bool operator==(const Step&) const = default;
};

struct Chart {
    std::vector<End> sources;  // in the order rules first name them; "Any app" where the fallback needs it
    std::vector<Step> steps;   // the rules in order, then the fallback
    std::vector<End> targets;  // in the order rules first name them, the fallback's among them
    std::int64_t maxLinks = 0; // of any one step

    bool operator==(const Chart&) const = default;
};

// The names people read: an app's, and a target's ("Google Chrome · Work").
struct Names {
    std::function<std::string(const std::string& app)> app;
    std::function<std::string(const Target& target)> target;
};

// `links`: links per count key (a rule's id, or the fallback's key) over the
// period the chart shows. A disabled rule or one that never runs still has
// its place and its lines, drawn faint by the view.
Chart build(const RulesFile& rules, const std::map<std::string, std::int64_t>& links, const Names& names);

// A line's width for `links` when the busiest step has `maxLinks`: the
// thinnest for none, the widest for the busiest, by the square root between
// so that a quiet rule stays visible beside a busy one.
double lineWidth(std::int64_t links, std::int64_t maxLinks);

// "Rule 3" for position 2.
std::string ruleTitle(int index);
// "slack.com, notion.so", "localhost:*", or "Any link".
std::string conditionText(const Match& match);
// "This rule never runs. Rule 2 takes its links first."
std::string neverRunsText(int shadowedBy);

}  // namespace pivra::FlowChart
