#include "app/model/app_model.hpp"

#include <algorithm>
#include <vector>

#include "app/storage/file_io.hpp"
#include "core/browsers/browsers.hpp"
#include "core/files/data_location.hpp"
#include "core/files/small_file.hpp"
#include "core/routing/link.hpp"
#include "core/rules/rules_coding.hpp"
#include "core/text/ascii_case.hpp"

namespace pivra {
namespace {
constexpr std::string_view kRulesCategory = "rules";
}

AppModel::AppModel(Ports ports, ModelFolders folders, std::function<std::string()> newId)
    : ports_(ports),
      folders_(std::move(folders)),
      newId_(newId ? newId : makeRuleId),
      newRowId_(newId ? std::move(newId)
                      : std::function<std::string()>([random = std::make_shared<std::mt19937_64>(std::random_device{}())] {
                            return uuidFromBits((*random)(), (*random)());
                        })),
      settings_(ports.preferences),
      notifier_(ports.notifications, settings_, ports.clock, ports.log),
      store_(folders_.rulesFile(), ports.scheduler, ports.fileWatcher, newId_),
      journal_(folders_.journalFile()),
      countsFile_(folders_.countsFile()),
      countsSave_(ports.scheduler, kCountsSaveDelay, [this] { saveCounts(); }) {
    store_.setOnChange([this] { reloadRules(); });
    notifier_.setOnOpen([this](SettingsPage page) { openSettings(page); });
    // The General page says when the system keeps notifications off.
    notifier_.setOnStatusChange([this] { notify(); });
}

AppModel::~AppModel() { *alive_ = false; }

void AppModel::start() {
    // Observers hear of the whole start once.
    quiet_ = true;
    counts_ = countsFile_.load();
    reloadRules();
    store_.start();
    refreshBrowsers();
    refreshDefaultBrowser();
    opensAtLogin_ = ports_.loginItem.isEnabled();
    notifier_.refreshStatus();
    quiet_ = false;
    notify();
}

void AppModel::terminate() { countsSave_.flush(); }

std::optional<std::string> AppModel::rulesError() const {
    if (!rulesError_) return std::nullopt;
    return rulesErrorText(*rulesError_);
}

void AppModel::reloadRules() {
    ++rulesLoads_;
    auto result = store_.load();
    if (result) {
        rules_ = std::move(*result);
        rulesError_.reset();
        clearProblem(rawValue(ProblemKind::rulesError));
        ports_.log.write(LogLevel::notice, kRulesCategory, "Rules loaded: " + std::to_string(rules_.rules.size()));
    } else {
        rulesError_ = std::move(result.error());
        ports_.log.write(LogLevel::error, kRulesCategory, "Rules not loaded: " + rulesErrorText(*rulesError_));
        raiseProblem(Problem::rulesError(rulesErrorText(*rulesError_)));
    }
    notify();
}

bool AppModel::editRules(const std::function<void(RulesFile&)>& edit) {
    // The file may have changed under us within the last 0.2 s: take that in first.
    store_.settlePendingReload();
    if (rulesError_) {
        ports_.log.write(LogLevel::error, kRulesCategory, std::string(kRulesEditRefusedLog));
        return false;
    }
    edit(rules_);
    store_.save(rules_);
    notify();
    return true;
}

void AppModel::exportRules(std::function<void(bool)> done) {
    ports_.dialogs.chooseSaveLocation(
        SavePanelRequest{std::string(kExportFileName), "json"},
        [this, done = std::move(done)](std::optional<std::filesystem::path> location) {
            bool written = false;
            if (location) {
                written = writeFileAtomically(*location, RulesCoding::encode(rules_));
                if (!written) {
                    ports_.log.write(LogLevel::error, kRulesCategory,
                                     LogMessage("Couldn’t export the rules to ", location->string(), ""));
                }
            }
            if (done) done(written);
        });
}

void AppModel::importRules(const std::set<std::string>& installedApps,
                           const std::map<std::string, std::vector<BrowserProfile>>& profiles,
                           std::function<void(const ImportOutcome&)> done) {
    importRulesWith([installedApps](const RulesFile&) { return installedApps; }, profiles, std::move(done));
}

void AppModel::importRules(std::function<void(const ImportOutcome&)> done) {
    importRulesWith(
        [this](const RulesFile& file) {
            std::set<std::string> named;
            for (const auto& rule : file.rules) {
                named.insert(rule.open.app);
                if (rule.from != "*") named.insert(rule.from);
            }
            std::set<std::string> installed;
            for (const auto& id : named) {
                if (ports_.workspace.application(id)) installed.insert(id);
            }
            return installed;
        },
        profiles_, std::move(done));
}

void AppModel::importRulesWith(std::function<std::set<std::string>(const RulesFile&)> installed,
                               std::map<std::string, std::vector<BrowserProfile>> profiles,
                               std::function<void(const ImportOutcome&)> done) {
    // Copied into the panel's completion, which may run after this returns.
    const auto finish = [this, done = std::move(done)](const ImportOutcome& outcome) {
        if (outcome.kind == ImportOutcome::Kind::refused || outcome.kind == ImportOutcome::Kind::failed) {
            ports_.log.write(LogLevel::error, kRulesCategory, "Not imported: " + outcome.message);
        }
        if (done) done(outcome);
    };
    if (rulesError_) return finish({ImportOutcome::Kind::refused, std::string(kImportRefusedText)});

    ports_.dialogs.chooseFileToOpen(
        OpenPanelRequest{"json"},
        [this, installed = std::move(installed), profiles = std::move(profiles),
         finish](std::optional<std::filesystem::path> location) {
            if (!location) return finish({ImportOutcome::Kind::cancelled, {}});
            const auto bytes = readSmallFile(*location, kMaxRulesFileSize);
            if (!bytes) {
                const bool tooLarge = bytes.error() == FileReadError::tooLarge;
                return finish({ImportOutcome::Kind::failed, std::string(tooLarge ? kImportTooLargeText : kImportUnreadableText)});
            }
            auto decoded = RulesCoding::decode(*bytes);
            if (!decoded) return finish({ImportOutcome::Kind::failed, rulesErrorText(decoded.error())});
            auto gaps = ImportMatcher::gaps(*decoded, installed(*decoded), profiles);
            pendingImport_ = PendingImport{newId_(), std::move(*decoded), std::move(gaps)};
            notify();
            finish({ImportOutcome::Kind::pending, {}});
        });
}

bool AppModel::acceptImport(RulesFile resolved) {
    store_.settlePendingReload();
    if (rulesError_) {
        ports_.log.write(LogLevel::error, kRulesCategory, std::string(kRulesEditRefusedLog));
        return false;
    }
    fillInMissingIds(resolved, newId_);
    pendingImport_.reset();
    return editRules([&](RulesFile& rules) { rules = std::move(resolved); });
}

void AppModel::cancelImport() {
    if (!pendingImport_) return;
    pendingImport_.reset();
    notify();
}

void AppModel::countLink(std::string_view key) {
    if (!settings_.countLinks()) return;
    const CalendarDay today = ports_.clock.localDay(ports_.clock.now());
    counts_.add(key, today);
    unsavedCounts_.add(key, today);
    countsSave_.trigger();
    notify();
}

void AppModel::saveCounts() {
    if (unsavedCounts_.days.empty()) return;
    // Merged into the file as other processes left it; on failure the
    // increments wait for the next save.
    auto onDisk = countsFile_.addAndSave(unsavedCounts_, ports_.clock.localDay(ports_.clock.now()));
    if (!onDisk) return;
    unsavedCounts_ = LinkCounts{};
    if (*onDisk == counts_) return;
    counts_ = std::move(*onDisk);  // with what the others counted meanwhile
    notify();
}

void AppModel::clearHistory() {
    journal_.clear();
    countsSave_.cancel();
    counts_ = LinkCounts{};
    unsavedCounts_ = LinkCounts{};
    countsFile_.clear();
    notify();
}

Updater& AppModel::updater() {
    if (!updater_) {
        updater_ = std::make_unique<Updater>(UpdaterPorts::from(ports_), settings_, updaterSetup_, [this] { return isIdle(); });
        updater_->addObserver([this] { notify(); });
    }
    return *updater_;
}

bool AppModel::isIdle() const {
    if (windowInFront_) return false;
    return !lastLinkAt_ || ports_.clock.now() - *lastLinkAt_ >= kIdleAfterLastLink;
}

ObserverId AppModel::addObserver(std::function<void()> observer) {
    const ObserverId id = nextObserver_++;
    observers_.emplace(id, std::move(observer));
    return id;
}

void AppModel::removeObserver(ObserverId id) { observers_.erase(id); }

void AppModel::notify() {
    if (quiet_) return;
    // A copy, so that an observer may add or remove observers.
    std::vector<std::function<void()>> current;
    current.reserve(observers_.size());
    for (const auto& [id, observer] : observers_) current.push_back(observer);
    for (const auto& observer : current) observer();
}

}  // namespace pivra

