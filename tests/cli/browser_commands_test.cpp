#include <gtest/gtest.h>

#include "tests/cli/cli_runner.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

using testing_support::json;
using testing_support::runPivra;
using testing_support::TempFolder;

class BrowserCommands : public testing::Test {
protected:
    void SetUp() override {
        home.write("Library/Application Support/Google/Chrome/Local State",
                   R"({"profile":{"last_used":"Profile 2","info_cache":{"Profile 2":{"name":"Work"},"Default":{"name":"Me"}}}})");
        std::filesystem::create_directories(home.path() / "Library/Application Support/Google/Chrome/Profile 2");
        home.write("Library/Application Support/Firefox/profiles.ini", "[Profile0]\nName=default\nDefault=1\n");
        home.write("Library/Application Support/Vivaldi/Local State", "[]");
    }
    TempFolder home;
};

TEST_F(BrowserCommands, ProfilesListsReadableBrowsersInCatalogueOrder) {
    const auto text = runPivra({"profiles", "--home", home.path().string()});
    EXPECT_EQ(text.status, 0);
    EXPECT_EQ(text.out,
              "com.google.Chrome (Google/Chrome)\n  Default · Me\n  Profile 2 · Work (default)\n"
              "org.mozilla.firefox (Firefox)\n  default · default (default)\n"
              "org.mozilla.firefoxdeveloperedition (Firefox)\n  default · default (default)\n"
              "org.mozilla.nightly (Firefox)\n  default · default (default)\n");
    const auto parsed = json(runPivra({"profiles", "--json"}, home.path().string()).out).as_object();
    ASSERT_EQ(parsed.size(), 4u);
    EXPECT_EQ(parsed.begin()->key(), "com.google.Chrome");
    EXPECT_EQ(parsed.at("com.google.Chrome"),
              json(R"([{"id":"Default","name":"Me","isDefault":false},{"id":"Profile 2","name":"Work","isDefault":true}])"));

    TempFolder empty;
    const auto profiles = [&](bool asJson) {
        return runPivra(asJson ? std::vector<std::string>{"profiles", "--json"} : std::vector<std::string>{"profiles"},
                        empty.path().string()).out;
    };
    EXPECT_EQ(profiles(true), "{}\n");
    EXPECT_EQ(profiles(false), "No browser profiles found in " + (empty.path() / "Library/Application Support").string() + "\n");
    // A file that lists no profiles is still a list: shown, and empty.
    empty.write("Library/Application Support/Microsoft Edge/Local State", R"({"profile":{"info_cache":{}}})");
    EXPECT_EQ(profiles(true), "{\"com.microsoft.edgemac\":[]}\n");
    EXPECT_EQ(profiles(false), "com.microsoft.edgemac (Microsoft Edge)\n  no profiles\n");
}

// A Linux home: native Chrome and Firefox (in its newer folder), the Snap
// Firefox and the Flatpak Firefox, whose id is also the Mac Firefox's.
class LinuxBrowserCommands : public testing::Test {
protected:
    void SetUp() override {
        home.write(".config/google-chrome/Local State",
                   R"({"profile":{"last_used":"Profile 2","info_cache":{"Profile 2":{"name":"Work"},"Default":{"name":"Me"}}}})");
        std::filesystem::create_directories(home.path() / ".config/google-chrome/Profile 2");
        home.write(".config/mozilla/firefox/profiles.ini", "[Profile0]\nName=default\nDefault=1\n");
        home.write("snap/firefox/common/.mozilla/firefox/profiles.ini", "[Profile0]\nName=Snap\n");
        home.write(".var/app/org.mozilla.firefox/.mozilla/firefox/profiles.ini", "[Profile0]\nName=Flat Pack\n");
    }
    TempFolder home;
};

