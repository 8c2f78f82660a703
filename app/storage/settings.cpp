#include "app/storage/settings.hpp"

#include <charconv>
#include <cmath>

#include "core/text/raw_value.hpp"

namespace pivra {
namespace {

double unixSeconds(Instant instant) { return Seconds(instant.time_since_epoch()).count(); }

Instant instantFromUnixSeconds(double seconds) {
    return Instant(std::chrono::duration_cast<Instant::duration>(Seconds(seconds)));
}

// Stored times far outside the representable range read as absent rather than overflow.
bool isPlausibleUnixSeconds(double seconds) { return seconds > -9.0e9 && seconds < 9.0e9; }

}  // namespace

std::string preferenceText(const PreferenceValue& value) {
    if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "true" : "false";
    if (const auto* integer = std::get_if<std::int64_t>(&value)) return std::to_string(*integer);
    if (const auto* number = std::get_if<double>(&value)) {
        // Stored times are around 1.8e9: written out in full, as people read them.
        const double magnitude = std::fabs(*number);
        const bool plain = magnitude == 0 || (magnitude >= 1e-6 && magnitude < 1e15);
        char buffer[64];
        const auto result = plain ? std::to_chars(buffer, buffer + sizeof buffer, *number, std::chars_format::fixed)
                                  : std::to_chars(buffer, buffer + sizeof buffer, *number);
        return std::string(buffer, result.ptr);
    }
    if (const auto* dictionary = std::get_if<PreferenceDictionary>(&value)) {
        std::string text = "{";
        for (const auto& [name, number] : *dictionary) {
            text += (text.size() > 1 ? ", " : "") + name + ": " + preferenceText(number);
        }
        return text + "}";
    }
    return std::get<std::string>(value);
}

bool Settings::boolValue(std::string_view key, bool fallback) const {
    const auto value = preferences_.value(key);
    if (const auto* flag = value ? std::get_if<bool>(&*value) : nullptr) return *flag;
    return fallback;
}

// Whole numbers count as doubles: a file or a defaults tool may well store 0 for 0.0.
std::optional<double> Settings::doubleValue(std::string_view key) const {
    const auto value = preferences_.value(key);
    if (!value) return std::nullopt;
    if (const auto* number = std::get_if<double>(&*value)) return *number;
    if (const auto* integer = std::get_if<std::int64_t>(&*value)) return static_cast<double>(*integer);
    return std::nullopt;
}

template <typename E>
E Settings::enumValue(std::string_view key, E fallback) const {
    const auto value = preferences_.value(key);
    const auto* raw = value ? std::get_if<std::string>(&*value) : nullptr;
    if (raw == nullptr) return fallback;
    return fromRawValue<E>(*raw).value_or(fallback);
}

std::vector<std::string> Settings::listValue(std::string_view key) const {
    const auto value = preferences_.value(key);
    const auto* text = value ? std::get_if<std::string>(&*value) : nullptr;
    std::vector<std::string> items;
    if (text == nullptr) return items;
    std::string_view rest = *text;
    while (!rest.empty()) {
        const auto end = rest.find('\n');
        const auto item = rest.substr(0, end);
        if (!item.empty()) items.emplace_back(item);
        if (end == std::string_view::npos) break;
        rest.remove_prefix(end + 1);
    }
    return items;
}

void Settings::setList(std::string_view key, const std::vector<std::string>& items) {
    std::string joined;
    for (const auto& item : items) {
        if (item.empty()) continue;
        if (!joined.empty()) joined += '\n';
        joined += item;
    }
    preferences_.setValue(key, joined);
}

PickerTrigger Settings::pickerTrigger() const { return enumValue(SettingKey::kPickerTrigger, PickerTrigger::shift); }
void Settings::setPickerTrigger(PickerTrigger value) { preferences_.setValue(SettingKey::kPickerTrigger, std::string(rawValue(value))); }
PickerPlacement Settings::pickerPlacement() const { return enumValue(SettingKey::kPickerPlacement, PickerPlacement::pointer); }
void Settings::setPickerPlacement(PickerPlacement value) { preferences_.setValue(SettingKey::kPickerPlacement, std::string(rawValue(value))); }
PickerStart Settings::pickerStart() const { return enumValue(SettingKey::kPickerStart, PickerStart::rule); }
void Settings::setPickerStart(PickerStart value) { preferences_.setValue(SettingKey::kPickerStart, std::string(rawValue(value))); }
std::vector<std::string> Settings::pickerHidden() const { return listValue(SettingKey::kPickerHidden); }
void Settings::setPickerHidden(const std::vector<std::string>& keys) { setList(SettingKey::kPickerHidden, keys); }
std::vector<std::string> Settings::pickerOrder() const { return listValue(SettingKey::kPickerOrder); }
void Settings::setPickerOrder(const std::vector<std::string>& keys) { setList(SettingKey::kPickerOrder, keys); }
bool Settings::pickerOffersRule() const { return boolValue(SettingKey::kPickerOffersRule, true); }
void Settings::setPickerOffersRule(bool value) { preferences_.setValue(SettingKey::kPickerOffersRule, value); }
bool Settings::pickerCopies() const { return boolValue(SettingKey::kPickerCopies, true); }
void Settings::setPickerCopies(bool value) { preferences_.setValue(SettingKey::kPickerCopies, value); }
ProfileFailure Settings::profileFailure() const { return enumValue(SettingKey::kProfileFailure, ProfileFailure::picker); }
void Settings::setProfileFailure(ProfileFailure value) { preferences_.setValue(SettingKey::kProfileFailure, std::string(rawValue(value))); }
bool Settings::menuBarShown() const { return boolValue(SettingKey::kMenuBarShown, true); }
void Settings::setMenuBarShown(bool value) { preferences_.setValue(SettingKey::kMenuBarShown, value); }
MenuBarIcon Settings::menuBarIcon() const { return enumValue(SettingKey::kMenuBarIcon, MenuBarIcon::pivra); }
void Settings::setMenuBarIcon(MenuBarIcon value) { preferences_.setValue(SettingKey::kMenuBarIcon, std::string(rawValue(value))); }

std::int64_t Settings::recentCount() const {
    const auto value = preferences_.value(SettingKey::kRecentCount);
    if (const auto* integer = value ? std::get_if<std::int64_t>(&*value) : nullptr) return *integer;
    return 5;
}
void Settings::setRecentCount(std::int64_t value) { preferences_.setValue(SettingKey::kRecentCount, value); }

bool Settings::countInMenu() const { return boolValue(SettingKey::kCountInMenu, true); }
void Settings::setCountInMenu(bool value) { preferences_.setValue(SettingKey::kCountInMenu, value); }
bool Settings::optionClickPauses() const { return boolValue(SettingKey::kOptionClickPauses, true); }
void Settings::setOptionClickPauses(bool value) { preferences_.setValue(SettingKey::kOptionClickPauses, value); }
NotificationsPref Settings::notifications() const { return enumValue(SettingKey::kNotifications, NotificationsPref::problems); }
void Settings::setNotifications(NotificationsPref value) { preferences_.setValue(SettingKey::kNotifications, std::string(rawValue(value))); }
bool Settings::countLinks() const { return boolValue(SettingKey::kCountLinks, true); }
void Settings::setCountLinks(bool value) { preferences_.setValue(SettingKey::kCountLinks, value); }

std::string Settings::accent() const {
    const auto value = preferences_.value(SettingKey::kAccent);
    if (const auto* text = value ? std::get_if<std::string>(&*value) : nullptr) return *text;
    return "Blue";
}
void Settings::setAccent(std::string_view value) { preferences_.setValue(SettingKey::kAccent, std::string(value)); }

bool Settings::wasDefault() const { return boolValue(SettingKey::kWasDefault, false); }
void Settings::setWasDefault(bool value) { preferences_.setValue(SettingKey::kWasDefault, value); }
std::map<std::string, std::string, std::less<>> Settings::previousDefaults() const {
    std::map<std::string, std::string, std::less<>> defaults;
    for (const auto& line : listValue(SettingKey::kPreviousDefaults)) {
        const auto equals = line.find('=');
        if (equals == std::string::npos || equals == 0 || equals + 1 == line.size()) continue;
        defaults.emplace(line.substr(0, equals), line.substr(equals + 1));
    }
    return defaults;
}

void Settings::setPreviousDefaults(const std::map<std::string, std::string, std::less<>>& defaults) {
    if (defaults.empty()) {
        preferences_.removeValue(SettingKey::kPreviousDefaults);
        return;
    }
    std::vector<std::string> lines;
    for (const auto& [type, id] : defaults) lines.push_back(type + "=" + id);
    setList(SettingKey::kPreviousDefaults, lines);
}

bool Settings::autoUpdate() const { return boolValue(SettingKey::kAutoUpdate, true); }
void Settings::setAutoUpdate(bool value) { preferences_.setValue(SettingKey::kAutoUpdate, value); }

std::optional<Instant> Settings::updateLastChecked() const {
    const auto seconds = doubleValue(SettingKey::kUpdateLastChecked);
    if (!seconds || *seconds <= 0 || !isPlausibleUnixSeconds(*seconds)) return std::nullopt;
    return instantFromUnixSeconds(*seconds);
}
void Settings::setUpdateLastChecked(Instant when) { preferences_.setValue(SettingKey::kUpdateLastChecked, unixSeconds(when)); }

PreferenceDictionary Settings::notifiedAt() const {
    const auto value = preferences_.value(SettingKey::kNotifiedAt);
    if (const auto* times = value ? std::get_if<PreferenceDictionary>(&*value) : nullptr) return *times;
    return {};
}
void Settings::setNotifiedAt(const PreferenceDictionary& times) { preferences_.setValue(SettingKey::kNotifiedAt, times); }

bool Settings::onboardingDone() const { return boolValue(SettingKey::kOnboardingDone, false); }
void Settings::setOnboardingDone(bool value) { preferences_.setValue(SettingKey::kOnboardingDone, value); }

bool Settings::reopenAfterUpdate() const { return boolValue(SettingKey::kReopenAfterUpdate, false); }
void Settings::setReopenAfterUpdate(bool value) { preferences_.setValue(SettingKey::kReopenAfterUpdate, value); }

std::optional<std::string> Settings::moveNotNowAt() const {
    const auto value = preferences_.value(SettingKey::kMoveNotNowAt);
    if (const auto* text = value ? std::get_if<std::string>(&*value) : nullptr) return *text;
    return std::nullopt;
}
void Settings::setMoveNotNowAt(std::string_view place) { preferences_.setValue(SettingKey::kMoveNotNowAt, std::string(place)); }

bool Settings::isStagingScreenshots() const {
    const auto shot = preferences_.value(SettingKey::kPivraShot);
    return (shot && std::holds_alternative<std::string>(*shot)) || boolValue(SettingKey::kPivraSnapshot, false);
}
std::optional<std::string> Settings::updatedFrom() const {
    const auto value = preferences_.value(SettingKey::kUpdatedFrom);
    const auto* text = value ? std::get_if<std::string>(&*value) : nullptr;
    if (!text || text->empty()) return std::nullopt;
    return *text;
}
void Settings::setUpdatedFrom(std::string_view version) {
    preferences_.setValue(SettingKey::kUpdatedFrom, std::string(version));
}
void Settings::clearUpdatedFrom() { preferences_.removeValue(SettingKey::kUpdatedFrom); }

DetailedLog Settings::detailedLog() const { return enumValue(SettingKey::kDetailedLog, DetailedLog::off); }

std::optional<Instant> Settings::detailedLogUntil() const {
    const auto seconds = doubleValue(SettingKey::kDetailedLogUntil);
    if (!seconds || !isPlausibleUnixSeconds(*seconds)) return std::nullopt;
    return instantFromUnixSeconds(*seconds);
}

void Settings::setDetailedLog(DetailedLog value, Instant now) {
    preferences_.setValue(SettingKey::kDetailedLog, std::string(rawValue(value)));
    if (value == DetailedLog::day) {
        preferences_.setValue(SettingKey::kDetailedLogUntil, unixSeconds(now + std::chrono::duration_cast<Instant::duration>(kDetailedLogDayLength)));
    }
}

bool Settings::isDetailedLogOn(Instant now) const {
    switch (detailedLog()) {
        case DetailedLog::off: return false;
        case DetailedLog::on: return true;
        case DetailedLog::day: {
            // Without an end time the 24 hours cannot be running.
            const auto until = doubleValue(SettingKey::kDetailedLogUntil);
            return until && unixSeconds(now) < *until;
        }
    }
    return false;
}

bool Settings::isPaused(Instant now) const {
    if (pausedUntilResumed()) return true;
    return unixSeconds(now) < doubleValue(SettingKey::kPausedUntil).value_or(0);
}

void Settings::pause(Seconds duration, Instant now) {
    preferences_.setValue(SettingKey::kPausedUntilResumed, false);
    preferences_.setValue(SettingKey::kPausedUntil, unixSeconds(now) + duration.count());
}

void Settings::pauseUntilResumed() { preferences_.setValue(SettingKey::kPausedUntilResumed, true); }

void Settings::resume() {
    preferences_.setValue(SettingKey::kPausedUntilResumed, false);
    preferences_.setValue(SettingKey::kPausedUntil, 0.0);
}

std::optional<Instant> Settings::pausedUntil() const {
    const auto seconds = doubleValue(SettingKey::kPausedUntil);
    if (!seconds || *seconds <= 0 || !isPlausibleUnixSeconds(*seconds)) return std::nullopt;
    return instantFromUnixSeconds(*seconds);
}

bool Settings::pausedUntilResumed() const { return boolValue(SettingKey::kPausedUntilResumed, false); }

std::vector<std::string> Settings::reportLines() const {
    std::vector<std::string> lines;
    for (const auto key : kReportedSettingKeys) {
        const auto value = preferences_.value(key);
        lines.push_back(std::string(key) + ": " + (value ? preferenceText(*value) : "default"));
    }
    return lines;
}

}  // namespace pivra
