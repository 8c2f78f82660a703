// Any bytes as a link: intake, unwrapping, tracking removal and routing never
// crash, unwrapping only ever yields a web link or the link it was given, and
// tracking removal never adds, never lengthens, and is done in one pass.
#include <cstdlib>
#include <string_view>

#include "core/routing/link.hpp"
#include "core/routing/link_cleaner.hpp"
#include "core/routing/router.hpp"
#include "core/rules/insight.hpp"

using namespace pivra;

static std::size_t queryItemCount(boost::urls::url_view url) {
    if (!url.has_query()) return 0;
    std::size_t count = 0;
    forEachQueryItem(std::string_view(url.encoded_query().data(), url.encoded_query().size()), [&](const QueryItem&) {
        ++count;
        return true;
    });
    return count;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto link = parseLink(text);
    if (!link) return 0;

    const auto unwrapped = LinkCleaner::unwrap(*link);
    if (unwrapped.wrapper) {
        if (!isWebScheme(unwrapped.url.scheme())) std::abort();
    } else if (unwrapped.url.buffer() != link->buffer()) {
        std::abort();
    }

    const auto stripped = LinkCleaner::stripTracking(*link);
    if (stripped.buffer().size() > link->buffer().size()) std::abort();
    if (queryItemCount(stripped) > queryItemCount(*link)) std::abort();
    if (LinkCleaner::stripTracking(stripped).buffer() != stripped.buffer()) std::abort();

    RulesFile rules;
    Rule rule;
    rule.match = Match::patterns({"*/meet/*"});
    rule.open = Target{"com.google.Chrome", std::nullopt};
    rules.rules = {rule};
    const auto decision = Router::decide(*link, Source::unknown(), rules, false, {}, Instant{});
    if (!isSoundLink(decision.url)) std::abort();
    const auto trial = Insight::trial(*link, Source::unknown(), rules);
    if (trial.steps.size() != 1) std::abort();
    return 0;
}
