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

const std::string kChrome = "/usr/bin/google-chrome";
const std::string kFirefox = "/usr/bin/firefox";
const std::string kFlatpakFirefox = "/var/lib/flatpak/exports/bin/org.mozilla.firefox";

// The same home on Linux: a native Chrome and Firefox, a Snap Chromium, a Flatpak Firefox.
class LinuxProfileLaunchTest : public ProfileLaunchTest {
protected:
    void SetUp() override {
        std::filesystem::create_directories(home.path() / ".config/google-chrome/Profile 2");
        home.write(".config/google-chrome/NotAFolder", "x");
        std::filesystem::create_directories(home.path() / "snap/chromium/common/chromium/Profile 1");
        home.write(".mozilla/firefox/profiles.ini", "[Profile0]\nName=Work\nPath=a\n[Profile1]\nName=Trailing \nName=Other\n");
        home.write(".var/app/org.mozilla.firefox/.mozilla/firefox/profiles.ini", "[Profile0]\nName=Flat\n");
    }
};

struct LinuxCase {
    const char* link;
    const char* id;
    std::optional<std::string> profile;
    std::string program;
    bool newWindow;
    std::optional<Plan> expected;
};

TEST_F(LinuxProfileLaunchTest, PlansByDesktopId) {
    const std::string a = "https://example.com/a";
    const Plan notWeb = Plan::refused("the link isn’t a web link");
    const Plan notFullPath = Plan::refused("the browser’s program isn’t a full path");
    const Plan notFolder = Plan::refused("the profile isn’t a folder name");
    const LinuxCase cases[] = {
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
        {"https://example.com/a", "org.mozilla.firefox", "Work", kFlatpakFirefox, false, Plan::profileMissing()},
        // A program is any absolute path, ".app" or not.
        {"https://example.com/a", "google-chrome", std::nullopt, "/opt/Chrome.app", true,
         Plan::run("/opt/Chrome.app", {"--new-window", "--", a})},
        // Profiles not in the browser's files.
        {"https://example.com/a", "google-chrome", "Profile 9", kChrome, false, Plan::profileMissing()},
        {"https://example.com/a", "google-chrome", "NotAFolder", kChrome, false, Plan::profileMissing()},
        {"https://example.com/a", "google-chrome", "Profile 1", kChrome, false, Plan::profileMissing()},
        {"https://example.com/a", "chromium", "Profile 1", "/usr/bin/chromium", false, Plan::profileMissing()},
        {"https://example.com/a", "firefox", "work", kFirefox, false, Plan::profileMissing()},
        {"https://example.com/a", "firefox", "Trailing", kFirefox, false, Plan::profileMissing()},
        {"https://example.com/a", "firefox_firefox", "Work", "/snap/bin/firefox", false, Plan::profileMissing()},
        {"https://example.com/a", "firefox", std::string("Work\0", 5), kFirefox, false, Plan::profileMissing()},
        {"https://example.com/a", "google-chrome", std::string("Profile 2\0", 10), kChrome, false, Plan::profileMissing()},
        // Names that cannot be a Chromium profile folder.
        {"https://example.com/a", "google-chrome", "../Default", kChrome, false, notFolder},
        {"https://example.com/a", "google-chrome", "a/b", kChrome, true, notFolder},
        {"https://example.com/a", "google-chrome", ".hidden", kChrome, false, notFolder},
        {"https://example.com/a", "google-chrome", "", kChrome, false, notFolder},
        // The link first, then the program, then the profile.
        {"mailto:a@example.com", "google-chrome", "Profile 2", kChrome, false, notWeb},
        {"file:///etc/passwd", "firefox", std::nullopt, "firefox", true, notWeb},
        {"javascript:alert(1)", "firefox", "Work", kFirefox, false, notWeb},
        {"https://example.com/a", "google-chrome", "Profile 2", "google-chrome", false, notFullPath},
        {"https://example.com/a", "google-chrome", "../Default", "bin/google-chrome", false, notFullPath},
        {"https://example.com/a", "firefox", "Nobody", "~/bin/firefox", true, notFullPath},
        {"https://example.com/a", "firefox", std::nullopt, "", true, notFullPath},
        {"https://example.com/a", "firefox", std::nullopt, std::string("/usr/bin/firefox\0x", 18), true, notFullPath},
    };
    for (const auto& c : cases) {
        const auto result = ProfileLaunch::plan(link(c.link), c.id, c.profile, c.program, c.newWindow, true, home.path());
        EXPECT_EQ(result, c.expected) << c.id << " " << c.link << " " << c.profile.value_or("(none)") << " " << c.program;
        // Nothing on Linux opens behind the front window: the same plan either way.
        EXPECT_EQ(ProfileLaunch::plan(link(c.link), c.id, c.profile, c.program, c.newWindow, false, home.path()), result);
        if (result && result->kind() == Plan::Kind::open) {
            EXPECT_TRUE(result->startsBrowser());
        }
    }
}