namespace pivra {

// --- Apps and browsers ----------------------------------------------------------

void AppModel::refreshBrowsers() {
    browsers_ = ports_.workspace.installedBrowsers();
    profiles_.clear();
    for (const auto& browser : browsers_) {
        const auto info = Browsers::lookup(browser.id);
        if (!info) continue;
        if (auto found = discoverProfiles(*info, folders_.home)) profiles_[browser.id] = std::move(*found);
    }
    notify();
}

std::string AppModel::appName(std::string_view id) const {
    const auto browser = std::find_if(browsers_.begin(), browsers_.end(), [&](const BrowserApp& b) { return b.id == id; });
    if (browser != browsers_.end()) return browser->name;
    if (const auto app = ports_.workspace.application(id); app && !app->name.empty()) return app->name;
    return std::string(id);
}

std::string AppModel::targetName(const Target& target) const {
    std::string name = appName(target.app);
    if (!target.profile) return name;
    std::string profileName = *target.profile;
    if (const auto found = profiles_.find(target.app); found != profiles_.end()) {
        for (const auto& profile : found->second) {
            if (profile.id == *target.profile) profileName = profile.name;
        }
    }
    return name + " · " + profileName;
}

std::string AppModel::sourceName(const Source& source) const {
    return source.bundleId ? appName(*source.bundleId) : std::string(LinkText::kUnknownApp);
}

void AppModel::refreshDefaultBrowser() {
    isDefault_ = ports_.workspace.isDefaultBrowser();
    if (isDefault_) {
        clearProblem(rawValue(ProblemKind::notDefault));
    } else {
        raiseProblem(Problem::notDefault());
    }
    notify();
}

void AppModel::makeDefaultBrowser() {
    ports_.workspace.makeDefaultBrowser(guardedResult<bool>([this](bool) { refreshDefaultBrowser(); }));
}

void AppModel::appBecameActive() {
    refreshDefaultBrowser();
    notifier_.refreshStatus();
}

void AppModel::openSettings(SettingsPage page) {
    settingsPage_ = page;
    notify();
    if (onOpenSettings_) onOpenSettings_(page);
}

bool AppModel::setOpensAtLogin(bool enabled) {
    const bool changed = ports_.loginItem.setEnabled(enabled);
    opensAtLogin_ = ports_.loginItem.isEnabled();
    notify();
    return changed;
}

// --- Menu -------------------------------------------------------------------------

Menu AppModel::menu() const {
    const Instant now = ports_.clock.now();
    Menu menu;
    const bool paused = settings_.isPaused(now);
    if (paused) {
        menu.status = std::string(MenuText::kPausedPrefix) + targetName(rules_.fallback);
    } else if (settings_.countInMenu()) {
        // Yesterday's count is not today's, even before today's first link.
        const std::int64_t today = countedDay_ == ports_.clock.localDay(now) ? linksToday_ : 0;
        menu.status = std::to_string(today) + std::string(MenuText::kLinksTodaySuffix);
    }
    menu.notGettingLinks = !isDefault_;
    menu.showError = rulesError_.has_value();
    const auto shown = static_cast<std::size_t>(std::clamp<std::int64_t>(settings_.recentCount(), 0, kMaxRecentLinks));
    for (std::size_t i = 0; i < recentLinks_.size() && i < shown; ++i) {
        const RecentLink& link = recentLinks_[i];
        menu.recent.push_back(MenuRecentRow{link.id, link.url, recentRowText(link, targetName(link.target))});
    }
    menu.canOpenAgain = picker_ != nullptr;
    const bool untilResumed = settings_.pausedUntilResumed();
    menu.timedPauseAction = paused && !untilResumed ? MenuText::kResume : MenuText::kPauseForAnHour;
    menu.pauseAction = untilResumed ? MenuText::kTurnOn : MenuText::kPausePivra;
    menu.problemDot = !problems_.empty();
    return menu;
}

void AppModel::pauseFor(Seconds duration) {
    settings_.pause(duration, ports_.clock.now());
    notify();
}

void AppModel::pauseUntilResumed() {
    settings_.pauseUntilResumed();
    notify();
}

void AppModel::resume() {
    settings_.resume();
    notify();
}

bool AppModel::optionClick() {
    if (!settings_.optionClickPauses()) return false;
    if (settings_.isPaused(ports_.clock.now())) {
        resume();
    } else {
        pauseUntilResumed();
    }
    return true;
}

bool AppModel::openAgain(std::string_view recentId) {
    const auto row = std::find_if(recentLinks_.begin(), recentLinks_.end(), [&](const RecentLink& l) { return l.id == recentId; });
    if (row == recentLinks_.end() || !picker_) return false;
    const auto link = parseLink(row->url);
    if (!link) return false;
    Decision decision;
    decision.url = *link;
    decision.target = row->target;
    decision.reason = row->reason;
    routeToPicker(row->source, decision, 0, ports_.clock.now(), row->id, false);
    return true;
}

std::optional<std::string> AppModel::makeRule(std::string_view recentId) {
    const auto row = std::find_if(recentLinks_.begin(), recentLinks_.end(), [&](const RecentLink& l) { return l.id == recentId; });
    if (row == recentLinks_.end()) return std::nullopt;
    const auto link = parseLink(row->url);
    Rule rule;
    rule.id = newId_();
    rule.from = row->source.bundleId.value_or("*");
    std::string host = link ? std::string(link->encoded_host()) : std::string();
    lowerAsciiInPlace(host);
    if (host.starts_with("www.")) host.erase(0, 4);
    rule.match = host.empty() ? Match::any() : Match::domains({host});
    rule.open = row->target;
    // First, so that it takes this link whatever the rules below say.
    if (!editRules([&](RulesFile& rules) { rules.rules.insert(rules.rules.begin(), rule); })) return std::nullopt;
    focusRuleID_ = rule.id;
    notify();
    return rule.id;
}

}  // namespace pivra
