#pragma once
// Every user preference with its type and default, read and written through
// the Preferences port. A key that is absent, holds a value of another type,
// or an enumeration string that names no case reads as the default, so a
// change made anywhere takes effect at the next read.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/ports/preferences.hpp"
#include "app/storage/preference_enums.hpp"
#include "core/time/time.hpp"

namespace pivra {

namespace SettingKey {
inline constexpr std::string_view kPickerTrigger = "pickerTrigger";
inline constexpr std::string_view kPickerPlacement = "pickerPlacement";
inline constexpr std::string_view kPickerStart = "pickerStart";
inline constexpr std::string_view kPickerHidden = "pickerHidden";
inline constexpr std::string_view kPickerOrder = "pickerOrder";
inline constexpr std::string_view kPickerOffersRule = "pickerOffersRule";
inline constexpr std::string_view kPickerCopies = "pickerCopies";
inline constexpr std::string_view kProfileFailure = "profileFailure";
inline constexpr std::string_view kMenuBarShown = "menuBarShown";
inline constexpr std::string_view kMenuBarIcon = "menuBarIcon";
inline constexpr std::string_view kRecentCount = "recentCount";
inline constexpr std::string_view kCountInMenu = "countInMenu";
inline constexpr std::string_view kOptionClickPauses = "optionClickPauses";
inline constexpr std::string_view kNotifications = "notifications";
inline constexpr std::string_view kCountLinks = "countLinks";
inline constexpr std::string_view kDetailedLog = "detailedLog";
inline constexpr std::string_view kDetailedLogUntil = "detailedLogUntil";
inline constexpr std::string_view kPausedUntil = "pausedUntil";
inline constexpr std::string_view kPausedUntilResumed = "pausedUntilResumed";
inline constexpr std::string_view kAccent = "accent";
inline constexpr std::string_view kWasDefault = "wasDefault";
inline constexpr std::string_view kAutoUpdate = "autoUpdate";
inline constexpr std::string_view kUpdateLastChecked = "updateLastChecked";
inline constexpr std::string_view kReopenAfterUpdate = "reopenAfterUpdate";
inline constexpr std::string_view kUpdatedFrom = "updatedFrom";
inline constexpr std::string_view kNotifiedAt = "notifiedAt";
inline constexpr std::string_view kPreviousDefaults = "previousDefaults";
inline constexpr std::string_view kMoveNotNowAt = "moveNotNowAt";
inline constexpr std::string_view kOnboardingDone = "onboardingDone";
// Set while screenshots are staged: a string names the shot, or true.
inline constexpr std::string_view kPivraShot = "PivraShot";
inline constexpr std::string_view kPivraSnapshot = "PivraSnapshot";
}  // namespace SettingKey

// The keys the diagnostic report and `pivra settings` list, in their order.
inline constexpr std::string_view kReportedSettingKeys[] = {
    SettingKey::kPickerTrigger,   SettingKey::kPickerPlacement,    SettingKey::kPickerStart,
    SettingKey::kMenuBarShown,    SettingKey::kMenuBarIcon,        SettingKey::kRecentCount,
    SettingKey::kNotifications,   SettingKey::kCountLinks,         SettingKey::kDetailedLog,
    SettingKey::kPausedUntil,     SettingKey::kPausedUntilResumed, SettingKey::kPickerOffersRule,
    SettingKey::kPickerCopies,    SettingKey::kProfileFailure,     SettingKey::kAccent,
};

// How long "For 24 hours" keeps the detailed log on.
inline constexpr Seconds kDetailedLogDayLength{24 * 60 * 60};
// "Pause for 1 hour".
inline constexpr Seconds kPauseForAnHour{3600};

class Settings {
public:
    explicit Settings(Preferences& preferences) : preferences_(preferences) {}

