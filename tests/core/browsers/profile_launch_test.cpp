#include "core/browsers/profile_launch.hpp"

#include "core/browsers/browsers.hpp"
#include "core/routing/link.hpp"

#include <span>

#include <gtest/gtest.h>

#include "tests/core/core_test_support.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;
using testing_support::link;
using testing_support::TempFolder;
using ProfileLaunch::Plan;

const std::string kChromeApp = "/Applications/Google Chrome.app";
const std::string kBraveApp = "/Applications/Brave Browser.app";
const std::string kFirefoxApp = "/Applications/Firefox.app";
const std::string kChrome = "/usr/bin/google-chrome";
const std::string kFirefox = "/usr/bin/firefox";
const std::string kFlatpakFirefox = "/var/lib/flatpak/exports/bin/org.mozilla.firefox";
constexpr const char* kWeb = "https://example.com/";
// A later Name in a section replaces an earlier one.
constexpr const char* kProfilesIni = "[Profile0]\r\nName=Work\r\nPath=a\r\n[Profile1]\nName=Trailing \nName=Other\n";
const Plan kNotWeb = Plan::refused("the link isn’t a web link");
const Plan kNotApp = Plan::refused("the browser’s path isn’t an app");
const Plan kNotFullPath = Plan::refused("the browser’s program isn’t a full path");
const Plan kNotFolder = Plan::refused("the profile isn’t a folder name");
const Plan kMissing = Plan::profileMissing();

struct PlanCase {
    const char* link;
    const char* id;
    std::optional<std::string> profile;
    std::string program;
    bool newWindow;
    std::optional<Plan> expected;
    bool bringForward = true;
};

class ProfileLaunchTest : public testing::Test {
protected:
    std::optional<Plan> plan(const PlanCase& c, bool bringForward) const {
        return ProfileLaunch::plan(link(c.link), c.id, c.profile, c.program, c.newWindow, bringForward, home.path());
    }
    // Nothing on Linux opens behind the front window: a Linux plan is the same either way.
    void expectPlans(std::span<const PlanCase> cases, bool linux) const {
        for (const auto& c : cases) {
            SCOPED_TRACE(std::string(c.id) + " " + c.link + " " + c.profile.value_or("(none)") + " " + c.program);
            const auto result = plan(c, c.bringForward);
            EXPECT_EQ(result, c.expected);
            if (linux) {
                EXPECT_EQ(plan(c, !c.bringForward), result);
            }
            if (result && result->kind() == Plan::Kind::open) {
                EXPECT_EQ(result->startsBrowser(), linux);
            }
        }
    }

    TempFolder home;
};

// A Mac home: Chrome's and Brave's "Profile 2", and Firefox's profile list.
class MacProfileLaunchTest : public ProfileLaunchTest {
protected:
    void SetUp() override {
        fs::create_directories(home.path() / "Library/Application Support/Google/Chrome/Profile 2");
        fs::create_directories(home.path() / "Library/Application Support/BraveSoftware/Brave-Browser/Profile 2");
        home.write("Library/Application Support/Google/Chrome/NotAFolder", "x");
        home.write("Library/Application Support/Firefox/profiles.ini", kProfilesIni);
    }
};

