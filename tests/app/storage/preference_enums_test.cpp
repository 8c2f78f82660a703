#include "app/storage/preference_enums.hpp"

#include <gtest/gtest.h>

namespace pivra {
namespace {

// The raw values are what the settings file holds: each must stay as it is
// and read back as its own case.
template <typename E>
std::vector<std::string> rawValues() {
    std::vector<std::string> values;
    for (const E value : EnumCases<E>::all) {
        values.emplace_back(rawValue(value));
        EXPECT_EQ(fromRawValue<E>(rawValue(value)), value);
    }
    return values;
}

TEST(PreferenceEnums, RawValuesRoundTripAndUnknownOnesAreRefused) {
    using V = std::vector<std::string>;
    EXPECT_EQ(rawValues<PickerTrigger>(), (V{"option", "shift", "always", "never"}));
    EXPECT_EQ(rawValues<PickerPlacement>(), (V{"pointer", "center"}));
    EXPECT_EQ(rawValues<PickerStart>(), (V{"rule", "first"}));
    EXPECT_EQ(rawValues<ProfileFailure>(), (V{"picker", "anyway", "fallback"}));
    EXPECT_EQ(rawValues<MenuBarIcon>(),
              (V{"pivra", "arrows", "split", "signpost", "branch", "compass", "link", "globe", "dot"}));
    EXPECT_EQ(rawValues<NotificationsPref>(), (V{"problems", "off"}));
    EXPECT_EQ(rawValues<DetailedLog>(), (V{"off", "day", "on"}));
    for (const char* raw : {"", "Shift", "shift ", "ctrl"}) {
        EXPECT_EQ(fromRawValue<PickerTrigger>(raw), std::nullopt) << raw;
    }
}

TEST(PreferenceEnums, TextsSpotChecked) {
    EXPECT_EQ(label(PickerTrigger::option), "Option + click");
    EXPECT_EQ(label(DetailedLog::on), "Until I turn it off");
    EXPECT_EQ(description(PickerTrigger::never), "Rules decide every link. The picker never shows.");
    EXPECT_TRUE(std::string(description(PickerTrigger::shift)).starts_with("Pivra registers no shortcut."));
}

TEST(PreferenceEnums, ProfileFailureTextsNameTheBrowserAndTheFallback) {
    EXPECT_EQ(label(ProfileFailure::anyway, "Chrome"), "Open Chrome anyway");
    EXPECT_EQ(description(ProfileFailure::picker, "Chrome", "Safari"),
              "Safest. You see the picker instead of a link landing in the wrong profile, like a work link in "
              "your personal Chrome.");
    EXPECT_EQ(description(ProfileFailure::anyway, "Chrome", "Safari"),
              "Quietest. Chrome opens in whichever profile it used last.");
    EXPECT_EQ(description(ProfileFailure::fallback, "Chrome", "Safari"),
              "The link goes to Safari, your fallback, as if no rule matched.");
}

TEST(PreferenceEnums, MenuBarImagesAreSystemSymbolsExceptPivrasOwn) {
    EXPECT_EQ(menuBarImage(MenuBarIcon::pivra).name, "MenuBarPivra");
    for (const MenuBarIcon icon : EnumCases<MenuBarIcon>::all) {
        EXPECT_EQ(menuBarImage(icon).isSystemSymbol, icon != MenuBarIcon::pivra) << rawValue(icon);
    }
    EXPECT_EQ(menuBarImage(MenuBarIcon::split).name, "arrow.triangle.branch");
    EXPECT_EQ(menuBarImage(MenuBarIcon::dot).name, "circle.fill");
}

}  // namespace
}  // namespace pivra
