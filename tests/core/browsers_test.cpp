#include "core/browser_profile.hpp"
#include "core/browsers.hpp"
#include "core/unicode_text.hpp"

#include <algorithm>

#include <gtest/gtest.h>

#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

using testing_support::TempFolder;

TEST(BrowserCatalogue, LooksUpExactBundleIdsAndSharedFolders) {
    ASSERT_EQ(Browsers::all().size(), 10u);
    EXPECT_EQ(Browsers::all().front().bundleID, "com.google.Chrome");
    EXPECT_EQ(Browsers::all().back().bundleID, "org.mozilla.nightly");
    EXPECT_EQ(Browsers::lookup("com.google.Chrome.beta")->key, "chrome-beta");
    EXPECT_EQ(Browsers::lookup("com.google.Chrome")->key, "chrome");
    EXPECT_EQ(Browsers::lookup("com.google.chrome"), std::nullopt);
    EXPECT_EQ(Browsers::lookup("com.google.Chrome.be"), std::nullopt);
    EXPECT_EQ(Browsers::lookup("com.apple.Safari"), std::nullopt);
    EXPECT_EQ(Browsers::dataFolder(*Browsers::lookup("org.mozilla.nightly"), "/Users/a"),
              std::filesystem::path("/Users/a/Library/Application Support/Firefox"));
    EXPECT_EQ(Browsers::dataFolder(*Browsers::lookup("com.brave.Browser"), "/Users/a"),
              std::filesystem::path("/Users/a/Library/Application Support/BraveSoftware/Brave-Browser"));
    EXPECT_EQ(Browsers::folder("safari"), std::nullopt);
    for (const auto& browser : Browsers::all()) EXPECT_TRUE(Browsers::folder(browser.key)) << browser.key;
    EXPECT_EQ(browserFamilyFromRaw("firefox"), BrowserFamily::firefox);
    EXPECT_EQ(browserFamilyFromRaw("Firefox"), std::nullopt);
    EXPECT_EQ(rawValue(BrowserFamily::chromium), "chromium");
}

TEST(BrowserCatalogue, EnclosingAppBundle) {
    EXPECT_EQ(AppBundle::enclosing("/Applications/Foo.app/Contents/MacOS/Foo"), "/Applications/Foo.app");
    EXPECT_EQ(AppBundle::enclosing("/Applications/Foo.app"), "/Applications/Foo.app");
    EXPECT_EQ(AppBundle::enclosing("/A/Outer.app/Contents/Inner.app/x"), "/A/Outer.app");
    EXPECT_EQ(AppBundle::enclosing("relative/Foo.app/x"), "relative/Foo.app");
    EXPECT_EQ(AppBundle::enclosing("//Apps//Foo.app/x"), "//Apps//Foo.app");
    EXPECT_EQ(AppBundle::enclosing("/Applications/Foo.APP/x"), std::nullopt);
    EXPECT_EQ(AppBundle::enclosing("/usr/bin/open"), std::nullopt);
    EXPECT_EQ(AppBundle::enclosing(""), std::nullopt);
}

TEST(FinderOrder, NumbersCaseAndAccents) {
    std::vector<std::string> names{"Profile 10", "profile 2", "Zoë", "Ábc", "abd", "Profile 2", "Work",
                                   "Émile", "emile", "Профиль", "工作", "Profile 02", "a", "B", "zoe"};
    std::stable_sort(names.begin(), names.end(), [](const auto& a, const auto& b) { return compareForSorting(a, b) < 0; });
    const std::vector<std::string> expected{"a", "Ábc", "abd", "B", "emile", "Émile", "profile 2", "Profile 02",
                                            "Profile 2", "Profile 10", "Work", "zoe", "Zoë", "Профиль", "工作"};
    EXPECT_EQ(names, expected);
    EXPECT_EQ(compareForSorting("Same", "Same"), 0);
    EXPECT_LT(compareForSorting("x9", "x10"), 0);
    EXPECT_LT(compareForSorting("x99999999999999999999998", "x99999999999999999999999"), 0) << "no overflow";
    EXPECT_LT(compareForSorting("cafe", "cafe\xCC\x81"), 0);
    EXPECT_LT(compareForSorting("caf\xC3\xA9", "cafes"), 0) << "accents only break ties";
}

const char* kLocalState = R"({
  "browser": {"enabled_labs_experiments": []},
  "profile": {
    "info_cache": {
      "Profile 10": {"name": "Profile 10", "avatar_icon": "x"},
      "Default": {"name": "Personal"},
      "Profile 3": {"shortcut_name": "no name here"},
      "Profile 2": {"name": "Profile 2"},
      "Profile 7": {"name": "\u00C9quipe"},
      "Profile 8": "not an object",
      "Profile 9": {"name": 42}
    },
    "last_used": "Profile 2",
    "profiles_order": ["Default"]
  }
})";

