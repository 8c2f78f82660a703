#pragma once
// What the menu shows, as data a screen draws: the status line, the recent
// rows and the actions with their titles. Built by AppModel::menu().

#include <string>
#include <string_view>
#include <vector>

namespace pivra {

namespace MenuText {
inline constexpr std::string_view kPausedPrefix = "Paused · links open in ";
inline constexpr std::string_view kLinksTodaySuffix = " links today";
inline constexpr std::string_view kNotGettingLinks = "Not getting links";
inline constexpr std::string_view kMakeDefault = "Make Default";
inline constexpr std::string_view kChooseBrowser = "Choose Browser…";
inline constexpr std::string_view kShowError = "Show Error";
inline constexpr std::string_view kRecent = "Recent";
inline constexpr std::string_view kRecentNote = "Kept in memory only. They’re gone when Pivra quits.";
inline constexpr std::string_view kOpenAgain = "Open again in…";
inline constexpr std::string_view kMakeRule = "Make a rule";
inline constexpr std::string_view kPauseForAnHour = "Pause for 1 hour";
inline constexpr std::string_view kResume = "Resume";
inline constexpr std::string_view kPausePivra = "Pause Pivra";
inline constexpr std::string_view kTurnOn = "Turn Pivra on";
inline constexpr std::string_view kSettings = "Settings";
inline constexpr std::string_view kSettingsShortcut = "⌘,";
inline constexpr std::string_view kQuit = "Quit Pivra";
}  // namespace MenuText

struct MenuRecentRow {
    std::string id;    // the recent link's id, for "Open again in…" and "Make a rule"
    std::string link;  // the link as opened
    std::string text;  // "Firefox · Work, by rule 3"

    bool operator==(const MenuRecentRow&) const = default;
};

struct Menu {
    // "Paused · links open in Safari", or "12 links today", or empty when the
    // count is switched off from the menu.
    std::string status;
    // Not the default browser: "Not getting links" with "Make Default" and "Choose Browser…".
    bool notGettingLinks = false;
    // The rules file has an error: "Show Error".
    bool showError = false;
    // The newest links, as many as the "recentCount" setting asks.
    std::vector<MenuRecentRow> recent;
    // "Open again in…" needs the picker; without one it is left out.
    bool canOpenAgain = false;
    // "Pause for 1 hour" or "Resume" (a timed pause is on); "Pause Pivra" or
    // "Turn Pivra on" (paused until resumed).
    std::string timedPauseAction;
    std::string pauseAction;
    bool problemDot = false;  // problems are listed

    bool operator==(const Menu&) const = default;
};

}  // namespace pivra
