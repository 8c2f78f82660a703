#include "core/rules/import_matcher.hpp"

#include <gtest/gtest.h>

#include "tests/core/core_test_support.hpp"

namespace pivra {
namespace {

Rule importedRule(std::string from, std::string app, std::optional<std::string> profile = std::nullopt) {
    Rule rule = testing_support::rule(std::move(from), Match::any(), std::move(app));
    rule.open.profile = std::move(profile);
    return rule;
}

TEST(ImportMatching, GapsInTheOrderFirstNeeded) {
    RulesFile file;
    file.fallback = Target{"com.missing.Fallback", std::nullopt};
    file.rules = {importedRule("*", "com.missing.Browser"), importedRule("com.missing.Source", "com.missing.Browser"),
                  importedRule("com.apple.mail", "com.google.Chrome", "Profile 9"),
                  importedRule("*", "com.google.Chrome", "Default"),
                  importedRule("com.missing.Source", "org.mozilla.firefox", "Work"),
                  importedRule("*", "com.brave.Browser", "Anything"), importedRule("*", "com.google.Chrome", "Profile 9")};
    file.rules[1].enabled = false;
    const std::set<std::string> apps{"com.apple.mail", "com.google.Chrome", "org.mozilla.firefox", "com.brave.Browser"};
    const std::map<std::string, std::vector<BrowserProfile>> profiles{
        {"com.google.Chrome", {{"Default", "Me", true}}}, {"org.mozilla.firefox", {}}};
    const auto gaps = ImportMatcher::gaps(file, apps, profiles);
    ASSERT_EQ(gaps.size(), 4u);
    EXPECT_EQ(gaps[0], (ImportGap{ImportGap::Kind::missingApp("com.missing.Browser"), {0, 1}}));
    EXPECT_EQ(gaps[1], (ImportGap{ImportGap::Kind::missingSource("com.missing.Source"), {1, 4}}));
    EXPECT_EQ(gaps[2], (ImportGap{ImportGap::Kind::missingProfile("com.google.Chrome", "Profile 9"), {2, 6}}));
    EXPECT_EQ(gaps[3], (ImportGap{ImportGap::Kind::missingProfile("org.mozilla.firefox", "Work"), {4}}));
    EXPECT_EQ(gaps[0].kind.textKey(), "app:com.missing.Browser");
    EXPECT_EQ(gaps[1].kind.textKey(), "source:com.missing.Source");
    EXPECT_EQ(gaps[2].kind.textKey(), "profile:com.google.Chrome/Profile 9");

    EXPECT_TRUE(ImportMatcher::gaps(RulesFile{}, {}, {}).empty());
    EXPECT_EQ(ImportMatcher::gaps(file, apps, {}).size(), 2u) << "no profiles known at all: no profile gaps";
    EXPECT_EQ(ImportMatcher::gaps(file, {}, {}).front().kind, ImportGap::Kind::missingApp("com.missing.Browser"));
}

}  // namespace
}  // namespace pivra
