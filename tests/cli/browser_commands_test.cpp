#include <boost/json/parse.hpp>
#include <gtest/gtest.h>

#include "tests/cli/cli_runner.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

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
    std::string homeArg() const { return home.path().string(); }
    TempFolder home;
};

TEST_F(BrowserCommands, ProfilesListsReadableBrowsersInCatalogueOrder) {
    const auto text = runPivra({"profiles", "--home", homeArg()});
    EXPECT_EQ(text.status, 0);
    EXPECT_EQ(text.out,
              "com.google.Chrome (Google/Chrome)\n  Default · Me\n  Profile 2 · Work (default)\n"
              "org.mozilla.firefox (Firefox)\n  default · default (default)\n"
              "org.mozilla.firefoxdeveloperedition (Firefox)\n  default · default (default)\n"
              "org.mozilla.nightly (Firefox)\n  default · default (default)\n");
    const auto asJson = runPivra({"profiles", "--json"}, homeArg());
    const auto parsed = boost::json::parse(asJson.out).as_object();
    ASSERT_EQ(parsed.size(), 4u);
    EXPECT_EQ(parsed.begin()->key(), "com.google.Chrome");
    EXPECT_EQ(parsed.at("com.google.Chrome"),
              boost::json::parse(R"([{"id":"Default","name":"Me","isDefault":false},{"id":"Profile 2","name":"Work","isDefault":true}])"));

    TempFolder empty;
    EXPECT_EQ(runPivra({"profiles", "--home", empty.path().string(), "--json"}).out, "{}\n");
    EXPECT_EQ(runPivra({"profiles", "--home", empty.path().string()}).out,
              "No browser profiles found in " + (empty.path() / "Library/Application Support").string() + "\n");

    // A file that lists no profiles is still a list: shown, and empty.
    empty.write("Library/Application Support/Microsoft Edge/Local State", R"({"profile":{"info_cache":{}}})");
    EXPECT_EQ(runPivra({"profiles", "--home", empty.path().string(), "--json"}).out, "{\"com.microsoft.edgemac\":[]}\n");
    EXPECT_EQ(runPivra({"profiles", "--home", empty.path().string()}).out,
              "com.microsoft.edgemac (Microsoft Edge)\n  no profiles\n");
}

TEST_F(BrowserCommands, PlanShowsEachOutcome) {
    const std::vector<std::string> chrome{"--app", "com.google.Chrome", "--app-path", "/Applications/Google Chrome.app",
                                          "--home", homeArg(), "--json"};
    const auto run = [&](std::vector<std::string> args) {
        args.insert(args.begin(), "plan");
        args.insert(args.end(), chrome.begin(), chrome.end());
        const auto result = runPivra(args);
        EXPECT_EQ(result.status, 0) << result.err;
        return boost::json::parse(result.out);
    };
    EXPECT_EQ(run({"https://example.com/", "--profile", "Profile 2", "--background", "--new-window"}),
              boost::json::parse(R"({"plan":"open","args":["-gna","/Applications/Google Chrome.app","--args",
                  "--profile-directory=Profile 2","--new-window","https://example.com/"]})"));
    EXPECT_EQ(run({"mailto:a@example.com", "--profile", "Profile 2"}),
              boost::json::parse(R"({"plan":"refused","reason":"the link isn’t a web link"})"));
    EXPECT_EQ(run({"https://example.com/", "--profile", "Profile 9"}), boost::json::parse(R"({"plan":"profileMissing"})"));
    EXPECT_EQ(run({"https://example.com/"}), boost::json::parse(R"({"plan":null})"));

    const auto text = runPivra({"plan", "https://example.com/a'b", "--app", "com.google.Chrome", "--app-path",
                                "/Applications/Google Chrome.app", "--profile", "Profile 2", "--home", homeArg()});
    EXPECT_EQ(text.out, "/usr/bin/open -na '/Applications/Google Chrome.app' --args '--profile-directory=Profile 2' "
                        "'https://example.com/a'\\''b'\n");
    const auto say = [&](std::vector<std::string> args) {
        args.insert(args.begin(), "plan");
        for (const auto& a : {"--app", "com.google.Chrome", "--app-path", "/Applications/Google Chrome.app", "--home"})
            args.push_back(a);
        args.push_back(homeArg());
        return runPivra(args).out;
    };
    EXPECT_EQ(say({"mailto:a@example.com", "--profile", "Profile 2"}),
              "Couldn’t open the profile: the link isn’t a web link\n");
    EXPECT_EQ(say({"https://example.com/", "--profile", "Profile 9"}), "Couldn’t open the profile: the profile is gone\n");
    EXPECT_EQ(say({"https://example.com/"}),
              "No special launch needed: com.google.Chrome opens the link the ordinary way\n");
    EXPECT_EQ(runPivra({"plan", "https://example.com/", "--app", "com.google.Chrome"}, homeArg()).status, 2);
    EXPECT_EQ(runPivra({"plan", "not a link", "--app", "a", "--app-path", "/A.app"}, homeArg()).status, 1);
}

}  // namespace
}  // namespace pivra
