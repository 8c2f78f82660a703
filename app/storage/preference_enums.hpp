#pragma once
// The closed choices of the picker, menu bar, notification and detailed-log
// preferences, and the texts the settings pages show for them. Each case is
// stored as its name (see rawValue).

#include <string>
#include <string_view>

#include "core/text/raw_value.hpp"

namespace pivra {

BOOST_DEFINE_ENUM_CLASS(PickerTrigger, option, shift, always, never)
BOOST_DEFINE_ENUM_CLASS(PickerPlacement, pointer, center)
BOOST_DEFINE_ENUM_CLASS(PickerStart, rule, first)
BOOST_DEFINE_ENUM_CLASS(ProfileFailure, picker, anyway, fallback)
BOOST_DEFINE_ENUM_CLASS(MenuBarIcon, pivra, arrows, split, signpost, branch, compass, link, globe, dot)
BOOST_DEFINE_ENUM_CLASS(NotificationsPref, problems, off)
BOOST_DEFINE_ENUM_CLASS(DetailedLog, off, day, on)

// The label of each choice on the settings pages.
std::string_view label(PickerTrigger value);
std::string_view label(PickerPlacement value);
std::string_view label(PickerStart value);
std::string_view label(NotificationsPref value);
std::string_view label(DetailedLog value);
// `browser` is the name of the rule's browser ("Open Chrome anyway").
std::string label(ProfileFailure value, std::string_view browser);

// The longer text under a choice.
std::string_view description(PickerTrigger value);
std::string_view description(PickerStart value);
// `browser`: the rule's browser; `fallback`: the fallback browser's name.
std::string description(ProfileFailure value, std::string_view browser, std::string_view fallback);

// The title of the profile-failure settings row.
inline constexpr std::string_view kProfileFailureTitle = "When a rule’s profile can’t be used";

// Texts of the detailed-log setting.
inline constexpr std::string_view kDetailedLogOffText = "Off: the log keeps only each link’s host";
inline constexpr std::string_view kDetailedLogUntilText = "Every step is logged until ";  // + the end time
inline constexpr std::string_view kDetailedLogEndedText = "Ended; choose it again for another 24 hours";
inline constexpr std::string_view kDetailedLogOnText = "Every step of each link is logged";
inline constexpr std::string_view kDetailedLogHelp = "Turn on before you reproduce a bug, for every step in the log";

// Texts of the notifications setting.
inline constexpr std::string_view kNotificationsOffText = "Problems show only as a dot on the menu bar icon";
inline constexpr std::string_view kNotificationsDeniedText = "Off in System Settings, so problems show only as the dot";

}  // namespace pivra
