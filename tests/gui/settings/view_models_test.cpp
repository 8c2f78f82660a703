// The settings screens' view models: the flow chart, the rule editor's fields,
// the try section's lines and the journal's rows.

#include <gtest/gtest.h>

#include "core/routing/link.hpp"
#include "gui/settings/flow_chart_model.hpp"
#include "gui/settings/journal_rows.hpp"
#include "gui/settings/rule_fields.hpp"
#include "gui/settings/trial_lines.hpp"
#include "tests/support/rule_builder.hpp"

namespace pivra {
namespace {

using testing_support::makeRule;
using namespace std::chrono_literals;

const FlowChart::Names kNames{
    [](const std::string& app) { return "[" + app + "]"; },
    [](const Target& target) { return "[" + target.app + (target.profile ? "/" + *target.profile : "") + "]"; }};

RulesFile chartRules() {
    RulesFile file;
    file.fallback = Target{"safari", std::nullopt};
    file.rules = {makeRule("A", "slack", Match::domains({"figma.com", "notion.so"}), {"chrome", "Work"}),
                  makeRule("B", "*", Match::patterns({"localhost:*"}), {"firefox", std::nullopt}),
                  makeRule("C", "slack", Match::domains({"www.figma.com"}), {"safari", std::nullopt}),
                  makeRule("D", "mail", Match::any(), {"chrome", "Work"})};
    file.rules[3].enabled = false;
    return file;
}

TEST(FlowChartTest, ColumnsJoinSourcesRulesAndTargetsWithTheFallbackLast) {
    const auto chart = FlowChart::build(chartRules(), {{"A", 40}, {"C", 9}, {"fallback", 10}, {"gone", 99}}, kNames);
    ASSERT_EQ(chart.steps.size(), 5u);
    EXPECT_EQ(chart.sources, (std::vector<FlowChart::End>{{"[slack]", 49}, {"Any app", 10}, {"[mail]", 0}}));
    EXPECT_EQ(chart.targets,
              (std::vector<FlowChart::End>{{"[chrome/Work]", 40}, {"[firefox]", 0}, {"[safari]", 19}}));
    struct Expected {
        std::string title, condition;
        int source, target;
        std::int64_t links;
        std::optional<int> shadowedBy;
        bool enabled;
    };
    const std::vector<Expected> expected{
        {"Rule 1", "figma.com, notion.so", 0, 0, 40, std::nullopt, true},
        {"Rule 2", "localhost:*", 1, 1, 0, std::nullopt, true},
        {"Rule 3", "www.figma.com", 0, 2, 9, 0, true},  // rule 1 takes every link it could
        {"Rule 4", "Any link", 2, 0, 0, std::nullopt, false},
        {"Fallback", "Links no rule takes", 1, 2, 10, std::nullopt, true},
    };
    for (std::size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(i);
        const auto& step = chart.steps[i];
        EXPECT_EQ(step.title, expected[i].title);
        EXPECT_EQ(step.condition, expected[i].condition);
        EXPECT_EQ(step.source, expected[i].source);
        EXPECT_EQ(step.target, expected[i].target);
        EXPECT_EQ(step.links, expected[i].links);
        EXPECT_EQ(step.shadowedBy, expected[i].shadowedBy);
        EXPECT_EQ(step.enabled, expected[i].enabled);
        EXPECT_EQ(step.index.has_value(), i < 4);
    }
    EXPECT_EQ(chart.maxLinks, 40);
    EXPECT_EQ(FlowChart::neverRunsText(0), "This rule never runs. Rule 1 takes its links first.");
}

TEST(FlowChartTest, NoRulesLeavesTheFallbackFromAnyApp) {
    RulesFile file;
    const auto chart = FlowChart::build(file, {}, kNames);
    ASSERT_EQ(chart.steps.size(), 1u);
    EXPECT_EQ(chart.sources, (std::vector<FlowChart::End>{{"Any app", 0}}));
    EXPECT_EQ(chart.targets, (std::vector<FlowChart::End>{{"[com.apple.Safari]", 0}}));
    EXPECT_EQ(chart.maxLinks, 0);
}

TEST(FlowChartTest, RulesWithoutAnIdOrWithNegativeCountsCountNothing) {
    RulesFile file;
    file.rules = {makeRule("", "*", Match::any(), {"a", std::nullopt}), makeRule("X", "*", Match::any(), {"a", std::nullopt})};
    const auto chart = FlowChart::build(file, {{"", 5}, {"X", -3}}, kNames);
    EXPECT_EQ(chart.steps[0].links, 0);
    EXPECT_EQ(chart.steps[1].links, 0);
}

TEST(FlowChartTest, LineWidthsGrowWithTheSquareRootOfTheLinks) {
    struct Case {
        std::int64_t links, max;
        double width;
    };
    for (const auto& c : std::vector<Case>{{0, 0, 1.0}, {0, 100, 1.0}, {100, 100, 12.0}, {25, 100, 6.5},
                                           {1, 100, 2.1}, {500, 100, 12.0}, {-4, 100, 1.0}}) {
        EXPECT_NEAR(FlowChart::lineWidth(c.links, c.max), c.width, 1e-9) << c.links << "/" << c.max;
    }
}

TEST(RuleFieldsTest, FieldsRoundTripAndTheIdIsKept) {
    Rule rule = makeRule("ID", "com.tinyspeck.slackmacgap", Match::domains({"figma.com", "notion.so"}),
                         {"com.google.Chrome", "Profile 1"});
    rule.newWindow = true;
    rule.enabled = false;
    const auto fields = fieldsOf(rule);
    EXPECT_EQ(fields.values, "figma.com\nnotion.so");
    EXPECT_EQ(applyFields(Rule{}, fields).value().from, rule.from);
    auto back = applyFields(rule, fields);
    ASSERT_TRUE(back.has_value());
    EXPECT_EQ(*back, rule);
}

TEST(RuleFieldsTest, ValuesAreSplitAtLinesCommasAndBlanks) {
    EXPECT_EQ(splitValues(" a.com, b.com\n\n c.com\t,d.com,"),
              (std::vector<std::string>{"a.com", "b.com", "c.com", "d.com"}));
    EXPECT_TRUE(splitValues(" ,\n ").empty());
}

TEST(RuleFieldsTest, EachWrongFieldSaysWhyAndNothingIsApplied) {
    struct Case {
        std::string name;
        RuleFields fields;
        std::vector<FieldProblem> problems;
    };
    const auto fields = [](std::string from, MatchKind kind, std::string values, std::string app) {
        RuleFields f;
        f.from = std::move(from);
        f.kind = kind;
        f.values = std::move(values);
        f.app = std::move(app);
        return f;
    };
    using enum RuleField;
    const std::vector<Case> cases{
        {"no domains", fields("*", MatchKind::domains, " \n", "b"), {{values, std::string(RuleFieldText::kNoDomains)}}},
        {"no patterns", fields("*", MatchKind::patterns, "", "b"), {{values, std::string(RuleFieldText::kNoPatterns)}}},
        {"scheme", fields("*", MatchKind::domains, "https://a.com", "b"),
         {{values, std::string(RuleFieldText::kDomainWithScheme) + "https://a.com"}}},
        {"path", fields("*", MatchKind::domains, "a.com/x", "b"),
         {{values, std::string(RuleFieldText::kDomainWithPath) + "a.com/x"}}},
        {"star", fields("*", MatchKind::domains, "*.a.com", "b"),
         {{values, std::string(RuleFieldText::kDomainWithStar) + "*.a.com"}}},
        {"pattern scheme", fields("*", MatchKind::patterns, "a.com/*\nhttp://b.com/*", "b"),
         {{values, std::string(RuleFieldText::kPatternWithScheme) + "http://b.com/*"}}},
        {"source with space", fields("com.a com.b", MatchKind::any, "", "b"),
         {{from, std::string(RuleFieldText::kFromHasSpace)}}},
        {"no browser", fields("*", MatchKind::any, "", "  "), {{app, std::string(RuleFieldText::kNoBrowser)}}},
        {"two at once", fields("*", MatchKind::domains, "", ""),
         {{values, std::string(RuleFieldText::kNoDomains)}, {app, std::string(RuleFieldText::kNoBrowser)}}},
    };
    for (const auto& c : cases) {
        const auto result = applyFields(Rule{}, c.fields);
        ASSERT_FALSE(result.has_value()) << c.name;
        EXPECT_EQ(result.error(), c.problems) << c.name;
    }
}

TEST(RuleFieldsTest, ForgivingInputIsTidiedUp) {
    RuleFields f;
    f.from = "  com.apple.mail ";
    f.kind = MatchKind::patterns;
    f.values = "example.com/a*, localhost:*";
    f.app = " org.mozilla.firefox\n";
    const auto rule = applyFields(Rule{}, f);
    ASSERT_TRUE(rule.has_value());
    EXPECT_EQ(rule->from, "com.apple.mail");
    EXPECT_EQ(rule->match, Match::patterns({"example.com/a*", "localhost:*"}));
    EXPECT_EQ(rule->open, (Target{"org.mozilla.firefox", std::nullopt}));
    f.from = "";
    f.kind = MatchKind::any;
    f.values = "left over";
    EXPECT_EQ(applyFields(Rule{}, f)->from, "*");
    EXPECT_EQ(applyFields(Rule{}, f)->match, Match::any());
}

std::vector<std::string> texts(const std::vector<TrialLine>& lines) {
    std::vector<std::string> out;
    for (const auto& line : lines) out.push_back(line.title + " | " + line.detail);
    return out;
}

TEST(TrialLinesTest, EveryRuleSaysWhatItDidThenWhereTheLinkOpens) {
    RulesFile file = chartRules();
    file.rules[1].enabled = false;
    const auto link = parseLink("https://www.google.com/url?q=https%3A%2F%2Fwww.figma.com%2Ffile%2F1");
    ASSERT_TRUE(link.has_value());
    const auto lines = trialLines(Insight::trial(*link, Source::app("mail"), file), file, kNames.app, kNames.target);
    EXPECT_EQ(texts(lines), (std::vector<std::string>{
                                "Unwrapped from | www.google.com",
                                "Matched against | www.figma.com/file/1",
                                "Rule 1 | Only for links from [slack]",
                                "Rule 2 | Turned off",
                                "Rule 3 | Only for links from [slack]",
                                "Rule 4 | Turned off",
                                "No rule matched, so the fallback | [safari]",
                            }));

    const auto fromSlack = trialLines(Insight::trial(*link, Source::app("slack"), file), file, kNames.app, kNames.target);
    EXPECT_EQ(texts(fromSlack), (std::vector<std::string>{
                                    "Unwrapped from | www.google.com",
                                    "Matched against | www.figma.com/file/1",
                                    "Rule 1 | This rule matched",
                                    "Rule 2 | Rule 1 matched first, not this one",
                                    "Rule 3 | Rule 1 matched first, not this one",
                                    "Rule 4 | Rule 1 matched first, not this one",
                                    "Rule 1 | [chrome/Work]",
                                }));
    EXPECT_TRUE(fromSlack[2].matched);
    EXPECT_TRUE(fromSlack[3].skipped);
    EXPECT_EQ(fromSlack.back().rule, 0);
}

TEST(TrialLinesTest, APlainLinkThatNoRuleTakes) {
    RulesFile file;
    file.rules = {makeRule("A", "*", Match::domains({"a.com"}), {"chrome", std::nullopt})};
    const auto link = parseLink("http://b.com:8080/x?y=1");
    const auto lines = trialLines(Insight::trial(*link, Source::unknown(), file), file, kNames.app, kNames.target);
    EXPECT_EQ(texts(lines), (std::vector<std::string>{"Matched against | b.com:8080/x", "Rule 1 | Didn’t match",
                                                      "No rule matched, so the fallback | [com.apple.Safari]"}));
}

TEST(JournalRowsTest, TheLastSevenDaysNewestFirstUnderDayHeadings) {
    // Days in UTC here; the view passes the user's calendar.
    const auto localDay = [](Instant t) {
        const auto days = std::chrono::floor<std::chrono::days>(t);
        const std::chrono::year_month_day ymd{days};
        return CalendarDay{int(ymd.year()), unsigned(ymd.month()), unsigned(ymd.day())};
    };
    const Instant noon = std::chrono::sys_days{std::chrono::year{2026} / 3 / 14} + 12h;
    const auto entry = [&](Instant t, std::string text) { return LogEntry{t, std::move(text), std::nullopt, std::nullopt}; };
    const std::vector<LogEntry> entries{
        entry(noon - 24h * 7, "eight days back"), entry(noon - 24h * 6, "six days back"),
        entry(noon - 25h, "yesterday"), entry(noon - 1h, "this morning"), entry(noon - 1h, "this morning, later line"),
        entry(noon + 24h, "tomorrow"),
    };
    const auto rows = journalRows(entries, localDay(noon), localDay);
    std::vector<std::string> seen;
    for (const auto& row : rows) {
        seen.push_back(row.isHeading ? "# " + row.day.key() + " " + std::to_string(row.daysAgo) : row.entry.text);
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"# 2026-03-14 0", "this morning, later line", "this morning",
                                              "# 2026-03-13 1", "yesterday", "# 2026-03-08 6", "six days back"}));
    EXPECT_TRUE(journalRows({}, localDay(noon), localDay).empty());
}

}  // namespace
}  // namespace pivra
