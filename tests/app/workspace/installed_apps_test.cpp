#include "app/workspace/installed_apps.hpp"

#include <gtest/gtest.h>

#include "core/text/unicode_text.hpp"

namespace pivra {
namespace {

struct NameCase {
    const char* shown;
    const char* display;
    const char* bundle;
    const char* expected;
};

class InstalledAppName : public ::testing::TestWithParam<NameCase> {};

TEST_P(InstalledAppName, TakesTheFirstNameThatIsNotBlank) {
    const NameCase& c = GetParam();
    EXPECT_EQ(installedAppName(c.shown, c.display, c.bundle, "org.example.app"), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Candidates, InstalledAppName,
    ::testing::Values(NameCase{"Safari", "Safari Web", "Safari", "Safari"},
                      // The Finder shows the extension when the user asks for every one.
                      NameCase{"Firefox.app", "", "", "Firefox"}, NameCase{"Tor Browser.APP", "", "", "Tor Browser"},
                      NameCase{"Firefox Nightly .app", "", "", "Firefox Nightly"},
                      // Only a trailing ".app" is the extension.
                      NameCase{"app.Reader", "", "", "app.Reader"}, NameCase{"Apps", "", "", "Apps"},
                      NameCase{".app", "", "", ".app"},
                      // Blank candidates fall through, in order.
                      NameCase{"", "Microsoft Edge", "Edge", "Microsoft Edge"},
                      NameCase{"  ", " \t", "Edge", "Edge"}, NameCase{" Arc ", "", "", "Arc"},
                      NameCase{"", "", "", "org.example.app"}, NameCase{" ", "\u3000", "\n", "org.example.app"}));

InstalledApp app(std::string id, std::string name, std::string location = {}) {
    if (location.empty()) location = "/Applications/" + name + ".app";
    return InstalledApp{std::move(id), std::move(name), std::move(location), ""};
}

std::vector<std::string> ids(const std::vector<BrowserApp>& list) {
    std::vector<std::string> result;
    for (const auto& browser : list) result.push_back(browser.id);
    return result;
}

// Byte order: enough to see that the list follows the order it is given.
int byteOrder(std::string_view a, std::string_view b) { return a.compare(b); }

using Ids = std::vector<std::string>;

TEST(BrowserList, SortsByTheGivenNameOrder) {
    const std::vector<InstalledApp> apps{app("org.mozilla.firefox", "Firefox"), app("com.apple.Safari", "Safari"),
                                         app("com.brave.Browser", "Brave Browser"), app("company.thebrowser.Browser", "Arc")};
    EXPECT_EQ(ids(browserList(apps, "app.omra.pivra", byteOrder)),
              (Ids{"company.thebrowser.Browser", "com.brave.Browser", "org.mozilla.firefox", "com.apple.Safari"}));
    const NameOrder reversed = [](std::string_view a, std::string_view b) { return b.compare(a); };
    EXPECT_EQ(ids(browserList(apps, "app.omra.pivra", reversed)),
              (Ids{"com.apple.Safari", "org.mozilla.firefox", "com.brave.Browser", "company.thebrowser.Browser"}));
}

TEST(BrowserList, NumbersInNamesSortByValueWithTheSharedNameOrder) {
    const std::vector<InstalledApp> apps{app("b10", "Browser 10"), app("b2", "Browser 2"), app("b1", "browser 1")};
    EXPECT_EQ(ids(browserList(apps, "", compareForSorting)), (Ids{"b1", "b2", "b10"}));
}

TEST(BrowserList, KeepsTheFirstCopyOfEachApp) {
    const std::vector<InstalledApp> apps{app("org.mozilla.firefox", "Firefox", "/Applications/Firefox.app"),
                                         app("com.google.Chrome", "Google Chrome"),
                                         app("org.mozilla.firefox", "Firefox", "/Users/me/Downloads/Firefox.app")};
    const auto list = browserList(apps, "app.omra.pivra", byteOrder);
    ASSERT_EQ(ids(list), (Ids{"org.mozilla.firefox", "com.google.Chrome"}));
    EXPECT_EQ(list[0].location, "/Applications/Firefox.app");
}

TEST(BrowserList, LeavesOutThisAppAndAppsWithoutAnIdentifier) {
    const std::vector<InstalledApp> apps{app("app.omra.pivra", "Pivra"), app("", "Nameless"),
                                         app("App.Omra.Pivra", "Pivra Copy"), app("com.apple.Safari", "Safari")};
    // Identifiers compare exactly: another spelling is another app.
    EXPECT_EQ(ids(browserList(apps, "app.omra.pivra", byteOrder)), (Ids{"App.Omra.Pivra", "com.apple.Safari"}));
    EXPECT_TRUE(browserList({}, "app.omra.pivra", byteOrder).empty());
}

TEST(BrowserList, NamesTheOrderCannotTellApartGoByIdentifier) {
    const std::vector<InstalledApp> apps{app("org.chromium.Chromium", "Chromium"), app("com.z.Chromium", "Chromium"),
                                         app("com.a.Chromium", "chromium")};
    const NameOrder caseBlind = [](std::string_view a, std::string_view b) {
        return lowerCaseText(a).compare(lowerCaseText(b));
    };
    EXPECT_EQ(ids(browserList(apps, "app.omra.pivra", caseBlind)),
              (Ids{"com.a.Chromium", "com.z.Chromium", "org.chromium.Chromium"}));
}

TEST(BrowserList, AnInconsistentOrderStillGivesEveryAppOnce) {
    std::vector<InstalledApp> apps;
    for (int i = 0; i < 40; ++i) apps.push_back(app("id" + std::to_string(i), "Name " + std::to_string(i)));
    int calls = 0;
    const NameOrder erratic = [&calls](std::string_view, std::string_view) { return (calls++ % 3) - 1; };
    auto result = ids(browserList(apps, "", erratic));
    std::sort(result.begin(), result.end());
    Ids expected;
    for (const auto& a : apps) expected.push_back(a.id);
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(result, expected);
}

}  // namespace
}  // namespace pivra
