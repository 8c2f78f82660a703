#include "app/storage/preference_enums.hpp"

namespace pivra {

std::string_view label(PickerTrigger value) {
    switch (value) {
        case PickerTrigger::option: return "Option + click";
        case PickerTrigger::shift: return "Shift + click";
        case PickerTrigger::always: return "Every link";
        case PickerTrigger::never: return "Never";
    }
    return "";
}

std::string_view label(PickerPlacement value) {
    return value == PickerPlacement::center ? "Middle of the screen" : "Next to the pointer";
}

std::string_view label(PickerStart value) {
    return value == PickerStart::first ? "The first in the list" : "What the rules would pick";
}

std::string_view label(NotificationsPref value) {
    return value == NotificationsPref::off ? "Off" : "Problems only";
}

std::string_view label(DetailedLog value) {
    switch (value) {
        case DetailedLog::off: return "Off";
        case DetailedLog::day: return "For 24 hours";
        case DetailedLog::on: return "Until I turn it off";
    }
    return "";
}

std::string label(ProfileFailure value, std::string_view browser) {
    switch (value) {
        case ProfileFailure::picker: return "Ask with the picker";
        case ProfileFailure::anyway: return "Open " + std::string(browser) + " anyway";
        case ProfileFailure::fallback: return "Use the fallback";
    }
    return "";
}

std::string_view description(PickerTrigger value) {
    switch (value) {
        case PickerTrigger::option:
            return "Pivra registers no shortcut. It only checks whether Option is down when a link arrives. "
                   "Many apps keep Option-click for themselves: Chrome-based apps like Slack and Claude "
                   "download the link instead.";
        case PickerTrigger::shift:
            return "Pivra registers no shortcut. It only checks whether Shift is down when a link arrives, "
                   "so Raycast and other hotkeys are never touched. Shift-click works in Mail, Slack, Claude "
                   "and most other apps.";
        case PickerTrigger::always:
            return "Every link waits for you to pick. Rules only decide which one is picked to start with.";
        case PickerTrigger::never: return "Rules decide every link. The picker never shows.";
    }
    return "";
}

std::string_view description(PickerStart value) {
    return value == PickerStart::first
               ? "The top of the list below is picked every time, whatever the rules say."
               : "Press Return to go along with your rules, or a number to pick another.";
}

std::string description(ProfileFailure value, std::string_view browser, std::string_view fallback) {
    const std::string b(browser);
    switch (value) {
        case ProfileFailure::picker:
            return "Safest. You see the picker instead of a link landing in the wrong profile, like a work "
                   "link in your personal " + b + ".";
        case ProfileFailure::anyway: return "Quietest. " + b + " opens in whichever profile it used last.";
        case ProfileFailure::fallback:
            return "The link goes to " + std::string(fallback) + ", your fallback, as if no rule matched.";
    }
    return "";
}

}  // namespace pivra
