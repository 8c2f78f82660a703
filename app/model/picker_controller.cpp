#include "app/model/picker_controller.hpp"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "app/model/app_model.hpp"
#include "app/model/picker_placement.hpp"

namespace pivra {

std::string pickerEntryKey(const Target& target) {
    return target.profile ? target.app + "/" + *target.profile : target.app;
}

std::vector<PickerOrderItem> pickerOrderList(const std::vector<BrowserApp>& browsers,
                                             const std::map<std::string, std::vector<BrowserProfile>>& profiles,
                                             const std::vector<std::string>& hidden,
                                             const std::vector<std::string>& order) {
    const std::unordered_set<std::string> hiddenKeys(hidden.begin(), hidden.end());
    std::vector<PickerOrderItem> items;
    auto add = [&](PickerEntry entry) {
        std::string key = pickerEntryKey(entry.target);
        const bool shown = !hiddenKeys.contains(key);
        items.push_back(PickerOrderItem{std::move(entry), std::move(key), shown});
    };
    for (const BrowserApp& browser : browsers) {
        const auto known = profiles.find(browser.id);
        if (known == profiles.end() || known->second.empty()) {
            add(PickerEntry{Target{browser.id, std::nullopt}, browser.name, std::string(PickerText::kLastUsedProfile)});
            continue;
        }
        for (const BrowserProfile& profile : known->second) {
            add(PickerEntry{Target{browser.id, profile.id}, browser.name, profile.name});
        }
    }

    // A key listed twice ranks at its first place.
    std::unordered_map<std::string, std::size_t> ordered;
    for (std::size_t i = 0; i < order.size(); ++i) ordered.try_emplace(order[i], i);
    std::vector<std::pair<std::size_t, std::size_t>> ranks;  // rank, catalogue position
    for (std::size_t i = 0; i < items.size(); ++i) {
        const auto place = ordered.find(items[i].key);
        ranks.emplace_back(place != ordered.end() ? place->second : order.size() + i, i);
    }
    std::stable_sort(ranks.begin(), ranks.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<PickerOrderItem> sorted;
    sorted.reserve(items.size());
    for (const auto& [rank, position] : ranks) sorted.push_back(std::move(items[position]));
    return sorted;
}

std::vector<PickerEntry> pickerEntries(const std::vector<BrowserApp>& browsers,
                                       const std::map<std::string, std::vector<BrowserProfile>>& profiles,
                                       const std::vector<std::string>& hidden, const std::vector<std::string>& order) {
    std::vector<PickerEntry> entries;
    for (auto& item : pickerOrderList(browsers, profiles, hidden, order)) {
        if (item.shown) entries.push_back(std::move(item.entry));
    }
    return entries;
}

int pickerStartIndex(const std::vector<PickerEntry>& entries, const std::optional<Target>& suggested,
                     bool startAtFirst) {
    if (startAtFirst || !suggested) return 0;
    const auto match = std::find_if(entries.begin(), entries.end(),
                                    [&](const PickerEntry& entry) { return entry.target == *suggested; });
    return match == entries.end() ? 0 : static_cast<int>(match - entries.begin());
}

std::string pickerRuleLabel(long long ruleIndex) { return "Rule " + std::to_string(ruleIndex + 1); }

namespace {

// A whole decimal integer, with an optional leading sign, and nothing else.
std::optional<long long> wholeNumber(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return std::nullopt;
    }
    long long value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || text.empty()) return std::nullopt;
    return value;
}

}  // namespace

std::optional<PickerKeyAction> pickerKeyAction(const PickerKey& key, bool copies) {
    if (key.command && key.characters == "c" && copies) return PickerAction::Copy{};
    switch (key.keyCode) {
        case PickerKeyCode::kReturn:
        case PickerKeyCode::kKeypadEnter: return PickerAction::PickSelected{};
        case PickerKeyCode::kUp: return PickerAction::Up{};
        case PickerKeyCode::kDown: return PickerAction::Down{};
        case PickerKeyCode::kEscape: return PickerAction::Cancel{};
        default: break;
    }
    const auto number = wholeNumber(key.characters);
    if (number && *number >= 1 && *number <= kPickerNumberKeys) {
        return PickerAction::Pick{static_cast<int>(*number - 1)};
    }
    return std::nullopt;
}

// --- The state ----------------------------------------------------------------

PickerState::PickerState(AppModel& model, Pasteboard& pasteboard, const PickRequest& request,
                         LinkPicker::Completion completion)
    : model_(model),
      pasteboard_(pasteboard),
      links_{std::string(request.decision.url.buffer())},
      source_(request.source),
      batch_(request.batch),
      host_(request.decision.url.encoded_host()) {
    completions_.push_back(std::move(completion));
    Settings& settings = model.settings();
    entries_ = pickerEntries(model.browsers(), model.profiles(), settings.pickerHidden(), settings.pickerOrder());
    const Decision& decision = request.decision;
    if (decision.reason.kind() == DecisionReasonKind::rule) ruleIndex_ = decision.reason.index();
    // Paused and loop-guarded links suggest nothing: no rule took them.
    if (decision.reason.kind() == DecisionReasonKind::rule || decision.reason.kind() == DecisionReasonKind::fallback) {
        suggested_ = decision.target;
    }
    selected_ = pickerStartIndex(entries_, suggested_, settings.pickerStart() == PickerStart::first);
}

void PickerState::join(std::string link, LinkPicker::Completion completion) {
    links_.push_back(std::move(link));
    completions_.push_back(std::move(completion));
    changed();
}

std::vector<LinkPicker::Completion> PickerState::takeCompletions() { return std::exchange(completions_, {}); }

void PickerState::changed() {
    if (observer_) observer_();
}

