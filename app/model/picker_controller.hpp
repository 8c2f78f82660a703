#pragma once
// The picker: a floating panel where the user routes links by hand. The
// controller owns what the panel shows (a PickerState) while it is up; links
// that arrive from the same app meanwhile join it, and one choice serves them all.

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "app/model/link_picker.hpp"
#include "app/ports/pasteboard.hpp"
#include "app/ports/picker_window.hpp"
#include "app/ports/screens.hpp"
#include "app/ports/workspace.hpp"
#include "core/browsers/browser_profile.hpp"
#include "core/rules/rules_file.hpp"

namespace pivra {

class AppModel;

namespace PickerText {
inline constexpr std::string_view kLastUsedProfile = "Last used profile";
inline constexpr std::string_view kLinksAtOnceSuffix = " links at once";
inline constexpr std::string_view kPickedOnce = "Picked once for all of them. They open in the order they came.";
inline constexpr std::string_view kFromPrefix = "From ";
inline constexpr std::string_view kFromUnknownApp = "From an unknown app";
inline constexpr std::string_view kRememberSite = "Remember for this site";
inline constexpr std::string_view kRememberApp = "Remember for this app";
}  // namespace PickerText

// Virtual key codes of the keys the picker answers.
namespace PickerKeyCode {
inline constexpr int kReturn = 36;
inline constexpr int kKeypadEnter = 76;
inline constexpr int kEscape = 53;
inline constexpr int kDown = 125;
inline constexpr int kUp = 126;
}  // namespace PickerKeyCode

// How many rows carry a number key ("1" to "9").
inline constexpr int kPickerNumberKeys = 9;

// One row of the list.
struct PickerEntry {
    Target target;
    std::string name;  // the browser's or app's name
    std::string sub;   // the profile's name, or a word about the entry

    bool operator==(const PickerEntry&) const = default;
};

// An entry as the list builder gives it, with its key and whether the user
// shows it; the picker order editor of the settings lists all of them.
struct PickerOrderItem {
    PickerEntry entry;
    std::string key;  // "bundleID/profileDir", or the bundle identifier alone
    bool shown = true;

    bool operator==(const PickerOrderItem&) const = default;
};

// The key that `pickerOrder` and `pickerHidden` store for an entry.
std::string pickerEntryKey(const Target& target);

// Every entry in picker order: the browsers in their order, one entry per
// known profile, then sorted stably so the keys in `order` come first in its
// order and the rest follow in browser order. `hidden` entries are kept, not shown.
std::vector<PickerOrderItem> pickerOrderList(const std::vector<BrowserApp>& browsers,
                                             const std::map<std::string, std::vector<BrowserProfile>>& profiles,
                                             const std::vector<std::string>& hidden,
                                             const std::vector<std::string>& order);

// The shown entries of pickerOrderList, as the picker lists them.
std::vector<PickerEntry> pickerEntries(const std::vector<BrowserApp>& browsers,
                                       const std::map<std::string, std::vector<BrowserProfile>>& profiles,
                                       const std::vector<std::string>& hidden, const std::vector<std::string>& order);

// The row selected when the panel opens: the suggested target's (0 when it
// is absent or not listed), or always 0 when `startAtFirst`.
int pickerStartIndex(const std::vector<PickerEntry>& entries, const std::optional<Target>& suggested,
                     bool startAtFirst);

// "Rule 3" for the rule at zero-based `ruleIndex` 2.
std::string pickerRuleLabel(long long ruleIndex);

// What a key press asks of the picker.
namespace PickerAction {
struct Copy {
    bool operator==(const Copy&) const = default;
};
struct PickSelected {
    bool operator==(const PickSelected&) const = default;
};
struct Up {
    bool operator==(const Up&) const = default;
};
struct Down {
    bool operator==(const Down&) const = default;
};
struct Cancel {
    bool operator==(const Cancel&) const = default;
};
struct Pick {
    int index = 0;  // zero-based
    bool operator==(const Pick&) const = default;
};
}  // namespace PickerAction
using PickerKeyAction = std::variant<PickerAction::Copy, PickerAction::PickSelected, PickerAction::Up,
                                     PickerAction::Down, PickerAction::Cancel, PickerAction::Pick>;

// The action for `key`, absent when the picker leaves the key alone.
// `copies`: ⌘C copies the links (otherwise "c" is an unhandled key).
std::optional<PickerKeyAction> pickerKeyAction(const PickerKey& key, bool copies);

// One row as the panel draws it.
struct PickerRow {
    PickerEntry entry;
    std::optional<int> number;            // its key, 1 to 9; none from the tenth row on
    std::optional<std::string> ruleLabel; // "Rule 2" on the row the rules picked
    bool selected = false;

