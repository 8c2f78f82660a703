// Speed of the routing core. The yardstick is a bare Boost.URL parse of the
// same link: routing a link should cost a small multiple of reading it.

#include <algorithm>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/url/parse.hpp>

#include "core/routing/link.hpp"
#include "core/routing/link_cleaner.hpp"
#include "core/routing/matcher.hpp"
#include "core/routing/router.hpp"
#include "core/rules/rules_coding.hpp"
#include "core/text/unicode_text.hpp"

namespace pivra {
namespace {

const std::string kLink = "https://docs.target.example.com/team/meeting/notes?id=42&utm_source=newsletter&ref=home";

// A realistic mix of sources, domain lists and patterns; only the last rule takes kLink.
RulesFile rulesOfSize(std::size_t count) {
    static const char* kSources[] = {"com.tinyspeck.slackmacgap", "com.apple.mail", "*", "com.microsoft.teams2",
                                     "com.apple.MobileSMS", "*", "com.googlecode.iterm2"};
    RulesFile file;
    file.rules.reserve(count);
    for (std::size_t i = 0; i + 1 < count; ++i) {
        Rule rule;
        rule.id = makeRuleId();
        rule.from = kSources[i % std::size(kSources)];
        const std::string n = std::to_string(i);
        if (i % 3 == 2) {
            rule.match = Match::patterns({"*.site" + n + ".example.org/path/*", "intranet" + n + ".example/*/docs"});
        } else {
            rule.match = Match::domains({"site" + n + ".example.com", "www.other" + n + ".example.net", "s" + n + ".example"});
        }
        rule.open = Target{i % 2 ? "com.google.Chrome" : "org.mozilla.firefox", i % 4 ? std::optional<std::string>("Profile 1") : std::nullopt};
        file.rules.push_back(std::move(rule));
    }
    Rule last;
    last.id = makeRuleId();
    last.from = "*";
    last.match = Match::domains({"intranet.example", "target.example.com"});
    last.open = Target{"com.google.Chrome", "Work"};
    file.rules.push_back(std::move(last));
    return file;
}

void BM_ParseUriYardstick(benchmark::State& state) {
    for (auto _ : state) {
        auto parsed = boost::urls::parse_uri(kLink);
        benchmark::DoNotOptimize(parsed);
    }
}
BENCHMARK(BM_ParseUriYardstick);

void BM_ParseLinkIntake(benchmark::State& state) {
    for (auto _ : state) {
        auto parsed = parseLink(kLink);
        benchmark::DoNotOptimize(parsed);
    }
}
BENCHMARK(BM_ParseLinkIntake);

void BM_Decide(benchmark::State& state) {
    const RulesFile rules = rulesOfSize(static_cast<std::size_t>(state.range(0)));
    const auto link = *parseLink(kLink);
    const auto source = Source::app("com.apple.mail");
    const std::vector<RecentOpen> recent{{"com.google.Chrome", Instant{}}};
    const Instant now = instantFromReferenceSeconds(800000000.0);
    for (auto _ : state) {
        auto decision = Router::decide(link, source, rules, false, recent, now);
        benchmark::DoNotOptimize(decision);
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_Decide)->Arg(10)->Arg(20)->Arg(100)->Arg(1000)->Arg(10000)->Complexity(benchmark::oN);

void BM_UnwrapAndStrip(benchmark::State& state) {
    const auto link = *parseLink(
        "https://eur01.safelinks.protection.outlook.com/?url=https%3A%2F%2Fwww.example.com%2Fnews%2Fstory%3Futm_source%3D"
        "newsletter%26utm_medium%3Demail%26id%3D7%26fbclid%3Dabc&data=05%7C01%7Cuser%40example.com&sdata=xyz&reserved=0");
    for (auto _ : state) {
        auto unwrapped = LinkCleaner::unwrap(link);
        auto cleaned = LinkCleaner::stripTracking(unwrapped.url);
        benchmark::DoNotOptimize(cleaned);
    }
}
BENCHMARK(BM_UnwrapAndStrip);

void BM_MatchTarget(benchmark::State& state) {
    const auto link = *parseLink("https://Docs.Example.com:8443/a/b/c/d?x=1#top");
    for (auto _ : state) {
        auto subject = Matcher::matchTarget(link);
        benchmark::DoNotOptimize(subject);
    }
}
BENCHMARK(BM_MatchTarget);

// The wildcard walk's worst case: every star restarts, so the time grows with
// the product of the lengths and no faster.
void BM_WildcardWorstCase(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    std::string pattern;
    for (std::size_t i = 0; i < 16; ++i) pattern += "*a";
    pattern += "b";
    const std::string text(n, 'a');
    for (auto _ : state) benchmark::DoNotOptimize(Matcher::wildcardMatch(pattern, text));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_WildcardWorstCase)->Arg(1024)->Arg(4096)->Arg(16384)->Complexity();

// A pattern and a path outside ASCII: both are lower-cased and split into
// characters before the walk, which the ASCII fast path never does.
void BM_WildcardNonAscii(benchmark::State& state) {
    const std::string pattern = "*.ÉCOLE.example/cours/*/ПРОФИЛЬ/*";
    const std::string text = "www.école.example/cours/mathématiques/профиль/groupe-2";
    for (auto _ : state) benchmark::DoNotOptimize(Matcher::wildcardMatch(pattern, text));
}
BENCHMARK(BM_WildcardNonAscii);

// Sorting the names of 1,000 browser profiles as the profile lists show them.
void BM_SortProfileNames(benchmark::State& state) {
    static const char* kStems[] = {"Profile ", "Work ", "Personal ", "École ", "Профиль ", "客户 ", "Été ", "work "};
    std::vector<std::string> names;
    for (int i = 0; i < 1000; ++i) names.push_back(kStems[i % std::size(kStems)] + std::to_string((i * 7919) % 1000));
    for (auto _ : state) {
        std::vector<std::string> sorted = names;
        std::sort(sorted.begin(), sorted.end(),
                  [](const std::string& a, const std::string& b) { return compareForSorting(a, b) < 0; });
        benchmark::DoNotOptimize(sorted);
    }
}
BENCHMARK(BM_SortProfileNames)->Unit(benchmark::kMicrosecond);

std::string oneMebibyteOfRules() {
    RulesFile file = rulesOfSize(1);
    while (RulesCoding::encode(file).size() < (1u << 20)) {
        const RulesFile more = rulesOfSize(500);
        file.rules.insert(file.rules.end(), more.rules.begin(), more.rules.end());
    }
    return RulesCoding::encode(file);
}

void BM_Decode1MiB(benchmark::State& state) {
    const std::string bytes = oneMebibyteOfRules();
    for (auto _ : state) {
        auto file = RulesCoding::decode(bytes);
        benchmark::DoNotOptimize(file);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
}
BENCHMARK(BM_Decode1MiB)->Unit(benchmark::kMillisecond);

void BM_Encode1MiB(benchmark::State& state) {
    const auto file = RulesCoding::decode(oneMebibyteOfRules()).value();
    for (auto _ : state) {
        auto bytes = RulesCoding::encode(file);
        benchmark::DoNotOptimize(bytes);
    }
}
BENCHMARK(BM_Encode1MiB)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace pivra

BENCHMARK_MAIN();
