#include "core/browsers/profile_launch.hpp"

#include "core/browsers/browsers.hpp"
#include "core/routing/link.hpp"

#include <gtest/gtest.h>

#include "tests/core/core_test_support.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

using testing_support::link;
using testing_support::TempFolder;
using ProfileLaunch::Plan;

const std::string kChromeApp = "/Applications/Google Chrome.app";
const std::string kBraveApp = "/Applications/Brave Browser.app";
const std::string kFirefoxApp = "/Applications/Firefox.app";
constexpr const char* kWeb = "https://example.com/";

class ProfileLaunchTest : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(home.path() / "Library/Application Support/Google/Chrome/Profile 2");
        std::filesystem::create_directories(home.path() / "Library/Application Support/BraveSoftware/Brave-Browser/Profile 2");
        home.write("Library/Application Support/Google/Chrome/NotAFolder", "x");
        writeProfilesIni("[Profile0]\r\nName=Work\r\nPath=a\r\n[Profile1]\nName=Trailing \nName=Other\n");
    }

    void writeProfilesIni(const std::string& text) { home.write("Library/Application Support/Firefox/profiles.ini", text); }

    std::optional<Plan> plan(std::string_view text, std::string_view app, std::optional<std::string> profile,
                             std::string_view path, bool newWindow = false, bool bringForward = true) {
        return ProfileLaunch::plan(link(text), app, profile, path, newWindow, bringForward, home.path());
    }

    TempFolder home;
};

TEST_F(ProfileLaunchTest, ArgumentLists) {
    EXPECT_EQ(plan("https://example.com/a", "com.brave.Browser", "Profile 2", kBraveApp, false, false),
              Plan::open({"-gna", kBraveApp, "--args", "--profile-directory=Profile 2", "https://example.com/a"}));
    EXPECT_EQ(plan("HTTPS://example.com/", "com.google.Chrome", "Profile 2", kChromeApp, true, true),
              Plan::open({"-na", kChromeApp, "--args", "--profile-directory=Profile 2", "--new-window", "HTTPS://example.com/"}));
    EXPECT_EQ(plan("http://example.com/", "com.google.Chrome", std::nullopt, kChromeApp, true),
              Plan::open({"-na", kChromeApp, "--args", "--new-window", "http://example.com/"}));
    EXPECT_EQ(plan(kWeb, "org.mozilla.firefox", "Work", kFirefoxApp),
              Plan::open({"-na", kFirefoxApp, "--args", "-P", "Work", "-new-tab", kWeb}));
    EXPECT_EQ(plan(kWeb, "org.mozilla.nightly", std::nullopt, kFirefoxApp, true, false),
              Plan::open({"-gna", kFirefoxApp, "--args", "-new-window", kWeb}));
    // Firefox names match exactly, and a later Name in a section replaces an earlier one.
    for (const char* name : {"Trailing", "work"})
        EXPECT_EQ(plan(kWeb, "org.mozilla.firefox", name, kFirefoxApp), Plan::profileMissing()) << name;
}

TEST_F(ProfileLaunchTest, NoPlanWhenNothingSpecialIsAsked) {
    EXPECT_EQ(plan(kWeb, "com.google.Chrome", std::nullopt, kChromeApp), std::nullopt);
    EXPECT_EQ(plan(kWeb, "org.mozilla.firefox", std::nullopt, kFirefoxApp), std::nullopt);
    EXPECT_EQ(plan("mailto:a@example.com", "com.google.Chrome", std::nullopt, kChromeApp), std::nullopt);
    EXPECT_EQ(plan("mailto:a@example.com", "org.mozilla.firefox", std::nullopt, "relative"), std::nullopt);
    EXPECT_EQ(plan(kWeb, "com.apple.Safari", "Work", "/Applications/Safari.app", true), std::nullopt);
}

// The link is tested first, then the app path, then the profile name, then the profile itself.
TEST_F(ProfileLaunchTest, RefusalsInTheirOrder) {
    const Plan notWeb = Plan::refused("the link isn’t a web link");
    const Plan notApp = Plan::refused("the browser’s path isn’t an app");
    const Plan notFolder = Plan::refused("the profile isn’t a folder name");
    EXPECT_EQ(plan("mailto:a@example.com", "com.google.Chrome", "Profile 2", kChromeApp), notWeb);
    EXPECT_EQ(plan("file:///etc/passwd", "org.mozilla.firefox", "Work", "relative.app"), notWeb);
    EXPECT_EQ(plan("javascript:alert(1)", "com.google.Chrome", std::nullopt, kChromeApp, true), notWeb);
    EXPECT_EQ(plan(kWeb, "com.google.Chrome", "Profile 2", kChromeApp + "/"), notApp);
    EXPECT_EQ(plan(kWeb, "com.google.Chrome", "Profile 2", "Applications/Chrome.app"), notApp);
    EXPECT_EQ(plan(kWeb, "com.google.Chrome", "Profile 2", "/Applications/Chrome.APP"), notApp);
    EXPECT_EQ(plan(kWeb, "com.google.Chrome", "../Default", "Chrome.app"), notApp);
    EXPECT_EQ(plan(kWeb, "org.mozilla.firefox", "Nobody", "/Applications/Firefox"), notApp);
    for (const char* bad : {"../Default", "a/b", ".hidden", ""})
        EXPECT_EQ(plan(kWeb, "com.google.Chrome", bad, kChromeApp), notFolder) << bad;
    EXPECT_EQ(plan(kWeb, "com.google.Chrome", "Profile 9", kChromeApp), Plan::profileMissing());
    EXPECT_EQ(plan(kWeb, "com.google.Chrome", "NotAFolder", kChromeApp), Plan::profileMissing());
    EXPECT_EQ(plan(kWeb, "com.google.Chrome.beta", "Default", kChromeApp), Plan::profileMissing());
}