TEST_F(MacProfileLaunchTest, PlansThroughOpen) {
    const std::string a = "https://example.com/a";
    const PlanCase cases[] = {
        // "-g" leaves the browser behind; the profile, a new window, then the link.
        {"https://example.com/a", "com.brave.Browser", "Profile 2", kBraveApp, false,
         Plan::open({"-gna", kBraveApp, "--args", "--profile-directory=Profile 2", a}), false},
        {"HTTPS://example.com/", "com.google.Chrome", "Profile 2", kChromeApp, true,
         Plan::open({"-na", kChromeApp, "--args", "--profile-directory=Profile 2", "--new-window", "HTTPS://example.com/"})},
        {"http://example.com/", "com.google.Chrome", std::nullopt, kChromeApp, true,
         Plan::open({"-na", kChromeApp, "--args", "--new-window", "http://example.com/"})},
        {kWeb, "org.mozilla.firefox", "Work", kFirefoxApp, false,
         Plan::open({"-na", kFirefoxApp, "--args", "-P", "Work", "-new-tab", kWeb})},
        {kWeb, "org.mozilla.nightly", std::nullopt, kFirefoxApp, true,
         Plan::open({"-gna", kFirefoxApp, "--args", "-new-window", kWeb}), false},
        // Nothing special asked, not a web link, or a browser without profiles: the ordinary open.
        {kWeb, "com.google.Chrome", std::nullopt, kChromeApp, false, std::nullopt},
        {kWeb, "org.mozilla.firefox", std::nullopt, kFirefoxApp, false, std::nullopt},
        {"mailto:a@example.com", "com.google.Chrome", std::nullopt, kChromeApp, false, std::nullopt},
        {"mailto:a@example.com", "org.mozilla.firefox", std::nullopt, "relative", false, std::nullopt},
        {kWeb, "com.apple.Safari", "Work", "/Applications/Safari.app", true, std::nullopt},
        // Profiles not in the browser's files; Firefox's names match exactly.
        {kWeb, "org.mozilla.firefox", "Trailing", kFirefoxApp, false, kMissing},
        {kWeb, "org.mozilla.firefox", "work", kFirefoxApp, false, kMissing},
        {kWeb, "com.google.Chrome", "Profile 9", kChromeApp, false, kMissing},
        {kWeb, "com.google.Chrome", "NotAFolder", kChromeApp, false, kMissing},
        {kWeb, "com.google.Chrome.beta", "Default", kChromeApp, false, kMissing},
        // "Profile 2" exists, so a test of the path cut at the NUL would pass. The
        // names that are no folder's are the same on Linux, and tested there.
        {kWeb, "com.google.Chrome", std::string("Profile 2\0x", 11), kChromeApp, false, kMissing},
        {kWeb, "com.google.Chrome", std::string("a/\0", 3), kChromeApp, false, kNotFolder},
        // The link is judged first, then the app path, then the profile name, then the profile.
        {"file:///etc/passwd", "org.mozilla.firefox", "Work", "relative.app", false, kNotWeb},
        {"javascript:alert(1)", "com.google.Chrome", std::nullopt, kChromeApp, true, kNotWeb},
        {kWeb, "com.google.Chrome", "Profile 2", kChromeApp + "/", false, kNotApp},
        {kWeb, "com.google.Chrome", "Profile 2", "Applications/Chrome.app", false, kNotApp},
        {kWeb, "com.google.Chrome", "Profile 2", "/Applications/Chrome.APP", false, kNotApp},
        {kWeb, "com.google.Chrome", "../Default", "Chrome.app", false, kNotApp},
        {kWeb, "org.mozilla.firefox", "Nobody", "/Applications/Firefox", false, kNotApp},
    };
    expectPlans(cases, false);
}

TEST_F(MacProfileLaunchTest, AProfileListMissingNotUtf8OrHoldingANulNamesNoProfile) {
    const fs::path ini = home.path() / "Library/Application Support/Firefox/profiles.ini";
    const std::optional<std::string> lists[] = {"[Profile0]\nName=Work\n[Profile1]\nName=Caf\xE9\n",
                                                std::string("[Profile0]\nName=Work\0x\n", 24), std::nullopt};
    for (const auto& list : lists) {
        if (list) testing_support::writeFile(ini, *list);
        else fs::remove(ini);
        for (const std::string& profile : {std::string("Work"), std::string("Caf\xE9"), std::string("Work\0x", 6)}) {
            EXPECT_EQ(plan({kWeb, "org.mozilla.firefox", profile, kFirefoxApp, false, {}}, true), kMissing) << profile;
        }
        // Without a profile the file is not read.
        EXPECT_EQ(plan({kWeb, "org.mozilla.firefox", std::nullopt, kFirefoxApp, true, {}}, true),
                  Plan::open({"-na", kFirefoxApp, "--args", "-new-window", kWeb}));
    }
}

// A Linux home: a native Chrome and Firefox, a Snap Chromium, a Flatpak Firefox.
class LinuxProfileLaunchTest : public ProfileLaunchTest {
protected:
    void SetUp() override {
        fs::create_directories(home.path() / ".config/google-chrome/Profile 2");
        home.write(".config/google-chrome/NotAFolder", "x");
        fs::create_directories(home.path() / "snap/chromium/common/chromium/Profile 1");
        home.write(".mozilla/firefox/profiles.ini", kProfilesIni);
        home.write(".var/app/org.mozilla.firefox/.mozilla/firefox/profiles.ini", "[Profile0]\nName=Flat\n");
    }
};