    PickerTrigger pickerTrigger() const;          // default shift
    void setPickerTrigger(PickerTrigger value);
    PickerPlacement pickerPlacement() const;      // default pointer
    void setPickerPlacement(PickerPlacement value);
    PickerStart pickerStart() const;              // default rule
    void setPickerStart(PickerStart value);
    // Picker entry keys, one a line in the stored string; empty lines are dropped.
    std::vector<std::string> pickerHidden() const;
    void setPickerHidden(const std::vector<std::string>& keys);
    std::vector<std::string> pickerOrder() const;
    void setPickerOrder(const std::vector<std::string>& keys);
    bool pickerOffersRule() const;                // default true
    void setPickerOffersRule(bool value);
    bool pickerCopies() const;                    // default true
    void setPickerCopies(bool value);
    ProfileFailure profileFailure() const;        // default picker
    void setProfileFailure(ProfileFailure value);
    bool menuBarShown() const;                    // default true
    void setMenuBarShown(bool value);
    MenuBarIcon menuBarIcon() const;              // default pivra
    void setMenuBarIcon(MenuBarIcon value);
    std::int64_t recentCount() const;             // default 5
    void setRecentCount(std::int64_t value);
    bool countInMenu() const;                     // default true
    void setCountInMenu(bool value);
    bool optionClickPauses() const;               // default true
    void setOptionClickPauses(bool value);
    NotificationsPref notifications() const;      // default problems
    void setNotifications(NotificationsPref value);
    bool countLinks() const;                      // default true
    void setCountLinks(bool value);
    std::string accent() const;                   // default "Blue"
    void setAccent(std::string_view value);
    bool wasDefault() const;                      // default false
    void setWasDefault(bool value);
    bool autoUpdate() const;                      // default true
    void setAutoUpdate(bool value);
    // Absent when never checked (not set, or stored as 0 or less).
    std::optional<Instant> updateLastChecked() const;
    void setUpdateLastChecked(Instant when);
    // When each problem (by identifier) was last posted, as seconds since
    // 1970; empty when not set or not a dictionary.
    PreferenceDictionary notifiedAt() const;
    void setNotifiedAt(const PreferenceDictionary& times);
    // Whether the first-run onboarding was finished or skipped.
    bool onboardingDone() const;                  // default false
    void setOnboardingDone(bool value);
    bool reopenAfterUpdate() const;               // default false
    void setReopenAfterUpdate(bool value);
    // The apps that were the default for the browser's types before this
    // app became it, by type ("x-scheme-handler/https" → "firefox-esr"), so
    // that they can be given back. Stored as one "type=id" a line; lines
    // without "=", or with nothing on either side, are dropped. Empty when
    // not set. Setting an empty map removes the key.
    std::map<std::string, std::string, std::less<>> previousDefaults() const;
    void setPreviousDefaults(const std::map<std::string, std::string, std::less<>>& defaults);
    // The place (as logs describe it) where the user declined to move the
    // app into Applications; absent when never declined or not a string.
    std::optional<std::string> moveNotNowAt() const;
    void setMoveNotNowAt(std::string_view place);
    // Whether screenshots are being staged: a string under PivraShot, or
    // true under PivraSnapshot. Nothing then asks the user anything at start.
    bool isStagingScreenshots() const;
    // The version an update replaced, until the note about it has been
    // shown; absent when not set, empty or not a string.
    std::optional<std::string> updatedFrom() const;
    void setUpdatedFrom(std::string_view version);
    void clearUpdatedFrom();

    // The detailed log: its choice, the end of a 24-hour run, and whether it is on now.
    DetailedLog detailedLog() const;              // default off
    std::optional<Instant> detailedLogUntil() const;
    // Choosing "For 24 hours" starts a new 24 hours from `now`.
    void setDetailedLog(DetailedLog value, Instant now);
    bool isDetailedLogOn(Instant now) const;

    // Pausing: routed links go to the fallback while paused.
    bool isPaused(Instant now) const;
    void pause(Seconds duration, Instant now);
    void pauseUntilResumed();
    void resume();
    // The end of a timed pause, absent when none is set (stored as 0 or absent).
    std::optional<Instant> pausedUntil() const;
    bool pausedUntilResumed() const;

    // "key: value" for each reported key, the value as stored or "default" when unset.
    std::vector<std::string> reportLines() const;

private:
    bool boolValue(std::string_view key, bool fallback) const;
    std::optional<double> doubleValue(std::string_view key) const;
    template <typename E> E enumValue(std::string_view key, E fallback) const;
    std::vector<std::string> listValue(std::string_view key) const;
    void setList(std::string_view key, const std::vector<std::string>& items);

    Preferences& preferences_;
};

// A stored preference as text: true/false, the number, or the string itself.
std::string preferenceText(const PreferenceValue& value);

}  // namespace pivra
