#include "core/rules/known_apps.hpp"

#include <gtest/gtest.h>

namespace pivra {
namespace {

TEST(KnownAppsTable, KindsAndProfileNames) {
    EXPECT_EQ(KnownApps::kind("com.figma.Desktop"), AppKind::work);
    EXPECT_EQ(KnownApps::kind("com.apple.mail"), AppKind::personal);
    EXPECT_EQ(KnownApps::kind("com.apple.Terminal"), AppKind::developer);
    EXPECT_EQ(KnownApps::kind("com.apple.terminal"), std::nullopt);

    const std::vector<std::pair<const char*, std::optional<AppKind>>> names{
        {"Work", AppKind::work},        {"Homework", AppKind::work},         {"My JOB", AppKind::work},
        {"公司", AppKind::work},         {"工作账号", AppKind::work},          {"Home", AppKind::personal},
        {"PRIVATE", AppKind::personal}, {"個人", AppKind::personal},          {"私人", AppKind::personal},
        {"ME", AppKind::personal},      {"Meeting notes", std::nullopt},     {"Developer", AppKind::developer},
        {"Latest", AppKind::developer}, {"開發", AppKind::developer},         {"", std::nullopt},
        {"Profile 1", std::nullopt},    {"ΟΙΚΟΣ", std::nullopt}};
    for (const auto& [name, kind] : names) EXPECT_EQ(KnownApps::classifyProfileName(name), kind) << name;
}

TEST(StarterSuggestions, UsesTheFirstProfileOfEachKind) {
    const std::set<std::string> apps{"com.tinyspeck.slackmacgap", "com.figma.Desktop", "com.apple.mail",
                                     "net.whatsapp.WhatsApp", "com.apple.Terminal", "dev.zed.Zed", "unknown.app"};
    const std::map<std::string, std::vector<BrowserProfile>> profiles{
        {"org.mozilla.firefox", {{"Work", "Work", true}, {"Dev", "Dev", false}}},
        {"com.google.Chrome", {{"Profile 1", "Office", false}, {"Default", "Home", true}, {"Profile 3", "Misc", false}}},
    };
    const auto result = Starter::suggestions(apps, profiles, {"com.apple.Safari", "org.mozilla.firefox", "com.google.Chrome"});
    ASSERT_EQ(result.size(), 6u);
    std::vector<std::tuple<StarterGroup, std::string, bool, std::vector<std::string>>> summary;
    for (const auto& s : result) {
        std::vector<std::string> ids;
        for (const auto& rule : s.rules) {
            ids.push_back(rule.id);
            EXPECT_TRUE(rule.enabled && rule.bringForward && !rule.newWindow) << rule.id;
        }
        summary.emplace_back(s.group, s.why, s.on, ids);
    }
    EXPECT_EQ(summary, (decltype(summary){
                           {StarterGroup::work, "Office profile", true, {"starter-com.tinyspeck.slackmacgap"}},
                           {StarterGroup::work, "Office profile", true, {"starter-com.figma.Desktop"}},
                           {StarterGroup::sites, "App installed", true, {"starter-figma.com"}},
                           {StarterGroup::developer, "Dev profile", true,
                            {"starter-com.apple.Terminal", "starter-dev.zed.Zed"}},
                           {StarterGroup::either, "Work or personal?", false, {"starter-com.apple.mail"}},
                           {StarterGroup::personal, "Home profile", true, {"starter-net.whatsapp.WhatsApp"}}}));
    const Target office{"com.google.Chrome", "Profile 1"};
    EXPECT_EQ(result[0].rules[0].open, office) << "com.google.Chrome sorts before org.mozilla.firefox";
    EXPECT_EQ(result[2].rules[0].from, "*");
    EXPECT_EQ(result[2].rules[0].match, Match::domains({"figma.com"}));
    EXPECT_EQ(result[3].rules[1].match, Match::patterns({"localhost:*", "127.0.0.1:*"}));
    EXPECT_EQ(result[3].rules[1].open, (Target{"org.mozilla.firefox", "Dev"}));
    EXPECT_EQ(result[4].rules[0].open, office);
    EXPECT_EQ(result[5].rules[0].open, (Target{"com.google.Chrome", "Default"}));
}

TEST(StarterSuggestions, FallsBackToAPlainBrowser) {
    const std::set<std::string> apps{"com.tinyspeck.slackmacgap", "com.apple.Terminal", "com.apple.MobileSMS"};
    auto result = Starter::suggestions(apps, {{"com.google.Chrome", {{"Default", "Person 1", true}}}}, {});
    ASSERT_EQ(result.size(), 2u);
    EXPECT_EQ(result[0].why, "Keeps work apart");
    EXPECT_FALSE(result[0].on);
    EXPECT_EQ(result[0].rules[0].open, (Target{"com.google.Chrome", std::nullopt}));
    EXPECT_EQ(result[1].why, "Dev tools");

    result = Starter::suggestions(apps, {}, {"com.apple.Safari", "com.brave.Browser"});
    ASSERT_EQ(result.size(), 2u);
    EXPECT_EQ(result[0].rules[0].open.app, "com.brave.Browser");

    EXPECT_TRUE(Starter::suggestions(apps, {}, {"com.apple.Safari"}).empty());
    EXPECT_TRUE(Starter::suggestions({"unknown"}, {}, {"com.google.Chrome"}).empty());
    const auto figmaOnly = Starter::suggestions({"com.figma.Desktop"}, {}, {"com.apple.Safari"});
    ASSERT_EQ(figmaOnly.size(), 1u);
    EXPECT_EQ(figmaOnly[0].group, StarterGroup::sites);
}

}  // namespace
}  // namespace pivra