TEST_F(LinuxProfileLaunchTest, PlansByDesktopId) {
    const std::string a = "https://example.com/a";
    const PlanCase cases[] = {
        // Chromium: the profile folder, a new window when asked, then "--" before the link.
        {"https://example.com/a", "google-chrome", "Profile 2", kChrome, false,
         Plan::run(kChrome, {"--profile-directory=Profile 2", "--", a})},
        {"https://example.com/a", "google-chrome", "Profile 2", kChrome, true,
         Plan::run(kChrome, {"--profile-directory=Profile 2", "--new-window", "--", a})},
        {"HTTP://example.com/a", "google-chrome", std::nullopt, kChrome, true,
         Plan::run(kChrome, {"--new-window", "--", "HTTP://example.com/a"})},
        {"https://example.com/a", "chromium_chromium", "Profile 1", "/snap/bin/chromium", false,
         Plan::run("/snap/bin/chromium", {"--profile-directory=Profile 1", "--", a})},
        {"https://example.com/a", "google-chrome", std::nullopt, kChrome, false, std::nullopt},
        // Firefox: the profile by name, the link as the value of its tab or window option.
        {"https://example.com/a", "firefox", "Work", kFirefox, false, Plan::run(kFirefox, {"-P", "Work", "--new-tab", a})},
        {"https://example.com/a", "firefox-esr", "Work", "/usr/bin/firefox-esr", true,
         Plan::run("/usr/bin/firefox-esr", {"-P", "Work", "--new-window", a})},
        {"https://example.com/a", "firefox", std::nullopt, kFirefox, true, Plan::run(kFirefox, {"--new-window", a})},
        {"https://example.com/a", "firefox", std::nullopt, kFirefox, false, std::nullopt},
        // The Flatpak Firefox has a Mac bundle identifier: its own folder makes it a Linux program.
        {"https://example.com/a", "org.mozilla.firefox", "Flat", kFlatpakFirefox, false,
         Plan::run(kFlatpakFirefox, {"-P", "Flat", "--new-tab", a})},
        {"https://example.com/a", "org.mozilla.firefox", "Work", kFlatpakFirefox, false, kMissing},
        // A program is any absolute path, ".app" or not.
        {"https://example.com/a", "google-chrome", std::nullopt, "/opt/Chrome.app", true,
         Plan::run("/opt/Chrome.app", {"--new-window", "--", a})},
        // Profiles not in the browser's files.
        {"https://example.com/a", "google-chrome", "Profile 9", kChrome, false, kMissing},
        {"https://example.com/a", "google-chrome", "NotAFolder", kChrome, false, kMissing},
        {"https://example.com/a", "google-chrome", "Profile 1", kChrome, false, kMissing},
        {"https://example.com/a", "chromium", "Profile 1", "/usr/bin/chromium", false, kMissing},
        {"https://example.com/a", "firefox", "work", kFirefox, false, kMissing},
        {"https://example.com/a", "firefox", "Trailing", kFirefox, false, kMissing},
        {"https://example.com/a", "firefox_firefox", "Work", "/snap/bin/firefox", false, kMissing},
        {"https://example.com/a", "firefox", std::string("Work\0", 5), kFirefox, false, kMissing},
        {"https://example.com/a", "google-chrome", std::string("Profile 2\0", 10), kChrome, false, kMissing},
        // Names that cannot be a Chromium profile folder.
        {"https://example.com/a", "google-chrome", "../Default", kChrome, false, kNotFolder},
        {"https://example.com/a", "google-chrome", "a/b", kChrome, true, kNotFolder},
        {"https://example.com/a", "google-chrome", ".hidden", kChrome, false, kNotFolder},
        {"https://example.com/a", "google-chrome", "", kChrome, false, kNotFolder},
        // The link first, then the program, then the profile.
        {"mailto:a@example.com", "google-chrome", "Profile 2", kChrome, false, kNotWeb},
        {"file:///etc/passwd", "firefox", std::nullopt, "firefox", true, kNotWeb},
        {"javascript:alert(1)", "firefox", "Work", kFirefox, false, kNotWeb},
        {"https://example.com/a", "google-chrome", "Profile 2", "google-chrome", false, kNotFullPath},
        {"https://example.com/a", "google-chrome", "../Default", "bin/google-chrome", false, kNotFullPath},
        {"https://example.com/a", "firefox", "Nobody", "~/bin/firefox", true, kNotFullPath},
        {"https://example.com/a", "firefox", std::nullopt, "", true, kNotFullPath},
        {"https://example.com/a", "firefox", std::nullopt, std::string("/usr/bin/firefox\0x", 18), true, kNotFullPath},
    };
    expectPlans(cases, true);
}

