#include "core/browsers/browser_profile.hpp"
#include "core/browsers/browsers.hpp"

#include <gtest/gtest.h>

#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

using testing_support::TempFolder;

TEST(BrowserCatalogue, LooksUpExactBundleIdsAndSharedFolders) {
    EXPECT_EQ(Browsers::lookup("com.google.Chrome.beta")->key, "chrome-beta");
    EXPECT_EQ(Browsers::lookup("com.google.Chrome")->key, "chrome");
    for (const char* unknown : {"com.google.chrome", "com.google.Chrome.be", "com.apple.Safari"})
        EXPECT_EQ(Browsers::lookup(unknown), std::nullopt) << unknown;
    const auto folderOf = [](const char* bundleID) { return Browsers::dataFolder(*Browsers::lookup(bundleID), "/Users/a"); };
    const std::filesystem::path support = "/Users/a/Library/Application Support";
    EXPECT_EQ(folderOf("org.mozilla.nightly"), support / "Firefox");
    EXPECT_EQ(folderOf("org.mozilla.firefoxdeveloperedition"), support / "Firefox");
    EXPECT_EQ(folderOf("com.brave.Browser"), support / "BraveSoftware/Brave-Browser");
    EXPECT_EQ(folderOf("com.google.Chrome.canary"), support / "Google/Chrome Canary");
    EXPECT_EQ(Browsers::folder("safari"), std::nullopt);
    for (const auto& browser : Browsers::all()) EXPECT_TRUE(Browsers::folder(browser.key)) << browser.key;
}

TEST(BrowserCatalogue, EnclosingAppBundle) {
    const std::pair<const char*, std::optional<std::string>> table[] = {
        {"/Applications/Foo.app/Contents/MacOS/Foo", "/Applications/Foo.app"},
        {"/Applications/Foo.app", "/Applications/Foo.app"}, {"/A/Outer.app/Contents/Inner.app/x", "/A/Outer.app"},
        {"relative/Foo.app/x", "relative/Foo.app"}, {"//Apps//Foo.app/x", "//Apps//Foo.app"},
        {"/Applications/Foo.APP/x", std::nullopt}, {"/usr/bin/open", std::nullopt}, {"", std::nullopt}};
    for (const auto& [path, bundle] : table) EXPECT_EQ(AppBundle::enclosing(path), bundle) << path;
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

TEST(ProfileParserChromium, EqualNamesKeepTheirOrderAndNamesSortByScript) {
    const auto profiles = ProfileParser::chromium(R"({"profile":{"last_used":"Profile 9","info_cache":{
        "Profile 9": {"name": "Work"}, "Profile 1": {"name": "\u4ED5\u4E8B"}, "Default": {"name": "Work"},
        "Profile 3": {"name": "_Temp"}, "Profile 4": {"name": "\uD83C\uDFE0 Home"}, "Profile 5": {"name": "2 Home"},
        "Profile 6": {"name": "\u0130stanbul"}, "Profile 7": {"name": "Z\u00FCrich"}, "Profile 8": {"name": "Work"},
        "Profile 2": {"name": "Profile \uFF11\uFF10"}, "Profile 10": {"name": "Profile 2"}}}})");
    ASSERT_TRUE(profiles);
    std::vector<std::string> ids;
    for (const auto& profile : *profiles) ids.push_back(profile.id);
    EXPECT_EQ(ids, (std::vector<std::string>{"Profile 3", "Profile 4", "Profile 5", "Profile 6", "Profile 10", "Profile 2",
                                             "Profile 9", "Default", "Profile 8", "Profile 7", "Profile 1"}));
    EXPECT_TRUE(profiles->at(6).isDefault);
}

TEST(ProfileParserChromium, LastUsedDefaultsToTheDefaultFolder) {
    using Profiles = std::vector<BrowserProfile>;
    EXPECT_EQ(ProfileParser::chromium(R"({"profile":{"info_cache":{"Default":{"name":"A"},"Profile 1":{"name":"B"}}}})"),
              (Profiles{{"Default", "A", true}, {"Profile 1", "B", false}}));
    EXPECT_EQ(ProfileParser::chromium(R"({"profile":{"last_used":7,"info_cache":{"Profile 1":{"name":"B"}}}})"),
              (Profiles{{"Profile 1", "B", false}}));
    EXPECT_EQ(ProfileParser::chromium(R"({"profile":{"info_cache":{"Profile 1":{"name":"B"},"Profile 2":{}}}})"),
              (Profiles{{"Profile 1", "B", false}, {"Profile 2", "Profile 2", false}}))
        << "no last_used and no Default folder";
    EXPECT_EQ(ProfileParser::chromium(
                  R"({"profile":{"last_used":"Profile 1","info_cache":{"Default":{"name":"A"},"Profile 1":{"name":"B"}}}})"),
              (Profiles{{"Default", "A", false}, {"Profile 1", "B", true}}))
        << "last_used read before info_cache";
    EXPECT_EQ(ProfileParser::chromium(R"({"profile":{"info_cache":{}}})"), Profiles{});
    for (const char* bad : {"[]", "{}", R"({"profile":[]})", R"({"profile":{}})", R"({"profile":{"info_cache":[]}})",
                            "not json", "", "{\"profile\":"}) {
        EXPECT_EQ(ProfileParser::chromium(bad), std::nullopt) << bad;
    }
}

// Only the first Install section counts, and its Default wins over profile flags.
TEST(ProfileParserFirefox, TheFirstInstallDefaultWinsOverProfileFlags) {
    EXPECT_EQ(ProfileParser::firefox(
                  "[Install308046B0AF4A39CB]\r\nDefault=abc.default-release\r\nLocked=1\r\n\r\n"
                  "[Profile1]\r\nName=default\r\nIsRelative=1\r\nPath=Profiles/xyz.default\r\nDefault=1\r\n\r\n"
                  "[Profile0]\r\nName=Work Stuff\r\nPath=abc.default-release\r\n\r\n"
                  "[Install2]\r\nDefault=Profiles/xyz.default\r\n"
                  "[General]\r\nStartWithLastProfile=1\r\nName=NotAProfile\r\n"),
              (std::vector<BrowserProfile>{{"default", "default", false}, {"Work Stuff", "Work Stuff", true}}));
    EXPECT_EQ(ProfileParser::firefox("[Profile0]\nName=Work\nPath=w.work\nDefault=1\n[InstallAAAA]\nLocked=1\n"
                                     "[Profile1]\nName=Home\nPath=h.home\n[InstallBBBB]\nDefault=h.home\n"),
              (std::vector<BrowserProfile>{{"Work", "Work", true}, {"Home", "Home", false}}));
}

TEST(ProfileParserFirefox, LinesAreTrimmedOfEveryKindOfSpace) {
    EXPECT_EQ(ProfileParser::firefox("\u3000[Profile0]\u2003\r\n\u00A0Name=Caf\u00E9\u202F\u0085Path=p\u205F\u2028Default=1"
                                     "\u1680\r\n[Profile1]\nName=\u200BZero\u200B\n"),
              (std::vector<BrowserProfile>{{"Caf\u00E9", "Caf\u00E9", true}, {"\u200BZero\u200B", "\u200BZero\u200B", false}}));
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