TEST(ProfileParserChromium, ReadsNamesDefaultsAndSortsInFinderOrder) {
    const auto profiles = ProfileParser::chromium(kLocalState);
    ASSERT_TRUE(profiles.has_value());
    const std::vector<BrowserProfile> expected{
        {"Profile 7", "\u00C9quipe", false}, {"Default", "Personal", false}, {"Profile 2", "Profile 2", true},
        {"Profile 3", "Profile 3", false},   {"Profile 8", "Profile 8", false}, {"Profile 9", "Profile 9", false},
        {"Profile 10", "Profile 10", false}};
    EXPECT_EQ(*profiles, expected);
}

TEST(ProfileParserChromium, LastUsedDefaultsToTheDefaultFolder) {
    auto profiles = ProfileParser::chromium(R"({"profile":{"info_cache":{"Default":{"name":"A"},"Profile 1":{"name":"B"}}}})");
    ASSERT_TRUE(profiles);
    EXPECT_TRUE((*profiles)[0].isDefault);
    profiles = ProfileParser::chromium(R"({"profile":{"last_used":7,"info_cache":{"Profile 1":{"name":"B"}}}})");
    ASSERT_TRUE(profiles);
    EXPECT_FALSE((*profiles)[0].isDefault);
    EXPECT_EQ(ProfileParser::chromium(R"({"profile":{"info_cache":{}}})"), std::vector<BrowserProfile>{});
    for (const char* bad : {"[]", "{}", R"({"profile":[]})", R"({"profile":{}})", R"({"profile":{"info_cache":[]}})",
                            "not json", "", "{\"profile\":"}) {
        EXPECT_EQ(ProfileParser::chromium(bad), std::nullopt) << bad;
    }
}

TEST(ProfileParserFirefox, InstallDefaultWinsOverProfileFlags) {
    const std::string ini =
        "[Install308046B0AF4A39CB]\r\nDefault=abc.default-release\r\nLocked=1\r\n\r\n"
        "[Profile1]\r\nName=default\r\nIsRelative=1\r\nPath=Profiles/xyz.default\r\nDefault=1\r\n\r\n"
        "[Profile0]\r\nName=Work Stuff\r\nPath=abc.default-release\r\n\r\n"
        "[Install2]\r\nDefault=Profiles/xyz.default\r\n"
        "[General]\r\nStartWithLastProfile=1\r\nName=NotAProfile\r\n";
    const std::vector<BrowserProfile> expected{{"default", "default", false}, {"Work Stuff", "Work Stuff", true}};
    EXPECT_EQ(ProfileParser::firefox(ini), expected);
}

TEST(ProfileParserFirefox, WithoutInstallEveryFlaggedProfileIsDefault) {
    const std::string ini =
        "Name=before any section\n"
        "[Profile0]\nName=One\nDefault=1\n"
        "[Profile1]\nName = Spaced\nPath=p\n"
        "[Profile2]\nPath=nameless\nDefault=1\n"
        "  [Profile3]  \n  Name=Two  \nDefault=1\nName=Two again\n"
        "[Profile4]\n;Name=comment=not really\nName=Privé\nDefault=true\n"
        "[Install]\n";
    const std::vector<BrowserProfile> expected{
        {"One", "One", true}, {"Two again", "Two again", true}, {"Privé", "Privé", false}};
    EXPECT_EQ(ProfileParser::firefox(ini), expected);
    EXPECT_TRUE(ProfileParser::firefox("").empty());
}

TEST(ProfileDiscovery, ReadsEachFamilysFileUnderTheHomeFolder) {
    TempFolder home;
    const auto chrome = *Browsers::lookup("com.google.Chrome");
    const auto firefox = *Browsers::lookup("org.mozilla.firefoxdeveloperedition");
    EXPECT_EQ(discoverProfiles(chrome, home.path()), std::nullopt) << "no file: no list";
    EXPECT_EQ(discoverProfiles(firefox, home.path()), std::nullopt);

    home.write("Library/Application Support/Google/Chrome/Local State", kLocalState);
    home.write("Library/Application Support/Firefox/profiles.ini", "[Profile0]\nName=Alpha\nDefault=1\n");
    EXPECT_EQ(discoverProfiles(chrome, home.path())->size(), 7u);
    EXPECT_EQ(discoverProfiles(firefox, home.path()), (std::vector<BrowserProfile>{{"Alpha", "Alpha", true}}));

    home.write("Library/Application Support/Firefox/profiles.ini", "[Profile0]\nName=\xFF\n");
    EXPECT_EQ(discoverProfiles(firefox, home.path()), std::nullopt) << "not UTF-8";
    home.write("Library/Application Support/Google/Chrome/Local State", "{\"profile\":1}");
    EXPECT_EQ(discoverProfiles(chrome, home.path()), std::nullopt);
    std::filesystem::create_directories(home.path() / "Library/Application Support/Vivaldi/Local State");
    EXPECT_EQ(discoverProfiles(*Browsers::lookup("com.vivaldi.Vivaldi"), home.path()), std::nullopt) << "a folder";
}

}  // namespace
}  // namespace pivra
