#include "core/rules/insight.hpp"

#include "core/routing/link.hpp"
#include "core/routing/link_cleaner.hpp"
#include "core/text/unicode_text.hpp"

namespace pivra::Insight {
namespace {

bool domainsCover(const Match& earlier, const std::vector<std::string>& later) {
    if (later.empty()) return false;
    for (const auto& domain : later) {
        const std::string lowered = lowerCaseText(domain);
        bool covered = false;
        for (const auto& key : earlier.domainKeys()) {
            if (Matcher::hostIsUnder(lowered, key)) {
                covered = true;
                break;
            }
        }
        if (!covered) return false;
    }
    return true;
}

bool patternsCover(const std::vector<std::string>& earlier, const std::vector<std::string>& later) {
    if (later.empty()) return false;
    for (const auto& pattern : later) {
        const std::string lowered = lowerCaseText(pattern);
        bool covered = false;
        for (const auto& entry : earlier) {
            if (lowerCaseText(entry) == lowered) {
                covered = true;
                break;
            }
        }
        if (!covered) return false;
    }
    return true;
}

bool covers(const Match& earlier, const Match& later) {
    switch (earlier.kind()) {
        case Match::Kind::any:
            return true;
        case Match::Kind::domains:
            return later.kind() == Match::Kind::domains && domainsCover(earlier, later.values());
        case Match::Kind::patterns:
            return later.kind() == Match::Kind::patterns && patternsCover(earlier.values(), later.values());
    }
    return false;
}

}  // namespace

Trial trial(boost::urls::url_view link, const Source& source, const RulesFile& rules) {
    Trial result;
    auto unwrapped = LinkCleaner::unwrap(link);
    result.unwrappedFrom = std::move(unwrapped.wrapper);
    const boost::urls::url routed = rules.cleanLinks ? LinkCleaner::stripTracking(unwrapped.url) : unwrapped.url;
    const Matcher::Subject subject(routed);

    result.steps.reserve(rules.rules.size());
    for (std::size_t i = 0; i < rules.rules.size(); ++i) {
        Step step{static_cast<int>(i), std::nullopt};
        if (!result.matched) {
            step.verdict = Matcher::check(rules.rules[i], source, subject);
            if (step.verdict->kind() == Verdict::Kind::match) result.matched = static_cast<int>(i);
        }
        result.steps.push_back(std::move(step));
    }
    result.checked = subject.text();
    return result;
}

std::optional<int> shadowedBy(int index, const std::vector<Rule>& rules) {
    if (index <= 0 || static_cast<std::size_t>(index) >= rules.size()) return std::nullopt;
    const Rule& later = rules[static_cast<std::size_t>(index)];
    for (int j = 0; j < index; ++j) {
        const Rule& earlier = rules[static_cast<std::size_t>(j)];
        if (!earlier.enabled) continue;
        if (earlier.from != "*" && earlier.from != later.from) continue;
        if (covers(earlier.match, later.match)) return j;
    }
    return std::nullopt;
}

}  // namespace pivra::Insight
