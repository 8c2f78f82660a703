#include "app/workspace/installed_apps.hpp"

#include <ostream>

#include <gtest/gtest.h>

#include "core/text/unicode_text.hpp"

namespace pivra {
namespace {

struct NameCase {
    const char* name;
    const char* shown;
    const char* display;
    const char* bundle;
    const char* expected;
};

void PrintTo(const NameCase& c, std::ostream* os) {
    *os << '"' << c.shown << "\" / \"" << c.display << "\" / \"" << c.bundle << '"';
}

class InstalledAppName : public ::testing::TestWithParam<NameCase> {};

TEST_P(InstalledAppName, TakesTheFirstNameThatIsNotBlank) {
    const NameCase& c = GetParam();
    EXPECT_EQ(installedAppName(c.shown, c.display, c.bundle, "org.example.app"), c.expected);
}

const NameCase kNameCases[] = {
    {"ShownName", "Safari", "Safari Web", "Safari", "Safari"},
    // The Finder shows the extension when the user asks for every one.
    {"Extension", "Firefox.app", "", "", "Firefox"},
    {"ExtensionInCapitals", "Tor Browser.APP", "", "", "Tor Browser"},
    {"BlankBeforeExtension", "Firefox Nightly .app", "", "", "Firefox Nightly"},
    // Only a trailing ".app" is the extension.
    {"LeadingApp", "app.Reader", "", "", "app.Reader"},
    {"Apps", "Apps", "", "", "Apps"},
    {"NothingButTheExtension", ".app", "", "", ".app"},
    // Blank candidates fall through, in order.
    {"DisplayName", "", "Microsoft Edge", "Edge", "Microsoft Edge"},
    {"BundleName", "  ", " \t", "Edge", "Edge"},
    {"Trimmed", " Arc ", "", "", "Arc"},
    {"Identifier", "", "", "", "org.example.app"},
    {"IdentifierAfterUnicodeBlanks", " ", "\u3000", "\n", "org.example.app"},
};

INSTANTIATE_TEST_SUITE_P(Candidates, InstalledAppName, ::testing::ValuesIn(kNameCases),
                         [](const auto& info) { return std::string(info.param.name); });

InstalledApp app(std::string id, std::string name, std::string location = {}) {
    if (location.empty()) location = "/Applications/" + name + ".app";
    return InstalledApp{std::move(id), std::move(name), std::move(location), ""};
}

using Ids = std::vector<std::string>;

Ids ids(const std::vector<BrowserApp>& list) {
    Ids result;
    for (const auto& browser : list) result.push_back(browser.id);
    return result;
}

// Byte order: enough to see that the list follows the order it is given.
int byteOrder(std::string_view a, std::string_view b) { return a.compare(b); }

TEST(BrowserList, SortsByTheGivenNameOrderThenByIdentifier) {
    const std::vector<InstalledApp> browsers{app("org.mozilla.firefox", "Firefox"), app("com.apple.Safari", "Safari"),
                                             app("com.brave.Browser", "Brave Browser"),
                                             app("company.thebrowser.Browser", "Arc")};
    const std::vector<InstalledApp> numbered{app("b10", "Browser 10"), app("b2", "Browser 2"), app("b1", "browser 1")};
    const std::vector<InstalledApp> alike{app("org.chromium.Chromium", "Chromium"), app("com.z.Chromium", "Chromium"),
                                          app("com.a.Chromium", "chromium")};
    const NameOrder reversed = [](std::string_view a, std::string_view b) { return b.compare(a); };
    const NameOrder caseBlind = [](std::string_view a, std::string_view b) {
        return lowerCaseText(a).compare(lowerCaseText(b));
    };
    const struct {
        const std::vector<InstalledApp>& apps;
        NameOrder order;
        Ids expected;
    } cases[] = {
        {browsers, byteOrder, {"company.thebrowser.Browser", "com.brave.Browser", "org.mozilla.firefox", "com.apple.Safari"}},
        {browsers, reversed, {"com.apple.Safari", "org.mozilla.firefox", "com.brave.Browser", "company.thebrowser.Browser"}},
        // Numbers in names by their value, with the order names are shown in everywhere.
        {numbered, compareForSorting, {"b1", "b2", "b10"}},
        // Names the order cannot tell apart go by identifier.
        {alike, caseBlind, {"com.a.Chromium", "com.z.Chromium", "org.chromium.Chromium"}},
    };
    for (const auto& c : cases) EXPECT_EQ(ids(browserList(c.apps, "app.omra.pivra", c.order)), c.expected);
}

TEST(BrowserList, KeepsTheFirstCopyOfEachAppAndLeavesOutThisAppAndAppsWithoutAnIdentifier) {
    const std::vector<InstalledApp> apps{app("org.mozilla.firefox", "Firefox", "/Applications/Firefox.app"),
                                         app("app.omra.pivra", "Pivra"), app("", "Nameless"),
                                         app("App.Omra.Pivra", "Pivra Copy"),
                                         app("org.mozilla.firefox", "Firefox", "/Users/me/Downloads/Firefox.app")};
    const auto list = browserList(apps, "app.omra.pivra", byteOrder);
    // Identifiers compare exactly: another spelling is another app.
    ASSERT_EQ(ids(list), (Ids{"org.mozilla.firefox", "App.Omra.Pivra"}));
    EXPECT_EQ(list[0].location, "/Applications/Firefox.app");
    EXPECT_TRUE(browserList({}, "app.omra.pivra", byteOrder).empty());
}

TEST(BrowserList, AnInconsistentOrderStillGivesEveryAppOnce) {
    std::vector<InstalledApp> apps;
    Ids expected;
    for (int i = 0; i < 40; ++i) {
        apps.push_back(app("id" + std::to_string(i), "Name " + std::to_string(i)));
        expected.push_back(apps.back().id);
    }
    int calls = 0;
    const NameOrder erratic = [&calls](std::string_view, std::string_view) { return (calls++ % 3) - 1; };
    auto result = ids(browserList(apps, "", erratic));
    std::sort(result.begin(), result.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(result, expected);
}

TEST(FirstFallbackBrowser, PrefersTheOldDefaultThenTheCurrentOneThenTheFirstBrowserButNeverThisApp) {
    using Id = std::optional<std::string>;
    const std::vector<BrowserApp> browsers{app("app.omra.pivra", "Pivra"), app("chromium", "Chromium"),
                                           app("firefox-esr", "Firefox ESR")};
    const struct {
        Id previous;
        Id current;
        std::vector<BrowserApp> browsers;
        Id chosen;
    } cases[] = {
        {"firefox-esr", "chromium", browsers, "firefox-esr"},
        {std::nullopt, "chromium", browsers, "chromium"},
        // Pivra is the default now: the first other browser found.
        {std::nullopt, "app.omra.pivra", browsers, "chromium"},
        {"app.omra.pivra", std::nullopt, browsers, "chromium"},
        {"", "", browsers, "chromium"},
        {std::nullopt, std::nullopt, {app("app.omra.pivra", "Pivra")}, std::nullopt},
        {std::nullopt, std::nullopt, {}, std::nullopt},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(firstFallbackBrowser(c.previous, c.current, "app.omra.pivra", c.browsers), c.chosen)
            << c.previous.value_or("-") << " " << c.current.value_or("-");
    }
}

}  // namespace
}  // namespace pivra