void PickerState::select(int index) {
    const int last = std::max(0, static_cast<int>(entries_.size()) - 1);
    const int clamped = std::clamp(index, 0, last);
    if (clamped == selected_) return;
    selected_ = clamped;
    changed();
}

void PickerState::setRemember(bool remember) {
    if (remember == remember_) return;
    remember_ = remember;
    changed();
}

bool PickerState::handleKey(const PickerKey& key) {
    const auto action = pickerKeyAction(key, model_.settings().pickerCopies());
    if (!action) return false;
    std::visit(
        [&](const auto& act) {
            using A = std::decay_t<decltype(act)>;
            if constexpr (std::is_same_v<A, PickerAction::Copy>) copy();
            else if constexpr (std::is_same_v<A, PickerAction::PickSelected>) pick(selected_);
            else if constexpr (std::is_same_v<A, PickerAction::Up>) select(selected_ - 1);
            else if constexpr (std::is_same_v<A, PickerAction::Down>) select(selected_ + 1);
            else if constexpr (std::is_same_v<A, PickerAction::Cancel>) cancel();
            else if constexpr (std::is_same_v<A, PickerAction::Pick>) pick(act.index);
        },
        *action);
    return true;
}

void PickerState::pick(int index) {
    if (index < 0 || index >= static_cast<int>(entries_.size()) || !finish_) return;
    // The finish may destroy this state: copy what it needs first.
    const Finish finish = finish_;
    finish(entries_[static_cast<std::size_t>(index)].target, remember_);
}

void PickerState::copy() {
    std::string text;
    for (const auto& link : links_) text += (text.empty() ? "" : "\n") + link;
    pasteboard_.putText(text);
    copied_ = true;
    changed();
    if (finish_) {
        const Finish finish = finish_;
        finish(std::nullopt, false);
    }
}

void PickerState::cancel() {
    if (!finish_) return;
    const Finish finish = finish_;
    finish(std::nullopt, false);
}

std::vector<PickerRow> PickerState::rows() const {
    std::vector<PickerRow> rows;
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        PickerRow row{entries_[i], std::nullopt, std::nullopt, static_cast<int>(i) == selected_};
        if (i < kPickerNumberKeys) row.number = static_cast<int>(i) + 1;
        if (ruleIndex_ && suggested_ && entries_[i].target == *suggested_) row.ruleLabel = pickerRuleLabel(*ruleIndex_);
        rows.push_back(std::move(row));
    }
    return rows;
}

std::string PickerState::title() const {
    if (links_.size() == 1) return links_.front();
    return std::to_string(links_.size()) + std::string(PickerText::kLinksAtOnceSuffix);
}

std::string PickerState::explanation() const {
    return links_.size() > 1 ? std::string(PickerText::kPickedOnce) : std::string();
}

std::string PickerState::sourceLine() const {
    if (source_.isUnknown()) return std::string(PickerText::kFromUnknownApp);
    return std::string(PickerText::kFromPrefix) + model_.appName(*source_.bundleId);
}

bool PickerState::rememberShown() const {
    return model_.settings().pickerOffersRule() && !source_.isUnknown() && !host_.empty();
}

std::string PickerState::rememberLabel() const {
    return std::string(links_.size() > 1 ? PickerText::kRememberApp : PickerText::kRememberSite);
}

std::string PickerState::rememberCaption() const {
    const std::string app = source_.bundleId ? model_.appName(*source_.bundleId) : std::string();
    if (links_.size() > 1) return "Always open links from " + app + " in the one you pick";
    return "Always open " + host_ + " from " + app + " in the one you pick";
}

// --- The controller -----------------------------------------------------------

PickerController::PickerController(AppModel& model, PickerWindow& window, Screens& screens, Pasteboard& pasteboard)
    : model_(model), window_(window), screens_(screens), pasteboard_(pasteboard) {}

PickerController::~PickerController() {
    // Links still waiting are never dropped silently.
    finish(std::nullopt, false);
}

bool PickerController::isCollecting(long long batch) const {
    return state_ && state_->batch() == batch && window_.isVisible();
}

void PickerController::pick(PickRequest request, Completion completion) {
    if (state_ && state_->source() == request.source && window_.isVisible()) {
        state_->join(std::string(request.decision.url.buffer()), std::move(completion));
        return;
    }
    // A panel for another source (or one no longer on screen) gives way; its
    // links complete without a choice, so the model records each of them.
    finish(std::nullopt, false);

    state_ = std::make_unique<PickerState>(model_, pasteboard_, request, std::move(completion));
    state_->setFinish([this](std::optional<Target> choice, bool remember) { finish(std::move(choice), remember); });
    window_.setHooks([this](const PickerKey& key) { return state_ ? state_->handleKey(key) : false; },
                     [this] { finish(std::nullopt, false); });
    const ScreenSize size = window_.fittingSize();
    const ScreenPoint origin = pickerOrigin(screens_.pointer(), screens_.screens(), screens_.mainScreen(), size,
                                            model_.settings().pickerPlacement());
    window_.show(ScreenRect{origin.x, origin.y, size.width, size.height});
}

void PickerController::finish(std::optional<Target> choice, bool remember) {
    if (!state_) return;
    // Taken first, so that a finish from within a completion does nothing;
    // closed before the completions run, so that a panel one of them opens
    // is not the one closed.
    const std::unique_ptr<PickerState> state = std::move(state_);
    closePanel();
    bool first = true;
    for (auto& completion : state->takeCompletions()) {
        completion(choice, first && remember);
        first = false;
    }
}

void PickerController::closePanel() {
    // Without its hooks, hiding the panel does not count as a cancel.
    window_.setHooks({}, {});
    window_.close();
}

}  // namespace pivra
