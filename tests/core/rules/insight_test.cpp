#include "core/rules/insight.hpp"

#include <gtest/gtest.h>

#include "tests/core/core_test_support.hpp"

namespace pivra {
namespace {

using testing_support::link;
using testing_support::rule;

TEST(InsightTrial, VerdictsUpToTheMatchAndNoneBelow) {
    RulesFile rules;
    Rule off = rule("*", Match::any());
    off.enabled = false;
    rules.rules = {rule("com.apple.mail", Match::any()), off, rule("*", Match::patterns({"example.com/a*"})),
                   rule("*", Match::any()), rule("*", Match::any())};
    const auto trial = Insight::trial(link("https://www.google.com/url?q=https://Example.com/ab%3Futm_source%3Dx"),
                                      Source::app("com.tinyspeck.slackmacgap"), rules);
    EXPECT_EQ(trial, (Insight::Trial{{{0, Verdict::notFrom("com.apple.mail")}, {1, Verdict::off()},
                                      {2, Verdict::match()}, {3, std::nullopt}, {4, std::nullopt}},
                                     2, "www.google.com", "example.com/ab"}));

    const auto empty = Insight::trial(link("https://example.com:81/x?y"), Source::unknown(), RulesFile{});
    EXPECT_EQ(empty, (Insight::Trial{{}, std::nullopt, std::nullopt, "example.com:81/x"}));
}

TEST(InsightShadowing, ClaimsOnlyWhatIsCertain) {
    const auto domains = [](std::string from, std::vector<std::string> values) {
        return rule(std::move(from), Match::domains(std::move(values)));
    };
    const auto patterns = [](std::vector<std::string> values) { return rule("*", Match::patterns(std::move(values))); };
    const Rule any = rule("*", Match::any());
    Rule disabledAny = any;
    disabledAny.enabled = false;

    const struct { std::vector<Rule> rules; int index; std::optional<int> expected; } cases[] = {
        {{any, domains("x", {"a.example"}), patterns({"p"})}, 2, 0}, {{any, domains("x", {"a.example"})}, 0, std::nullopt},
        {{any}, 1, std::nullopt}, {{any, any}, -1, std::nullopt}, {{disabledAny, any}, 1, std::nullopt},
        {{domains("com.apple.mail", {"example.com"}), domains("com.apple.mail", {"docs.example.com"})}, 1, 0},
        {{domains("com.apple.mail", {"example.com"}), domains("*", {"docs.example.com"})}, 1, std::nullopt},
        {{domains("*", {"example.com"}), domains("com.apple.mail", {"Docs.Example.COM"})}, 1, 0},
        {{domains("*", {"example.com"}), domains("*", {"example.com", "example.org"})}, 1, std::nullopt},
        {{domains("*", {" .Example.com. "}), domains("*", {"example.com"})}, 1, 0},
        {{domains("*", {""}), domains("*", {"example.com"})}, 1, std::nullopt},
        {{domains("*", {"example.com"}), domains("*", {})}, 1, std::nullopt},
        {{domains("*", {"example.com"}), any}, 1, std::nullopt},
        {{patterns({"Example.com/*"}), patterns({"example.com/*"})}, 1, 0},
        {{patterns({"example.com/*"}), patterns({"example.com/a*"})}, 1, std::nullopt},
        {{patterns({"MÜNCHEN.example/*"}), patterns({"münchen.example/*"})}, 1, 0},
        {{domains("*", {"ÉCOLE.example"}), domains("*", {"www.école.example"})}, 1, 0},
        {{patterns({"*"}), domains("*", {"example.com"})}, 1, std::nullopt},
        {{domains("*", {"a.example"}), patterns({"x"}), domains("*", {"b.example"}), domains("*", {"b.example"})}, 3, 2},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(Insight::shadowedBy(cases[i].index, cases[i].rules), cases[i].expected) << "case " << i;
    }
}

}  // namespace
}  // namespace pivra
