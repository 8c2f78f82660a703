#pragma once
// How the rules treat a link, without opening it, and which rules can never
// take a link because an earlier one always does.

#include <optional>
#include <string>
#include <vector>

#include <boost/url/url_view.hpp>

#include "core/routing/matcher.hpp"
#include "core/rules/rules_file.hpp"

namespace pivra::Insight {

// One rule's outcome in a trial; no verdict for rules below the one that matched.
struct Step {
    int index = 0;
    std::optional<Verdict> verdict;

    bool operator==(const Step&) const = default;
};

struct Trial {
    std::vector<Step> steps;                   // one per rule, in rule order
    std::optional<int> matched;                // the first rule that matched; absent: the fallback
    std::optional<std::string> unwrappedFrom;  // lower-cased host of the redirector unwrapped
    std::string checked;                       // the text patterns were matched against

    bool operator==(const Trial&) const = default;
};

// What the rules say about a link: no loop guard, no pause, no scanner form.
Trial trial(boost::urls::url_view link, const Source& source, const RulesFile& rules);

// The position of an earlier enabled rule that takes every link rule `index`
// could take, when that is certain; absent otherwise and for position 0.
std::optional<int> shadowedBy(int index, const std::vector<Rule>& rules);

}  // namespace pivra::Insight
