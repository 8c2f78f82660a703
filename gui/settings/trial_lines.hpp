#pragma once
// The rule editor's try section in words: a pasted link, rule by rule from the
// top, then where it would open.

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/rules/insight.hpp"
#include "core/rules/rules_file.hpp"

namespace pivra {

namespace TrialText {
inline constexpr std::string_view kCheckedTopToBottom = "Checked top to bottom";
inline constexpr std::string_view kThisRuleMatched = "This rule matched";
inline constexpr std::string_view kMatchedFirst = " matched first, not this one";  // after "Rule 2"
inline constexpr std::string_view kNoRuleMatched = "No rule matched, so the fallback";
inline constexpr std::string_view kMatchedAgainst = "Matched against";
inline constexpr std::string_view kUnwrappedFrom = "Unwrapped from";
inline constexpr std::string_view kOnlyFrom = "Only for links from ";  // + the app
inline constexpr std::string_view kTurnedOff = "Turned off";
inline constexpr std::string_view kNotMatched = "Didn’t match";
inline constexpr std::string_view kNotALink = "That isn’t a web link";
inline constexpr std::string_view kNoRules = "There are no rules yet";
}  // namespace TrialText

struct TrialLine {
    enum class Kind {
        note,    // "Unwrapped from", "Matched against": a label and a value
        step,    // one rule: its title and what it said
        result,  // where the link opens
    };
    Kind kind = Kind::step;
    std::string title;   // "Rule 2", "Matched against", "No rule matched, so the fallback"
    std::string detail;  // "This rule matched", "docs.example.com/a", "Safari"
    bool matched = false;   // the rule that took the link, or the result
    bool skipped = false;   // not checked, since an earlier rule matched
    std::optional<int> rule;  // the step's rule position

    bool operator==(const TrialLine&) const = default;
};

// The lines for `trial` of `rules`: the notes, then one step per rule, then
// the result. `appName` names a source app; `targetName` a browser and profile.
std::vector<TrialLine> trialLines(const Insight::Trial& trial, const RulesFile& rules,
                                  const std::function<std::string(const std::string&)>& appName,
                                  const std::function<std::string(const Target&)>& targetName);

}  // namespace pivra
