#include "app/model/recent_link.hpp"

namespace pivra {

std::string_view recentReasonSuffix(const RecentLink& link) {
    if (link.picked) return ", picked by hand";
    switch (link.reason.kind()) {
        case DecisionReasonKind::fallback: return ", because no rule matched";
        case DecisionReasonKind::paused: return ", while paused";
        case DecisionReasonKind::loopGuard: return ", sent back by that browser";
        case DecisionReasonKind::rule: return {};
    }
    return {};
}

std::string recentRowText(const RecentLink& link, std::string_view targetName) {
    std::string text(targetName);
    if (!link.picked && link.reason.kind() == DecisionReasonKind::rule) {
        return text + ", by rule " + std::to_string(link.reason.index() + 1);
    }
    return text += recentReasonSuffix(link);
}

}  // namespace pivra
