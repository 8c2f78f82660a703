// Speed of the application core's share of one link: everything handleLink
// does before the open is handed to the workspace (the decision, the journal
// line appended to a real file, the log line, the recent list, the counts).

#include <benchmark/benchmark.h>

#include "app/model/app_model.hpp"
#include "core/routing/link.hpp"
#include "core/rules/rules_coding.hpp"
#include "tests/support/fake_host.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

RulesFile twentyRules() {
    static const char* kSources[] = {"com.tinyspeck.slackmacgap", "com.apple.mail", "*", "com.microsoft.teams2"};
    RulesFile file;
    for (int i = 0; i < 19; ++i) {
        Rule rule;
        rule.id = makeRuleId();
        rule.from = kSources[i % 4];
        const std::string n = std::to_string(i);
        rule.match = i % 3 == 2 ? Match::patterns({"*.site" + n + ".example.org/path/*"})
                                : Match::domains({"site" + n + ".example.com", "s" + n + ".example"});
        rule.open = Target{"org.mozilla.firefox", std::nullopt};
        file.rules.push_back(std::move(rule));
    }
    Rule last;
    last.id = makeRuleId();
    last.match = Match::domains({"target.example.com"});
    last.open = Target{"com.google.Chrome", std::nullopt};
    file.rules.push_back(std::move(last));
    return file;
}

void BM_HandleLink(benchmark::State& state) {
    testing_support::TempFolder temp;
    testing_support::FakePorts fakes;
    fakes.workspace.install("com.google.Chrome", "Google Chrome");
    temp.write("Pivra/rules.json", RulesCoding::encode(twentyRules()));
    AppModel model(fakes.ports(), ModelFolders{temp.path() / "Pivra", temp.path()});
    model.start();
    const auto link = *parseLink("https://docs.target.example.com/team/meeting/notes?id=42&utm_source=newsletter");
    const Source source = Source::app("com.tinyspeck.slackmacgap");
    std::int64_t handled = 0;
    for (auto _ : state) {
        model.handleLink(link, source);
        // Run the opens now and then, off the clock, and move past the loop guard.
        if (++handled % 256 == 0) {
            state.PauseTiming();
            fakes.scheduler.advance(3);
            state.ResumeTiming();
        }
    }
    state.SetItemsProcessed(handled);
}
BENCHMARK(BM_HandleLink);

}  // namespace
}  // namespace pivra

BENCHMARK_MAIN();