TEST_F(LinuxBrowserCommands, ProfilesListsLinuxLayoutsInCatalogueOrder) {
    // Which folder a shared identifier reads is tested with the catalogue.
    const auto text = runPivra({"profiles", "--home", home.path().string()});
    EXPECT_EQ(text.status, 0);
    EXPECT_EQ(text.out,
              "org.mozilla.firefox (.var/app/org.mozilla.firefox/.mozilla/firefox)\n  Flat Pack · Flat Pack\n"
              "google-chrome (.config/google-chrome)\n  Default · Me\n  Profile 2 · Work (default)\n"
              "firefox (.config/mozilla/firefox)\n  default · default (default)\n"
              "firefox-esr (.config/mozilla/firefox)\n  default · default (default)\n"
              "firefox_firefox (snap/firefox/common/.mozilla/firefox)\n  Snap · Snap\n");
    EXPECT_EQ(json(runPivra({"profiles", "--json"}, home.path().string()).out),
              json(R"({"org.mozilla.firefox":[{"id":"Flat Pack","name":"Flat Pack","isDefault":false}],
                       "google-chrome":[{"id":"Default","name":"Me","isDefault":false},
                                        {"id":"Profile 2","name":"Work","isDefault":true}],
                       "firefox":[{"id":"default","name":"default","isDefault":true}],
                       "firefox-esr":[{"id":"default","name":"default","isDefault":true}],
                       "firefox_firefox":[{"id":"Snap","name":"Snap","isDefault":false}]})"));
}

// The same printing for both forms of plan; a Linux home is read for both.
TEST_F(LinuxBrowserCommands, PlanShowsEachOutcomeAsTextAndJson) {
    const auto plan = [&](std::vector<std::string> args, bool asJson) {
        args.insert(args.begin(), "plan");
        if (asJson) args.push_back("--json");
        const auto result = runPivra(args, home.path().string());
        EXPECT_EQ(result.status, 0) << result.err;
        return result.out;
    };
    const std::string chromeApp = "/Applications/Google Chrome.app";
    const std::tuple<std::vector<std::string>, const char*, std::string> cases[] = {
        {{"https://example.com/a'b", "--app", "com.google.Chrome", "--app-path", chromeApp, "--new-window", "--background"},
         R"({"plan":"open","args":["-gna","/Applications/Google Chrome.app","--args","--new-window","https://example.com/a'b"]})",
         "/usr/bin/open -gna '/Applications/Google Chrome.app' --args --new-window 'https://example.com/a'\\''b'\n"},
        {{"https://example.com/a'b", "--app", "google-chrome", "--app-path", "/usr/bin/google-chrome", "--profile",
          "Profile 2", "--new-window", "--background"},
         R"({"plan":"run","program":"/usr/bin/google-chrome",
             "args":["--profile-directory=Profile 2","--new-window","--","https://example.com/a'b"]})",
         "/usr/bin/google-chrome '--profile-directory=Profile 2' --new-window -- 'https://example.com/a'\\''b'\n"},
        {{"https://example.com/", "--app", "org.mozilla.firefox", "--app-path", "/opt/My Firefox/firefox", "--profile",
          "Flat Pack", "--new-window"},
         R"({"plan":"run","program":"/opt/My Firefox/firefox","args":["-P","Flat Pack","--new-window","https://example.com/"]})",
         "'/opt/My Firefox/firefox' -P 'Flat Pack' --new-window https://example.com/\n"},
        {{"mailto:a@example.com", "--app", "firefox", "--app-path", "/usr/bin/firefox", "--profile", "default"},
         R"({"plan":"refused","reason":"the link isn’t a web link"})", "Couldn’t open the profile: the link isn’t a web link\n"},
        {{"https://example.com/", "--app", "firefox_firefox", "--app-path", "/snap/bin/firefox", "--profile", "default"},
         R"({"plan":"profileMissing"})", "Couldn’t open the profile: the profile is gone\n"},
        {{"https://example.com/", "--app", "google-chrome", "--app-path", "/usr/bin/google-chrome"}, R"({"plan":null})",
         "No special launch needed: google-chrome opens the link the ordinary way\n"},
    };
    for (const auto& [args, asJson, text] : cases) {
        EXPECT_EQ(json(plan(args, true)), json(asJson));
        EXPECT_EQ(plan(args, false), text);
    }
    EXPECT_EQ(runPivra({"plan", "https://example.com/", "--app", "google-chrome"}, home.path().string()).status, 2);
    EXPECT_EQ(runPivra({"plan", "not a link", "--app", "a", "--app-path", "/A.app"}, home.path().string()).status, 1);
}

}  // namespace
}  // namespace pivra
