#include "cli/app_commands.hpp"

#include <sstream>

#include <gtest/gtest.h>

#include "core/activity/link_counts.hpp"
#include "core/activity/log_entry.hpp"
#include "core/files/data_location.hpp"
#include "core/rules/rules_coding.hpp"
#include "tests/cli/cli_runner.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

using testing_support::CliResult;
using testing_support::json;
using testing_support::runPivra;
using testing_support::TempFolder;
using namespace std::chrono_literals;

class AppCommands : public testing::Test {
protected:
    cli::AppFolders folders() const { return testing_support::foldersUnder(home.path()); }
    // The journal and the counts are state; the rest is configuration.
    std::filesystem::path write(std::string_view name, std::string_view bytes) {
        const bool state = name == kJournalFileName || name == kCountsFileName;
        return home.write((state ? folders().state : folders().config) / name, bytes);
    }
    CalendarDay today() const {
        const auto host = makeHost(HostOptions{folders().config, LogLevel::fault});
        return host->ports().clock.localDay(host->ports().clock.now());
    }
    CliResult run(std::vector<std::string> args) {
        args.push_back("--home");
        args.push_back(home.path().string());
        return runPivra(args);
    }

    TempFolder home;
};

TEST_F(AppCommands, SettingsListsEveryKeyWithDefaultForUnset) {
    const auto none = run({"settings"});
    EXPECT_EQ(none.status, 0);
    EXPECT_EQ(none.out.substr(0, 55), "pickerTrigger: default\npickerPlacement: default\npickerS");
    EXPECT_EQ(std::count(none.out.begin(), none.out.end(), '\n'), 15);
    write("settings.json", R"({"pickerTrigger":"option","countLinks":false,"recentCount":8,"pausedUntil":12.5})");
    const auto some = run({"settings"}).out;
    for (const char* line : {"pickerTrigger: option\n", "recentCount: 8\n", "countLinks: false\n", "pausedUntil: 12.5\n",
                             "accent: default\n"}) {
        EXPECT_NE(some.find(line), std::string::npos) << line;
    }
}

TEST_F(AppCommands, LogPrintsTheLastDaysWithPathsOnlyWhenFull) {
    EXPECT_EQ(run({"log"}), (CliResult{0, "", ""})) << "no journal yet";
    const Instant now = std::chrono::system_clock::now();
    const LogEntry recent{now - 1h, "Link from com.apple.mail → fallback → com.apple.Safari", "example.com", "/a?b"};
    const LogEntry older{now - 8 * 24h, "Picker shown", std::nullopt, std::nullopt};
    write("pivra-log.jsonl", LogEntryCoding::encode(older) + "\nbroken line\n" + LogEntryCoding::encode(recent) + "\n");
    EXPECT_EQ(run({"log"}), (CliResult{0, formatLogLine(recent, false) + "\n", ""}));
    EXPECT_EQ(run({"log", "--days", "9", "--full"}).out,
              formatLogLine(older, true) + "\n" + formatLogLine(recent, true) + "\n");
    for (const char* bad : {"0", "-1", "x", "7days"}) EXPECT_EQ(run({"log", "--days", bad}).status, 2) << bad;
}

TEST_F(AppCommands, CountsNameRulesByPositionAndTargetThenFallbackThenTotal) {
    EXPECT_EQ(run({"counts"}).out, "Fallback · com.apple.Safari: 0\nTotal: 0 links in the last 7 days\n") << "no files";
    write("counts.json", "not json");
    EXPECT_EQ(run({"counts"}).status, 0);
    write("rules.json", "{\n,");
    EXPECT_EQ(run({"counts"}), (CliResult{1, "", "pivra: Line 2: Not valid JSON\n"}));

    RulesFile rules;
    rules.rules = {Rule{"A", "*", Match::any(), {"com.google.Chrome", "Profile 1"}},
                   Rule{"B", "*", Match::any(), {"org.mozilla.firefox", std::nullopt}}};
    write("rules.json", RulesCoding::encode(rules));
    LinkCounts counts;
    const CalendarDay day = today();
    counts.days[day.key()] = {{"A", 3}, {"fallback", 2}, {"GONE", 1}};
    counts.days[day.addingDays(-10).key()] = {{"A", 5}, {"B", 4}};
    counts.days[day.addingDays(-40).key()] = {{"A", 100}};  // older than any period
    write("counts.json", LinkCountsCoding::encode(counts));
    EXPECT_EQ(run({"counts"}).out,
              "Rule 1 · com.google.Chrome (profile Profile 1): 3\n"
              "Rule 2 · org.mozilla.firefox: 0\n"
              "Fallback · com.apple.Safari: 2\n"
              "Removed rules: 1\n"
              "Total: 6 links in the last 7 days\n");
    const auto month = run({"counts", "--days", "30", "--json"});
    EXPECT_EQ(month.status, 0);
    EXPECT_EQ(json(month.out), json(R"({"days":30,
        "rules":[{"position":1,"id":"A","target":{"app":"com.google.Chrome","profile":"Profile 1"},"links":8},
                 {"position":2,"id":"B","target":{"app":"org.mozilla.firefox"},"links":4}],
        "fallback":{"target":{"app":"com.apple.Safari"},"links":2},"removedRules":1,"total":15})"));
    EXPECT_EQ(run({"counts", "--days", "14"}).status, 2);
}

// The real Linux (or Mac) host, its timers and its file watching: each printed
// line triggers the next edit, and the run ends after the last expected line.
TEST_F(AppCommands, WatchPrintsOneLinePerLoadAsTheFileIsEdited) {
    const std::string typeError = RulesCoding::decode("{\"rules\":3}").error().message;  // "rules: ..."
    for (const bool asJson : {false, true}) {
        std::filesystem::remove_all(folders().config);
        const auto host = makeHost(HostOptions{folders().config, LogLevel::fault});
        // Should an event never come, the test ends instead of hanging.
        host->ports().scheduler.runAfter(Seconds(30), [&] { host->stop(); });
        std::ostringstream out;
        const std::string edits[] = {R"({"rules":[{"open":{"app":"a"}},{"open":{"app":"b"}}]})",
                                     "{\n  \"rules\" : 3\n}", "{\n\n  \"rules\" : [,]\n}"};
        cli::watchRules(*host, ModelFolders::separate(folders().config, folders().state, home.path()), asJson, out, [&](int lines) {
            // The first line comes before watching starts: edit once the loop runs.
            if (lines <= 3) host->ports().scheduler.post([&, lines] { write("rules.json", edits[lines - 1]); });
            return lines < 4;
        });
        EXPECT_EQ(out.str(), asJson ? "{\"loaded\":0}\n{\"loaded\":2}\n{\"error\":\"" + typeError +
                                          "\",\"line\":null}\n{\"error\":\"Not valid JSON\",\"line\":3}\n"
                                    : "Rules loaded: 0\nRules loaded: 2\nRules not loaded: " + typeError +
                                          "\nRules not loaded: Line 3: Not valid JSON\n");
    }
}

}  // namespace
}  // namespace pivra
