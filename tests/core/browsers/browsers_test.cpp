#include "core/browsers/browser_profile.hpp"
#include "core/browsers/browsers.hpp"

#include <algorithm>
#include <set>

#include <gtest/gtest.h>

#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

using testing_support::TempFolder;

TEST(BrowserCatalogue, LooksUpExactIdentifiersAndASharedOneAsTheMacEntry) {
    using enum BrowserFamily;
    constexpr auto mac = BrowserLayout::mac;
    constexpr auto desktop = BrowserLayout::linuxDesktop;
    const std::pair<const char*, std::optional<BrowserInfo>> table[] = {
        {"com.google.Chrome", BrowserInfo{"com.google.Chrome", chromium, "chrome", mac}},
        {"com.google.Chrome.beta", BrowserInfo{"com.google.Chrome.beta", chromium, "chrome-beta", mac}},
        {"google-chrome", BrowserInfo{"google-chrome", chromium, "chrome", desktop}},
        // Two packages' names for one browser, and the Snap's own.
        {"chromium", BrowserInfo{"chromium", chromium, "chromium", desktop}},
        {"chromium-browser", BrowserInfo{"chromium-browser", chromium, "chromium", desktop}},
        {"chromium_chromium", BrowserInfo{"chromium_chromium", chromium, "chromium-snap", desktop}},
        {"firefox-esr", BrowserInfo{"firefox-esr", firefox, "firefox", desktop}},
        {"com.microsoft.Edge", BrowserInfo{"com.microsoft.Edge", chromium, "edge-flatpak", desktop}},
        // A Flatpak id that is also a bundle identifier stays the Mac entry.
        {"org.mozilla.firefox", BrowserInfo{"org.mozilla.firefox", firefox, "firefox", mac}},
        // Only the id itself: not the file name, another case, a prefix or a neighbour.
        {"google-chrome.desktop", std::nullopt}, {"Google-Chrome", std::nullopt}, {"firefox_firefox.desktop", std::nullopt},
        {"firefox_", std::nullopt}, {"org.mozilla.Firefox", std::nullopt}, {"microsoft-edge-stable", std::nullopt},
        {"chromium ", std::nullopt}, {"com.google.chrome", std::nullopt}, {"com.google.Chrome.be", std::nullopt},
        {"com.apple.Safari", std::nullopt}, {"", std::nullopt}};
    for (const auto& [id, entry] : table) EXPECT_EQ(Browsers::lookup(id), entry) << id;
}

// The orders that matter: Firefox's legacy folder before its newer one, and a
// Mac app's folder before the Flatpak's when they share an identifier. Each
// layout's folders are read for real in the discovery tests below.
TEST(BrowserDataFolders, CandidatesInTheirOrder) {
    constexpr auto mac = BrowserLayout::mac;
    constexpr auto desktop = BrowserLayout::linuxDesktop;
    using Folders = std::vector<std::pair<BrowserLayout, const char*>>;
    const std::pair<const char*, Folders> table[] = {
        {"firefox", {{desktop, ".mozilla/firefox"}, {desktop, ".config/mozilla/firefox"}}},
        {"org.mozilla.firefox",
         {{mac, "Library/Application Support/Firefox"}, {desktop, ".var/app/org.mozilla.firefox/.mozilla/firefox"},
          {desktop, ".var/app/org.mozilla.firefox/config/mozilla/firefox"}}},
        {"org.mozilla.nightly", {{mac, "Library/Application Support/Firefox"}}},
        {"com.microsoft.Edge", {{desktop, ".var/app/com.microsoft.Edge/config/microsoft-edge"}}},
        {"google-chrome-beta", {{desktop, ".config/google-chrome-beta"}}},
    };
    const std::filesystem::path home = "/home/a";
    for (const auto& [id, folders] : table) {
        std::vector<BrowserDataFolder> expected;
        for (const auto& [layout, relative] : folders) expected.push_back({home / relative, layout});
        EXPECT_EQ(Browsers::dataFolders(*Browsers::lookup(id), home), expected) << id;
    }
    const BrowserInfo unknown{"x", BrowserFamily::chromium, "nothing", BrowserLayout::linuxDesktop};
    EXPECT_TRUE(Browsers::dataFolders(unknown, home).empty());
    EXPECT_EQ(Browsers::dataFolder(unknown, home), std::nullopt);
}

