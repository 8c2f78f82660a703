#include "app/storage/settings.hpp"

#include <algorithm>

#include <gtest/gtest.h>

#include "tests/support/fake_ports.hpp"

namespace pivra {
namespace {

using namespace std::chrono_literals;

// 2026-03-14 12:00:00 UTC as seconds since 1970.
constexpr double kNowUnix = 1773489600.0;
const Instant kNow = Instant(std::chrono::seconds(1773489600));

class SettingsTest : public testing::Test {
protected:
    testing_support::MemoryPreferences preferences;
    Settings settings{preferences};
};

TEST_F(SettingsTest, ValuesOfAnotherTypeAndUnknownStringsReadAsIfAbsent) {
    testing_support::MemoryPreferences none;
    const Settings defaults{none};
    preferences.values = {
        {"pickerTrigger", std::string("Shift")},  // raw values are exact
        {"pickerPlacement", true},
        {"menuBarIcon", std::string("rocket")},
        {"recentCount", std::string("9")},
        {"countLinks", std::int64_t{0}},
        {"accent", 3.0},
        {"detailedLog", std::string("always")},
        {"pausedUntilResumed", std::string("true")},
        {"profileFailure", std::int64_t{1}},
        {"updateLastChecked", 0.0},  // zero or less means never
    };
    EXPECT_EQ(settings.pickerTrigger(), defaults.pickerTrigger());
    EXPECT_EQ(settings.pickerPlacement(), defaults.pickerPlacement());
    EXPECT_EQ(settings.menuBarIcon(), defaults.menuBarIcon());
    EXPECT_EQ(settings.recentCount(), defaults.recentCount());
    EXPECT_EQ(settings.countLinks(), defaults.countLinks());
    EXPECT_EQ(settings.accent(), defaults.accent());
    EXPECT_EQ(settings.detailedLog(), defaults.detailedLog());
    EXPECT_EQ(settings.isPaused(kNow), defaults.isPaused(kNow));
    EXPECT_EQ(settings.profileFailure(), defaults.profileFailure());
    EXPECT_EQ(settings.updateLastChecked(), std::nullopt);
}

TEST_F(SettingsTest, WritesStoreRawValuesAndReadBack) {
    settings.setPickerTrigger(PickerTrigger::always);
    settings.setMenuBarIcon(MenuBarIcon::signpost);
    settings.setRecentCount(9);
    settings.setCountLinks(false);
    settings.setAccent("Graphite");
    settings.setProfileFailure(ProfileFailure::fallback);
    settings.setUpdateLastChecked(kNow);
    EXPECT_EQ(std::get<std::string>(preferences.values.at("pickerTrigger")), "always");
    EXPECT_EQ(std::get<std::string>(preferences.values.at("menuBarIcon")), "signpost");
    EXPECT_EQ(settings.pickerTrigger(), PickerTrigger::always);
    EXPECT_EQ(settings.menuBarIcon(), MenuBarIcon::signpost);
    EXPECT_EQ(settings.recentCount(), 9);
    EXPECT_FALSE(settings.countLinks());
    EXPECT_EQ(settings.accent(), "Graphite");
    EXPECT_EQ(settings.profileFailure(), ProfileFailure::fallback);
    EXPECT_EQ(settings.updateLastChecked(), kNow);
}

TEST_F(SettingsTest, PickerListsAreOneKeyALineWithEmptyLinesDropped) {
    preferences.values["pickerOrder"] = std::string("\ncom.google.Chrome/Profile 1\n\ncom.apple.Safari\n");
    EXPECT_EQ(settings.pickerOrder(), (std::vector<std::string>{"com.google.Chrome/Profile 1", "com.apple.Safari"}));
    settings.setPickerHidden({"a", "", "b/c d"});
    EXPECT_EQ(std::get<std::string>(preferences.values.at("pickerHidden")), "a\nb/c d");
    EXPECT_EQ(settings.pickerHidden(), (std::vector<std::string>{"a", "b/c d"}));
}

TEST_F(SettingsTest, DetailedLogIsOnOnlyWhileItsChoiceSaysSo) {
    const struct {
        std::optional<std::string> choice;
        std::optional<double> untilOffset;  // seconds from now
        bool on;
    } cases[] = {
        {std::nullopt, 100, false}, {"off", 100, false}, {"on", -100, true},          {"day", 1, true},
        {"day", 0, false},          {"day", -1, false},  {"day", std::nullopt, false}, {"verbose", 100, false},
    };
    for (const auto& c : cases) {
        preferences.values.clear();
        if (c.choice) preferences.values["detailedLog"] = *c.choice;
        if (c.untilOffset) preferences.values["detailedLogUntil"] = kNowUnix + *c.untilOffset;
        EXPECT_EQ(settings.isDetailedLogOn(kNow), c.on) << c.choice.value_or("absent") << " " << c.untilOffset.value_or(-1);
    }
}

TEST_F(SettingsTest, ChoosingTheDayRunsTheDetailedLogFor24HoursFromNow) {
    settings.setDetailedLog(DetailedLog::day, kNow);
    EXPECT_DOUBLE_EQ(std::get<double>(preferences.values.at("detailedLogUntil")), kNowUnix + 86400);
    EXPECT_TRUE(settings.isDetailedLogOn(kNow + 23h + 59min));
    EXPECT_FALSE(settings.isDetailedLogOn(kNow + 24h));
    EXPECT_EQ(settings.detailedLogUntil(), kNow + 24h);
}

TEST_F(SettingsTest, PausedUntilResumedOverridesPausedUntilAndResumeClearsBoth) {
    preferences.values["pausedUntil"] = kNowUnix - 1000;
    EXPECT_FALSE(settings.isPaused(kNow));
    preferences.values["pausedUntilResumed"] = true;
    EXPECT_TRUE(settings.isPaused(kNow));
    preferences.values["pausedUntilResumed"] = false;
    preferences.values["pausedUntil"] = std::int64_t{1773489601};  // whole seconds are read too
    EXPECT_TRUE(settings.isPaused(kNow));

    // Pausing for an hour ends by itself; resuming clears both.
    settings.pauseUntilResumed();
    settings.pause(kPauseForAnHour, kNow);
    EXPECT_FALSE(settings.pausedUntilResumed());
    EXPECT_TRUE(settings.isPaused(kNow + 59min));
    EXPECT_FALSE(settings.isPaused(kNow + 1h));
    EXPECT_EQ(settings.pausedUntil(), kNow + 1h);

    settings.pauseUntilResumed();
    EXPECT_TRUE(settings.isPaused(kNow + 1000h));
    settings.resume();
    EXPECT_FALSE(settings.isPaused(kNow));
    EXPECT_EQ(std::get<double>(preferences.values.at("pausedUntil")), 0.0);
    EXPECT_EQ(std::get<bool>(preferences.values.at("pausedUntilResumed")), false);
    EXPECT_EQ(settings.pausedUntil(), std::nullopt);
}

TEST_F(SettingsTest, ReportSaysDefaultForUnsetKeysAndWritesValuesInFull) {
    settings.setPickerTrigger(PickerTrigger::option);
    settings.setRecentCount(8);
    settings.setCountLinks(false);
    settings.pause(Seconds(3600.5), Instant(std::chrono::seconds(1'799'996'400)));
    preferences.values["accent"] = std::string("Pink");
    preferences.values["wasDefault"] = true;  // not a reported key
    const auto lines = settings.reportLines();
    ASSERT_EQ(lines.size(), std::size(kReportedSettingKeys));
    for (const char* line : {"pickerTrigger: option", "pickerPlacement: default", "recentCount: 8", "countLinks: false",
                             "pausedUntil: 1800000000.5", "pausedUntilResumed: false", "accent: Pink"}) {
        EXPECT_NE(std::find(lines.begin(), lines.end(), line), lines.end()) << line;
    }
    for (const auto& line : lines) EXPECT_FALSE(line.starts_with("wasDefault")) << line;
}

TEST_F(SettingsTest, PreviousDefaultsAreTypeAndIdLinesThatSurviveAHandEdit) {
    using Defaults = std::map<std::string, std::string, std::less<>>;
    settings.setPreviousDefaults({{"x-scheme-handler/https", "firefox-esr"}, {"text/html", "org.gnome.Epiphany"}});
    EXPECT_EQ(std::get<std::string>(*preferences.value("previousDefaults")),
              "text/html=org.gnome.Epiphany\nx-scheme-handler/https=firefox-esr");
    const struct {
        PreferenceValue stored;
        Defaults read;
    } cases[] = {
        // A desktop id may hold "=" after the first one; a line without both sides is no entry.
        {std::string("text/html=a=b\n=orphan\nx-scheme-handler/http=\nno equals\n\nx-scheme-handler/https=chromium"),
         {{"text/html", "a=b"}, {"x-scheme-handler/https", "chromium"}}},
        {std::int64_t{3}, {}},
        {std::string(), {}},
    };
    for (const auto& c : cases) {
        preferences.setValue("previousDefaults", c.stored);
        EXPECT_EQ(settings.previousDefaults(), c.read);
    }
    settings.setPreviousDefaults({});
    EXPECT_FALSE(preferences.value("previousDefaults").has_value()) << "nothing to give back: the key goes";
}

}  // namespace
}  // namespace pivra
