#include "core/profile_launch.hpp"

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

class ProfileLaunchTest : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(home.path() / "Library/Application Support/Google/Chrome/Profile 2");
        std::filesystem::create_directories(home.path() / "Library/Application Support/BraveSoftware/Brave-Browser/Profile 2");
        home.write("Library/Application Support/Google/Chrome/NotAFolder", "x");
        home.write("Library/Application Support/Firefox/profiles.ini",
                   "[Profile0]\r\nName=Work\r\nPath=a\r\n[Profile1]\nName=Trailing \nName=Other\n");
    }

    std::optional<Plan> plan(std::string_view text, std::string_view app, std::optional<std::string> profile,
                             std::string_view path, bool newWindow = false, bool bringForward = true) {
        return ProfileLaunch::plan(link(text), app, profile, path, newWindow, bringForward, home.path());
    }

    TempFolder home;
};

TEST_F(ProfileLaunchTest, ChromiumArgumentLists) {
    EXPECT_EQ(plan("https://example.com/a", "com.brave.Browser", "Profile 2", kBraveApp, false, false),
              Plan::open({"-gna", kBraveApp, "--args", "--profile-directory=Profile 2", "https://example.com/a"}));
    EXPECT_EQ(plan("HTTPS://example.com/", "com.google.Chrome", "Profile 2", kChromeApp, true, true),
              Plan::open({"-na", kChromeApp, "--args", "--profile-directory=Profile 2", "--new-window", "HTTPS://example.com/"}));
    EXPECT_EQ(plan("http://example.com/", "com.google.Chrome", std::nullopt, kChromeApp, true),
              Plan::open({"-na", kChromeApp, "--args", "--new-window", "http://example.com/"}));
}

TEST_F(ProfileLaunchTest, FirefoxArgumentLists) {
    EXPECT_EQ(plan("https://example.com/", "org.mozilla.firefox", "Work", kFirefoxApp),
              Plan::open({"-na", kFirefoxApp, "--args", "-P", "Work", "-new-tab", "https://example.com/"}));
    EXPECT_EQ(plan("https://example.com/", "org.mozilla.nightly", std::nullopt, kFirefoxApp, true, false),
              Plan::open({"-gna", kFirefoxApp, "--args", "-new-window", "https://example.com/"}));
    EXPECT_EQ(plan("https://example.com/", "org.mozilla.firefox", "Trailing", kFirefoxApp), Plan::profileMissing());
    EXPECT_EQ(plan("https://example.com/", "org.mozilla.firefox", "work", kFirefoxApp), Plan::profileMissing());
}

TEST_F(ProfileLaunchTest, NoPlanWhenNothingSpecialIsAsked) {
    EXPECT_EQ(plan("https://example.com/", "com.google.Chrome", std::nullopt, kChromeApp), std::nullopt);
    EXPECT_EQ(plan("mailto:a@example.com", "com.google.Chrome", std::nullopt, kChromeApp), std::nullopt);
    EXPECT_EQ(plan("https://example.com/", "com.apple.Safari", "Work", "/Applications/Safari.app", true), std::nullopt);
}

TEST_F(ProfileLaunchTest, RefusalsInTheirOrder) {
    const Plan notWeb = Plan::refused("the link isn’t a web link");
    const Plan notApp = Plan::refused("the browser’s path isn’t an app");
    const Plan notFolder = Plan::refused("the profile isn’t a folder name");
    EXPECT_EQ(plan("mailto:a@example.com", "com.google.Chrome", "Profile 2", kChromeApp), notWeb);
    EXPECT_EQ(plan("file:///etc/passwd", "org.mozilla.firefox", "Work", "relative.app"), notWeb);
    EXPECT_EQ(plan("javascript:alert(1)", "com.google.Chrome", std::nullopt, kChromeApp, true), notWeb);
    EXPECT_EQ(plan("https://example.com/", "com.google.Chrome", "Profile 2", kChromeApp + "/"), notApp);
    EXPECT_EQ(plan("https://example.com/", "com.google.Chrome", "Profile 2", "Applications/Chrome.app"), notApp);
    EXPECT_EQ(plan("https://example.com/", "com.google.Chrome", "Profile 2", "/Applications/Chrome.APP"), notApp);
    for (const char* bad : {"../Default", "a/b", ".hidden", ""}) {
        EXPECT_EQ(plan("https://example.com/", "com.google.Chrome", bad, kChromeApp), notFolder) << bad;
    }
    EXPECT_EQ(plan("https://example.com/", "com.google.Chrome", "Profile 9", kChromeApp), Plan::profileMissing());
    EXPECT_EQ(plan("https://example.com/", "com.google.Chrome", "NotAFolder", kChromeApp), Plan::profileMissing());
    EXPECT_EQ(plan("https://example.com/", "com.google.Chrome.beta", "Default", kChromeApp), Plan::profileMissing());
}

TEST_F(ProfileLaunchTest, TheLinkArgumentIsAlwaysAWebLinkLast) {
    const std::vector<std::string> links{"https://example.com/", "http://x.example/--new-window",
                                         "https://example.com/?--profile-directory=Default",
                                         "https://example.com/a b", "mailto:--help", "-https://x", "--new-window",
                                         "data:text/html,x", "HTTPS://EXAMPLE.COM/"};
    for (const auto& text : links) {
        const auto parsed = parseLink(text);
        if (!parsed) continue;
        for (const char* browser : {"com.google.Chrome", "org.mozilla.firefox"}) {
            for (const auto& profile : {std::optional<std::string>(), std::optional<std::string>("Profile 2"),
                                        std::optional<std::string>("Work")}) {
                const auto result = ProfileLaunch::plan(*parsed, browser, profile,
                                                        browser[4] == 'g' ? kChromeApp : kFirefoxApp, true, true, home.path());
                if (!result || result->kind() != Plan::Kind::open) continue;
                const auto& last = result->arguments().back();
                const auto reparsed = parseLink(last);
                ASSERT_TRUE(reparsed) << last;
                EXPECT_TRUE(isWebScheme(reparsed->scheme())) << last;
                EXPECT_EQ(last, parsed->buffer());
            }
        }
    }
}

}  // namespace
}  // namespace pivra