TEST_F(ProfileLaunchTest, ProfilesIniMissingOrNotUtf8ListsNoProfile) {
    TempFolder emptyHome;
    EXPECT_EQ(ProfileLaunch::plan(link(kWeb), "org.mozilla.firefox", "Work", kFirefoxApp, false, true, emptyHome.path()),
              Plan::profileMissing());
    EXPECT_EQ(ProfileLaunch::plan(link(kWeb), "org.mozilla.firefox", std::nullopt, kFirefoxApp, true, true,
                                  emptyHome.path()),
              Plan::open({"-na", kFirefoxApp, "--args", "-new-window", kWeb}))
        << "without a profile the file is not read";

    writeProfilesIni("[Profile0]\nName=Work\n[Profile1]\nName=Caf\xE9\n");
    EXPECT_EQ(plan(kWeb, "org.mozilla.firefox", "Work", kFirefoxApp), Plan::profileMissing());
    EXPECT_EQ(plan(kWeb, "org.mozilla.firefox", "Caf\xE9", kFirefoxApp), Plan::profileMissing());
    EXPECT_EQ(plan(kWeb, "org.mozilla.firefox", std::nullopt, kFirefoxApp, true),
              Plan::open({"-na", kFirefoxApp, "--args", "-new-window", kWeb}));
}

TEST_F(ProfileLaunchTest, ANameWithANulIsNeverFound) {
    // "Profile 2" exists, so a test of the path cut at the NUL would pass.
    EXPECT_EQ(plan(kWeb, "com.google.Chrome", std::string("Profile 2\0x", 11), kChromeApp), Plan::profileMissing());
    EXPECT_EQ(plan(kWeb, "com.google.Chrome", std::string("Profile 2\0", 10), kChromeApp), Plan::profileMissing());
    EXPECT_EQ(plan(kWeb, "com.google.Chrome", std::string("a/\0", 3), kChromeApp),
              Plan::refused("the profile isn’t a folder name"));
    writeProfilesIni(std::string("[Profile0]\nName=Work\0x\n", 24));
    EXPECT_EQ(plan(kWeb, "org.mozilla.firefox", std::string("Work\0x", 6), kFirefoxApp), Plan::profileMissing());
}

// Whatever the link, browser, profile and options, an open ends with the link
// itself, a web link that the browser cannot take for an option.
TEST_F(ProfileLaunchTest, TheLinkArgumentIsAlwaysAWebLinkLast) {
    for (const auto& browser : Browsers::all()) {
        if (browser.family == BrowserFamily::chromium)
            std::filesystem::create_directories(*Browsers::dataFolder(browser, home.path()) / "Profile 2");
    }
    std::size_t opens = 0;
    std::size_t webLinks = 0;
    for (const char* text : {"https://example.com/", "http://x.example/--new-window",
                             "https://example.com/?--profile-directory=Default", "https://example.com/a b",
                             "mailto:--help", "-https://x", "--new-window", "data:text/html,x", "HTTPS://EXAMPLE.COM/",
                             "file:///etc/passwd"}) {
        const auto parsed = parseLink(text);
        if (!parsed) continue;
        if (isWebScheme(parsed->scheme())) ++webLinks;
        for (const auto& browser : Browsers::all()) {
            const std::optional<std::string> existing = browser.family == BrowserFamily::chromium ? "Profile 2" : "Work";
            for (int options = 0; options < 8; ++options) {
                const auto result = ProfileLaunch::plan(*parsed, browser.bundleID, (options & 4) != 0 ? existing : std::nullopt,
                                                        "/Applications/B.app", (options & 2) != 0, (options & 1) != 0,
                                                        home.path());
                if (!result || result->kind() != Plan::Kind::open) continue;
                ++opens;
                const std::string& last = result->arguments().back();
                const auto reparsed = parseLink(last);
                ASSERT_TRUE(reparsed) << last;
                const auto scheme = reparsed->scheme_id();
                EXPECT_TRUE(scheme == boost::urls::scheme::http || scheme == boost::urls::scheme::https) << last;
                EXPECT_FALSE(last.starts_with('-')) << last;
                EXPECT_EQ(last, parsed->buffer());
            }
        }
    }
    // A web link opens in each browser but when neither a profile nor a new window is asked.
    EXPECT_EQ(opens, webLinks * Browsers::all().size() * 6);
    EXPECT_GT(webLinks, 0u);
}

}  // namespace
}  // namespace pivra