// Where a Flatpak id is also a bundle identifier, the folder that exists picks
// the form; with none, the program does.
TEST_F(LinuxProfileLaunchTest, ASharedIdentifierFollowsItsFilesThenItsProgram) {
    const std::string flatpakChrome = "/var/lib/flatpak/exports/bin/com.google.Chrome";
    const auto chrome = [&](std::optional<std::string> profile, const std::string& program) {
        return ProfileLaunch::plan(link(kWeb), "com.google.Chrome", std::move(profile), program, true, true, home.path());
    };
    EXPECT_EQ(chrome(std::nullopt, flatpakChrome), Plan::run(flatpakChrome, {"--new-window", "--", kWeb}));
    EXPECT_EQ(chrome(std::nullopt, kChromeApp), Plan::open({"-na", kChromeApp, "--args", "--new-window", kWeb}));
    EXPECT_EQ(chrome("Default", flatpakChrome), Plan::profileMissing());

    std::filesystem::create_directories(home.path() / ".var/app/com.google.Chrome/config/google-chrome/Default");
    EXPECT_EQ(chrome("Default", flatpakChrome), Plan::run(flatpakChrome, {"--profile-directory=Default", "--new-window", "--", kWeb}));
    EXPECT_EQ(chrome("Default", kChromeApp),
              Plan::run(kChromeApp, {"--profile-directory=Default", "--new-window", "--", kWeb}));
    EXPECT_EQ(chrome("Default", "Chrome.app"), Plan::refused("the browser’s program isn’t a full path"));

    std::filesystem::create_directories(home.path() / "Library/Application Support/Google/Chrome/Default");
    EXPECT_EQ(chrome("Default", kChromeApp),
              Plan::open({"-na", kChromeApp, "--args", "--profile-directory=Default", "--new-window", kWeb}));
    EXPECT_EQ(chrome("Default", flatpakChrome), Plan::refused("the browser’s path isn’t an app"));
}

// Whatever the link, browser, profile and options, a Linux plan ends with the
// link itself, a web link, after the option that marks it as one.
TEST_F(LinuxProfileLaunchTest, TheLinkArgumentIsAlwaysAWebLinkLast) {
    for (const auto& browser : Browsers::allLinux()) {
        const auto folder = *Browsers::dataFolder(browser, home.path());
        if (browser.family == BrowserFamily::chromium) std::filesystem::create_directories(folder / "Profile 2");
        else home.write(folder.lexically_relative(home.path()) / "profiles.ini", "[Profile0]\nName=Work\n");
    }
    std::size_t opens = 0;
    std::size_t webLinks = 0;
    for (const char* text : {"https://example.com/", "http://x.example/--new-window", "https://example.com/?-P=x",
                             "https://example.com/a b", "mailto:--help", "--new-tab", "data:text/html,x",
                             "HTTPS://EXAMPLE.COM/", "file:///etc/passwd"}) {
        const auto parsed = parseLink(text);
        if (!parsed) continue;
        if (isWebScheme(parsed->scheme())) ++webLinks;
        for (const auto& browser : Browsers::allLinux()) {
            const std::optional<std::string> existing = browser.family == BrowserFamily::chromium ? "Profile 2" : "Work";
            for (int options = 0; options < 8; ++options) {
                const auto result = ProfileLaunch::plan(*parsed, browser.bundleID, (options & 4) != 0 ? existing : std::nullopt,
                                                        "/usr/bin/b", (options & 2) != 0, (options & 1) != 0, home.path());
                if (!result || result->kind() != Plan::Kind::open) continue;
                ++opens;
                EXPECT_EQ(result->program(), "/usr/bin/b");
                const auto& arguments = result->arguments();
                ASSERT_GE(arguments.size(), 2u);
                EXPECT_EQ(arguments.back(), parsed->buffer());
                const auto reparsed = parseLink(arguments.back());
                ASSERT_TRUE(reparsed) << arguments.back();
                EXPECT_TRUE(isWebScheme(reparsed->scheme())) << arguments.back();
                const std::string& marker = arguments[arguments.size() - 2];
                const bool marks = browser.family == BrowserFamily::chromium ? marker == "--"
                                                                             : marker == "--new-tab" || marker == "--new-window";
                EXPECT_TRUE(marks) << browser.bundleID << " " << marker;
            }
        }
    }
    EXPECT_EQ(opens, webLinks * Browsers::allLinux().size() * 6);
    EXPECT_GT(webLinks, 0u);
}

}  // namespace
}  // namespace pivra
