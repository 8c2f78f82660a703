#include "core/routing/router.hpp"

#include <cstdlib>

#include "core/routing/link_cleaner.hpp"
#include "core/routing/matcher.hpp"

namespace pivra {

long long LinkBatcher::add(const Source& source, Instant at) {
    const bool joins = last && last->source == source && (at - last->at) < kWindow;
    if (!joins) {
        if (batch == std::numeric_limits<long long>::max()) std::abort();
        ++batch;
    }
    last = Arrival{source, at};
    return batch;
}

namespace Router {

Decision decide(boost::urls::url_view link, const Source& source, const RulesFile& rules, bool paused,
                const std::vector<RecentOpen>& recent, Instant now) {
    if (!source.isUnknown()) {
        for (const auto& open : recent) {
            if (open.app != *source.bundleId) continue;
            const auto age = now - open.at;
            if (age >= Instant::duration::zero() && age < kLoopGuardWindow) {
                return Decision{boost::urls::url(link), Target{*source.bundleId, std::nullopt},
                                Decision::Reason::loopGuard(), true, false, std::nullopt};
            }
        }
    }

    // Copies are made only where the link changes.
    auto unwrapped = LinkCleaner::unwrapIfWrapped(link);
    const boost::urls::url_view afterUnwrap = unwrapped ? boost::urls::url_view(unwrapped->url) : link;
    std::optional<boost::urls::url> stripped;
    if (rules.cleanLinks) stripped = LinkCleaner::stripTrackingIfAny(afterUnwrap);
    const boost::urls::url_view routed = stripped ? boost::urls::url_view(*stripped) : afterUnwrap;

    std::optional<std::string> unwrappedFrom;
    if (unwrapped) unwrappedFrom = std::move(unwrapped->wrapper);
    const bool openWrapped = unwrappedFrom && LinkCleaner::isScanner(*unwrappedFrom);
    const auto linkToOpen = [&] { return boost::urls::url(openWrapped ? link : routed); };

    if (paused) {
        return Decision{linkToOpen(), rules.fallback, Decision::Reason::paused(), true, false, std::move(unwrappedFrom)};
    }

    const Matcher::Subject subject(routed);
    for (std::size_t i = 0; i < rules.rules.size(); ++i) {
        const Rule& rule = rules.rules[i];
        if (Matcher::verdictKind(rule, source, subject) != Verdict::Kind::match) continue;
        return Decision{linkToOpen(), rule.open, Decision::Reason::rule(static_cast<int>(i), rule.id),
                        rule.bringForward, rule.newWindow, std::move(unwrappedFrom)};
    }
    return Decision{linkToOpen(), rules.fallback, Decision::Reason::fallback(), true, false, std::move(unwrappedFrom)};
}

}  // namespace Router
}  // namespace pivra