// Where a Flatpak id is also a bundle identifier, the folder that exists picks
// the form; with none, the program does.
TEST_F(LinuxProfileLaunchTest, ASharedIdentifierFollowsItsFilesThenItsProgram) {
    const std::string flatpakChrome = "/var/lib/flatpak/exports/bin/com.google.Chrome";
    const auto chrome = [&](std::optional<std::string> profile, const std::string& program) {
        return plan({kWeb, "com.google.Chrome", std::move(profile), program, true, {}}, true);
    };
    EXPECT_EQ(chrome(std::nullopt, flatpakChrome), Plan::run(flatpakChrome, {"--new-window", "--", kWeb}));
    EXPECT_EQ(chrome(std::nullopt, kChromeApp), Plan::open({"-na", kChromeApp, "--args", "--new-window", kWeb}));
    EXPECT_EQ(chrome("Default", flatpakChrome), kMissing);

    fs::create_directories(home.path() / ".var/app/com.google.Chrome/config/google-chrome/Default");
    EXPECT_EQ(chrome("Default", flatpakChrome), Plan::run(flatpakChrome, {"--profile-directory=Default", "--new-window", "--", kWeb}));
    EXPECT_EQ(chrome("Default", kChromeApp),
              Plan::run(kChromeApp, {"--profile-directory=Default", "--new-window", "--", kWeb}));
    EXPECT_EQ(chrome("Default", "Chrome.app"), kNotFullPath);

    fs::create_directories(home.path() / "Library/Application Support/Google/Chrome/Default");
    EXPECT_EQ(chrome("Default", kChromeApp),
              Plan::open({"-na", kChromeApp, "--args", "--profile-directory=Default", "--new-window", kWeb}));
    EXPECT_EQ(chrome("Default", flatpakChrome), kNotApp);
}

// Whatever the link, browser, profile and options, an open ends with the link
// itself, a web link that the browser cannot take for an option; on Linux
// after the option that marks it as one. Each layout in a home of its own.
TEST(ProfileLaunchProperty, TheLinkArgumentIsAlwaysTheWebLinkLast) {
    const char* const links[] = {
        "https://example.com/", "http://x.example/--new-window", "https://example.com/?--profile-directory=Default",
        "https://example.com/?-P=x", "https://example.com/a b", "https:\\\\evil.example", "https:/evil.example",
        "https://example.com/a\r\nLocation: x", "mailto:--help", "-https://x", "--new-tab", "data:text/html,x",
        "javascript:alert(1)", "HTTPS://EXAMPLE.COM/", "file:///etc/passwd"};
    const std::pair<const std::vector<BrowserInfo>*, const char*> layouts[] = {{&Browsers::all(), "/Applications/B.app"},
                                                                               {&Browsers::allLinux(), "/usr/bin/b"}};
    for (const auto& [browsers, program] : layouts) {
        TempFolder home;
        for (const auto& browser : *browsers) {
            const auto folder = *Browsers::dataFolder(browser, home.path());
            if (browser.family == BrowserFamily::chromium) fs::create_directories(folder / "Profile 2");
            else home.write(folder.lexically_relative(home.path()) / "profiles.ini", "[Profile0]\nName=Work\n");
        }
        std::size_t opens = 0;
        std::size_t webLinks = 0;
        for (const char* text : links) {
            const auto parsed = parseLink(text);
            if (!parsed) continue;
            if (isWebScheme(parsed->scheme())) ++webLinks;
            for (const auto& browser : *browsers) {
                const bool chromium = browser.family == BrowserFamily::chromium;
                const std::optional<std::string> existing = chromium ? "Profile 2" : "Work";
                for (int options = 0; options < 8; ++options) {
                    const auto result = ProfileLaunch::plan(*parsed, browser.bundleID, (options & 4) ? existing : std::nullopt,
                                                            program, (options & 2) != 0, (options & 1) != 0, home.path());
                    if (!result || result->kind() != Plan::Kind::open) continue;
                    ++opens;
                    const auto& arguments = result->arguments();
                    ASSERT_GE(arguments.size(), 2u);
                    EXPECT_EQ(arguments.back(), parsed->buffer());
                    const auto reparsed = parseLink(arguments.back());
                    ASSERT_TRUE(reparsed) << arguments.back();
                    EXPECT_TRUE(isWebScheme(reparsed->scheme())) << arguments.back();
                    EXPECT_FALSE(arguments.back().starts_with('-')) << arguments.back();
                    if (browser.layout != BrowserLayout::linuxDesktop) continue;
                    EXPECT_EQ(result->program(), program);
                    const std::string& marker = arguments[arguments.size() - 2];
                    EXPECT_TRUE(chromium ? marker == "--" : marker == "--new-tab" || marker == "--new-window")
                        << browser.bundleID << " " << marker;
                }
            }
        }
        // A web link opens in each browser but when neither a profile nor a new window is asked.
        EXPECT_EQ(opens, webLinks * browsers->size() * 6);
        EXPECT_GT(webLinks, 0u);
    }
}

}  // namespace
}  // namespace pivra
