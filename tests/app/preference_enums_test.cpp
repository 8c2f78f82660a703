#include "app/preference_enums.hpp"

#include <set>

#include <gtest/gtest.h>

namespace pivra {
namespace {

template <typename E>
std::vector<std::string> rawValues() {
    std::vector<std::string> values;
    for (const E value : EnumCases<E>::all) {
        values.emplace_back(rawValue(value));
        EXPECT_EQ(fromRawValue<E>(rawValue(value)), value);  // every case round-trips
    }
    return values;
}

TEST(PreferenceEnums, RawValuesInDeclarationOrder) {
    using V = std::vector<std::string>;
    EXPECT_EQ(rawValues<PickerTrigger>(), (V{"option", "shift", "always", "never"}));
    EXPECT_EQ(rawValues<PickerPlacement>(), (V{"pointer", "center"}));
    EXPECT_EQ(rawValues<PickerStart>(), (V{"rule", "first"}));
    EXPECT_EQ(rawValues<ProfileFailure>(), (V{"picker", "anyway", "fallback"}));
    EXPECT_EQ(rawValues<MenuBarIcon>(),
              (V{"pivra", "arrows", "split", "signpost", "branch", "compass", "link", "globe", "dot"}));
    EXPECT_EQ(rawValues<NotificationsPref>(), (V{"problems", "off"}));
    EXPECT_EQ(rawValues<DetailedLog>(), (V{"off", "day", "on"}));
}

TEST(PreferenceEnums, UnknownRawValuesAreRefused) {
    for (const char* raw : {"", "Shift", "shift ", "ctrl"}) {
        EXPECT_EQ(fromRawValue<PickerTrigger>(raw), std::nullopt) << raw;
    }
    EXPECT_EQ(fromRawValue<MenuBarIcon>("rocket"), std::nullopt);
}

TEST(PreferenceEnums, Labels) {
    EXPECT_EQ(label(PickerTrigger::option), "Option + click");
    EXPECT_EQ(label(PickerTrigger::shift), "Shift + click");
    EXPECT_EQ(label(PickerTrigger::always), "Every link");
    EXPECT_EQ(label(PickerTrigger::never), "Never");
    EXPECT_EQ(label(PickerPlacement::pointer), "Next to the pointer");
    EXPECT_EQ(label(PickerPlacement::center), "Middle of the screen");
    EXPECT_EQ(label(PickerStart::rule), "What the rules would pick");
    EXPECT_EQ(label(PickerStart::first), "The first in the list");
    EXPECT_EQ(label(NotificationsPref::problems), "Problems only");
    EXPECT_EQ(label(NotificationsPref::off), "Off");
    EXPECT_EQ(label(DetailedLog::off), "Off");
    EXPECT_EQ(label(DetailedLog::day), "For 24 hours");
    EXPECT_EQ(label(DetailedLog::on), "Until I turn it off");
}

TEST(PreferenceEnums, ProfileFailureTextsNameTheBrowserAndTheFallback) {
    EXPECT_EQ(label(ProfileFailure::picker, "Chrome"), "Ask with the picker");
    EXPECT_EQ(label(ProfileFailure::anyway, "Chrome"), "Open Chrome anyway");
    EXPECT_EQ(label(ProfileFailure::fallback, "Chrome"), "Use the fallback");
    EXPECT_EQ(description(ProfileFailure::picker, "Chrome", "Safari"),
              "Safest. You see the picker instead of a link landing in the wrong profile, like a work link in "
              "your personal Chrome.");
    EXPECT_EQ(description(ProfileFailure::anyway, "Chrome", "Safari"),
              "Quietest. Chrome opens in whichever profile it used last.");
    EXPECT_EQ(description(ProfileFailure::fallback, "Chrome", "Safari"),
              "The link goes to Safari, your fallback, as if no rule matched.");
}

TEST(PreferenceEnums, DescriptionsOfTriggerAndStart) {
    EXPECT_EQ(description(PickerTrigger::never), "Rules decide every link. The picker never shows.");
    EXPECT_EQ(description(PickerTrigger::always),
              "Every link waits for you to pick. Rules only decide which one is picked to start with.");
    EXPECT_TRUE(std::string(description(PickerTrigger::option)).ends_with("download the link instead."));
    EXPECT_TRUE(std::string(description(PickerTrigger::shift)).starts_with("Pivra registers no shortcut."));
    EXPECT_EQ(description(PickerStart::first), "The top of the list below is picked every time, whatever the rules say.");
}

TEST(PreferenceEnums, MenuBarImages) {
    EXPECT_FALSE(menuBarImage(MenuBarIcon::pivra).isSystemSymbol);
    EXPECT_EQ(menuBarImage(MenuBarIcon::pivra).name, "MenuBarPivra");
    const std::pair<MenuBarIcon, const char*> symbols[] = {
        {MenuBarIcon::arrows, "shuffle"},         {MenuBarIcon::split, "arrow.triangle.branch"},
        {MenuBarIcon::signpost, "signpost.right"}, {MenuBarIcon::branch, "arrow.branch"},
        {MenuBarIcon::compass, "safari"},         {MenuBarIcon::link, "link"},
        {MenuBarIcon::globe, "globe"},            {MenuBarIcon::dot, "circle.fill"},
    };
    for (const auto& [icon, name] : symbols) {
        EXPECT_TRUE(menuBarImage(icon).isSystemSymbol);
        EXPECT_EQ(menuBarImage(icon).name, name);
    }
}

}  // namespace
}  // namespace pivra
