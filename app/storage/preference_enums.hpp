#pragma once
// The closed choices of the picker, menu bar, notification and detailed-log
// preferences: the raw value each is stored as, and the texts the settings
// pages show for it.

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace pivra {

enum class PickerTrigger { option, shift, always, never };
enum class PickerPlacement { pointer, center };
enum class PickerStart { rule, first };
enum class ProfileFailure { picker, anyway, fallback };
enum class MenuBarIcon { pivra, arrows, split, signpost, branch, compass, link, globe, dot };
enum class NotificationsPref { problems, off };
enum class DetailedLog { off, day, on };

// Every case of E, in declaration order.
template <typename E> struct EnumCases;
template <> struct EnumCases<PickerTrigger> {
    static constexpr std::array all{PickerTrigger::option, PickerTrigger::shift, PickerTrigger::always, PickerTrigger::never};
};
template <> struct EnumCases<PickerPlacement> {
    static constexpr std::array all{PickerPlacement::pointer, PickerPlacement::center};
};
template <> struct EnumCases<PickerStart> {
    static constexpr std::array all{PickerStart::rule, PickerStart::first};
};
template <> struct EnumCases<ProfileFailure> {
    static constexpr std::array all{ProfileFailure::picker, ProfileFailure::anyway, ProfileFailure::fallback};
};
template <> struct EnumCases<MenuBarIcon> {
    static constexpr std::array all{MenuBarIcon::pivra,   MenuBarIcon::arrows, MenuBarIcon::split,
                                    MenuBarIcon::signpost, MenuBarIcon::branch, MenuBarIcon::compass,
                                    MenuBarIcon::link,    MenuBarIcon::globe,  MenuBarIcon::dot};
};
template <> struct EnumCases<NotificationsPref> {
    static constexpr std::array all{NotificationsPref::problems, NotificationsPref::off};
};
template <> struct EnumCases<DetailedLog> {
    static constexpr std::array all{DetailedLog::off, DetailedLog::day, DetailedLog::on};
};

// The string each case is stored as.
std::string_view rawValue(PickerTrigger value);
std::string_view rawValue(PickerPlacement value);
std::string_view rawValue(PickerStart value);
std::string_view rawValue(ProfileFailure value);
std::string_view rawValue(MenuBarIcon value);
std::string_view rawValue(NotificationsPref value);
std::string_view rawValue(DetailedLog value);

// The case stored as `raw`; absent for any other string (compared exactly).
template <typename E>
std::optional<E> fromRawValue(std::string_view raw) {
    for (const E value : EnumCases<E>::all) {
        if (rawValue(value) == raw) return value;
    }
    return std::nullopt;
}

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

// The menu bar glyph: a system symbol name, or for `pivra` the app's own
// template image (isSystemSymbol false, name "MenuBarPivra").
struct MenuBarImage {
    bool isSystemSymbol;
    std::string_view name;
};
MenuBarImage menuBarImage(MenuBarIcon icon);

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