// With no folder the first candidate is named; otherwise the first that exists wins.
TEST(BrowserDataFolders, TheFirstExistingFolderWins) {
    std::size_t tried = 0;
    for (const auto& browser : Browsers::allByIdentifier()) {
        TempFolder home;
        const auto candidates = Browsers::dataFolders(browser, home.path());
        if (candidates.size() < 2) continue;
        ++tried;
        EXPECT_EQ(Browsers::existingDataFolder(browser, home.path()), std::nullopt) << browser.bundleID;
        EXPECT_EQ(Browsers::dataFolder(browser, home.path()), candidates.front().path) << browser.bundleID;
        for (auto candidate = candidates.rbegin(); candidate != candidates.rend(); ++candidate) {
            std::filesystem::create_directories(candidate->path);
            EXPECT_EQ(Browsers::existingDataFolder(browser, home.path()), *candidate) << browser.bundleID;
            EXPECT_EQ(Browsers::dataFolder(browser, home.path()), candidate->path) << browser.bundleID;
        }
    }
    EXPECT_EQ(tried, 7u) << "Firefox, Firefox ESR and the five shared identifiers";

    // A file is no folder; a link to a folder is.
    TempFolder home;
    const auto firefox = *Browsers::lookup("firefox");
    home.write(".mozilla/firefox", "not a folder");
    std::filesystem::create_directories(home.path() / "elsewhere");
    std::filesystem::create_directories(home.path() / ".config/mozilla");
    std::filesystem::create_directory_symlink(home.path() / "elsewhere", home.path() / ".config/mozilla/firefox");
    EXPECT_EQ(Browsers::dataFolder(firefox, home.path()), home.path() / ".config/mozilla/firefox");
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

TEST(ProfileParserChromium, LastUsedDefaultsToTheDefaultFolderAndOtherShapesAreNoList) {
    using Profiles = std::vector<BrowserProfile>;
    const std::pair<const char*, std::optional<Profiles>> table[] = {
        {R"({"profile":{"info_cache":{"Default":{"name":"A"},"Profile 1":{"name":"B"}}}})",
         Profiles{{"Default", "A", true}, {"Profile 1", "B", false}}},
        {R"({"profile":{"last_used":7,"info_cache":{"Profile 1":{"name":"B"}}}})", Profiles{{"Profile 1", "B", false}}},
        // No last_used and no Default folder.
        {R"({"profile":{"info_cache":{"Profile 1":{"name":"B"},"Profile 2":{}}}})",
         Profiles{{"Profile 1", "B", false}, {"Profile 2", "Profile 2", false}}},
        // last_used read before info_cache.
        {R"({"profile":{"last_used":"Profile 1","info_cache":{"Default":{"name":"A"},"Profile 1":{"name":"B"}}}})",
         Profiles{{"Default", "A", false}, {"Profile 1", "B", true}}},
        {R"({"profile":{"info_cache":{}}})", Profiles{}},
        {"[]", std::nullopt}, {"{}", std::nullopt}, {R"({"profile":[]})", std::nullopt}, {R"({"profile":{}})", std::nullopt},
        {R"({"profile":{"info_cache":[]}})", std::nullopt}, {"not json", std::nullopt}, {"", std::nullopt},
        {"{\"profile\":", std::nullopt}};
    for (const auto& [text, profiles] : table) EXPECT_EQ(ProfileParser::chromium(text), profiles) << text;
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

TEST(ProfileDiscovery, AListThatCannotBeReadIsNoList) {
    TempFolder home;
    home.write("Library/Application Support/Firefox/profiles.ini", "[Profile0]\nName=\xFF\n");  // not UTF-8
    home.write("Library/Application Support/Google/Chrome/Local State", "{\"profile\":1}");
    std::filesystem::create_directories(home.path() / "Library/Application Support/Vivaldi/Local State");
    for (const char* id : {"org.mozilla.firefox", "com.google.Chrome", "com.vivaldi.Vivaldi", "com.brave.Browser"}) {
        EXPECT_EQ(discoverProfiles(*Browsers::lookup(id), home.path()), std::nullopt) << id;
    }
}

// Each layout's file is read for its own entries and no other's.
TEST(ProfileDiscovery, ReadsEveryLayout) {
    const std::string localState = R"({"profile":{"info_cache":{"Default":{"name":"Me"},"Profile 1":{"name":"Work"}}}})";
    const std::vector<BrowserProfile> chromiumProfiles{{"Default", "Me", true}, {"Profile 1", "Work", false}};
    const std::string profilesIni = "[Profile0]\nName=Alpha\nDefault=1\n[Profile1]\nName=Beta\n";
    const std::vector<BrowserProfile> firefoxProfiles{{"Alpha", "Alpha", true}, {"Beta", "Beta", false}};
    const std::pair<const char*, const char*> table[] = {
        {"com.google.Chrome", "Library/Application Support/Google/Chrome/Local State"},
        {"com.google.Chrome.canary", "Library/Application Support/Google/Chrome Canary/Local State"},
        {"com.brave.Browser", "Library/Application Support/BraveSoftware/Brave-Browser/Local State"},
        {"org.chromium.Chromium", "Library/Application Support/Chromium/Local State"},
        {"org.mozilla.firefoxdeveloperedition", "Library/Application Support/Firefox/profiles.ini"},
        {"google-chrome", ".config/google-chrome/Local State"},
        {"chromium-browser", ".config/chromium/Local State"},
        {"chromium_chromium", "snap/chromium/common/chromium/Local State"},
        {"org.chromium.Chromium", ".var/app/org.chromium.Chromium/config/chromium/Local State"},
        {"com.brave.Browser", ".var/app/com.brave.Browser/config/BraveSoftware/Brave-Browser/Local State"},
        {"com.google.Chrome", ".var/app/com.google.Chrome/config/google-chrome/Local State"},
        {"com.vivaldi.Vivaldi", ".var/app/com.vivaldi.Vivaldi/config/vivaldi/Local State"},
        {"vivaldi-stable", ".config/vivaldi/Local State"},
        {"com.opera.Opera", ".var/app/com.opera.Opera/config/opera/Local State"},
        {"firefox", ".mozilla/firefox/profiles.ini"},
        {"firefox-esr", ".config/mozilla/firefox/profiles.ini"},
        {"firefox_firefox", "snap/firefox/common/.mozilla/firefox/profiles.ini"},
        {"org.mozilla.firefox", ".var/app/org.mozilla.firefox/.mozilla/firefox/profiles.ini"},
        {"org.mozilla.firefox", ".var/app/org.mozilla.firefox/config/mozilla/firefox/profiles.ini"},
    };
    for (const auto& [id, file] : table) {
        SCOPED_TRACE(file);
        TempFolder home;
        const auto browser = *Browsers::lookup(id);
        const bool isChromium = browser.family == BrowserFamily::chromium;
        home.write(file, isChromium ? localState : profilesIni);
        EXPECT_EQ(discoverProfiles(browser, home.path()), isChromium ? chromiumProfiles : firefoxProfiles) << id;
        const auto folder = (home.path() / file).parent_path();
        for (const auto& other : Browsers::allByIdentifier()) {
            if (Browsers::dataFolder(other, home.path()) == folder) continue;
            EXPECT_EQ(discoverProfiles(other, home.path()), std::nullopt) << other.bundleID;
        }
    }
}

}  // namespace
}  // namespace pivra