    bool operator==(const PickerRow&) const = default;
};

// What the panel shows and the user's choices on it, from when it opens to
// the finish. The panel redraws on the observer's call.
class PickerState {
public:
    using Finish = std::function<void(std::optional<Target>, bool remember)>;

    PickerState(AppModel& model, Pasteboard& pasteboard, const PickRequest& request,
                LinkPicker::Completion completion);

    const std::vector<std::string>& links() const { return links_; }
    const Source& source() const { return source_; }
    const std::vector<PickerEntry>& entries() const { return entries_; }
    long long batch() const { return batch_; }
    int selected() const { return selected_; }
    bool remember() const { return remember_; }
    bool copied() const { return copied_; }
    const std::optional<int>& ruleIndex() const { return ruleIndex_; }
    const std::optional<Target>& suggested() const { return suggested_; }
    // The first link's host as the link has it; empty when it has none.
    const std::string& host() const { return host_; }

    // A link from the same source joins: it opens with the same choice.
    void join(std::string link, LinkPicker::Completion completion);
    // Takes the completions, in arrival order, leaving none.
    std::vector<LinkPicker::Completion> takeCompletions();

    void setFinish(Finish finish) { finish_ = std::move(finish); }
    void setObserver(std::function<void()> observer) { observer_ = std::move(observer); }

    // The selection, kept within the entries.
    void select(int index);
    void setRemember(bool remember);
    // Handles a key; true when it was the picker's.
    bool handleKey(const PickerKey& key);
    // Finishes with entry `index`; nothing when out of range or already finished.
    void pick(int index);
    // Puts every link on the pasteboard, one a line, and finishes without opening any.
    void copy();
    void cancel();

    // --- What the panel shows ---
    std::vector<PickerRow> rows() const;
    // The link itself, or "2 links at once".
    std::string title() const;
    // Under the title when several links wait; empty for one.
    std::string explanation() const;
    // "From Slack", or "From an unknown app".
    std::string sourceLine() const;
    bool rememberShown() const;
    std::string rememberLabel() const;
    std::string rememberCaption() const;

private:
    void changed();

    AppModel& model_;
    Pasteboard& pasteboard_;
    std::vector<std::string> links_;
    Source source_;
    std::vector<PickerEntry> entries_;
    long long batch_ = 0;
    std::vector<LinkPicker::Completion> completions_;
    int selected_ = 0;
    bool remember_ = false;
    bool copied_ = false;
    std::optional<int> ruleIndex_;
    std::optional<Target> suggested_;
    std::string host_;
    Finish finish_;
    std::function<void()> observer_;
};

// The one picker of the running app. The panel shows state() from each
// show until its close; the links it holds complete exactly once each.
class PickerController final : public LinkPicker {
public:
    // The model and the ports must outlive the controller.
    PickerController(AppModel& model, PickerWindow& window, Screens& screens, Pasteboard& pasteboard);
    // Links still waiting complete without a choice: none is dropped silently.
    ~PickerController() override;
    PickerController(const PickerController&) = delete;
    PickerController& operator=(const PickerController&) = delete;

    bool isCollecting(long long batch) const override;
    // Joins the panel that is up for the same source; otherwise closes any
    // other panel, whose links then complete without a choice, and opens one.
    void pick(PickRequest request, Completion completion) override;

    // The state of the panel on screen, or none.
    PickerState* state() { return state_.get(); }
    // Ends the picker: every waiting link completes with `choice` in arrival
    // order, `remember` going to the first only. Nothing when already ended.
    void finish(std::optional<Target> choice, bool remember);

private:
    void closePanel();

    AppModel& model_;
    PickerWindow& window_;
    Screens& screens_;
    Pasteboard& pasteboard_;
    std::unique_ptr<PickerState> state_;
};

}  // namespace pivra
