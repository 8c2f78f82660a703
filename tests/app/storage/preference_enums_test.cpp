#include "app/storage/preference_enums.hpp"

#include <gtest/gtest.h>

namespace pivra {
namespace {

template <typename E>
std::vector<std::string> storedNames() {
    std::vector<std::string> names;
    for (const E value : enumCases<E>()) names.emplace_back(rawValue(value));
    return names;
}

// Settings files hold these names: renaming a case would reset every user's
// choice to the default, so a change here has to come with a migration.
TEST(PreferenceEnums, StoredNamesStayAsTheyAre) {
    using V = std::vector<std::string>;
    EXPECT_EQ(storedNames<PickerTrigger>(), (V{"option", "shift", "always", "never"}));
    EXPECT_EQ(storedNames<PickerPlacement>(), (V{"pointer", "center"}));
    EXPECT_EQ(storedNames<PickerStart>(), (V{"rule", "first"}));
    EXPECT_EQ(storedNames<ProfileFailure>(), (V{"picker", "anyway", "fallback"}));
    EXPECT_EQ(storedNames<MenuBarIcon>(),
              (V{"pivra", "arrows", "split", "signpost", "branch", "compass", "link", "globe", "dot"}));
    EXPECT_EQ(storedNames<NotificationsPref>(), (V{"problems", "off"}));
    EXPECT_EQ(storedNames<DetailedLog>(), (V{"off", "day", "on"}));
}

TEST(PreferenceEnums, ProfileFailureTextsNameTheBrowserAndTheFallback) {
    for (const ProfileFailure value : enumCases<ProfileFailure>()) {
        const std::string text = label(value, "Brwsr") + " " + description(value, "Brwsr", "Fllbck");
        EXPECT_EQ(text.find("Fllbck") != std::string::npos, value == ProfileFailure::fallback) << text;
        EXPECT_EQ(text.find("Brwsr") != std::string::npos, value != ProfileFailure::fallback) << text;
    }
}

}  // namespace
}  // namespace pivra
