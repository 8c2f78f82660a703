#include "app/model/app_model.hpp"

#include <vector>

#include "app/storage/file_io.hpp"
#include "core/files/data_location.hpp"
#include "core/files/small_file.hpp"
#include "core/rules/rules_coding.hpp"

namespace pivra {
namespace {
constexpr std::string_view kRulesCategory = "rules";
}

AppModel::AppModel(Ports ports, const std::filesystem::path& dataFolder, std::function<std::string()> newRuleId)
    : ports_(ports),
      newId_(std::move(newRuleId)),
      settings_(ports.preferences),
      store_(dataFolder / kRulesFileName, ports.scheduler, ports.fileWatcher, newId_),
      journal_(dataFolder / kJournalFileName),
      countsFile_(dataFolder / kCountsFileName),
      countsSave_(ports.scheduler, kCountsSaveDelay, [this] { saveCounts(); }) {
    store_.setOnChange([this] { reloadRules(); });
}

void AppModel::start() {
    counts_ = countsFile_.load();
    reloadRules();
    store_.start();
}

void AppModel::terminate() { countsSave_.flush(); }

std::optional<std::string> AppModel::rulesError() const {
    if (!rulesError_) return std::nullopt;
    return rulesErrorText(*rulesError_);
}

void AppModel::reloadRules() {
    auto result = store_.load();
    if (result) {
        rules_ = std::move(*result);
        rulesError_.reset();
        ports_.log.write(LogLevel::notice, kRulesCategory, "Rules loaded: " + std::to_string(rules_.rules.size()));
    } else {
        rulesError_ = std::move(result.error());
        ports_.log.write(LogLevel::error, kRulesCategory, "Rules not loaded: " + rulesErrorText(*rulesError_));
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
        [this, installedApps, profiles, finish](std::optional<std::filesystem::path> location) {
            if (!location) return finish({ImportOutcome::Kind::cancelled, {}});
            const auto bytes = readSmallFile(*location, kMaxRulesFileSize);
            if (!bytes) {
                const bool tooLarge = bytes.error() == FileReadError::tooLarge;
                return finish({ImportOutcome::Kind::failed, std::string(tooLarge ? kImportTooLargeText : kImportUnreadableText)});
            }
            auto decoded = RulesCoding::decode(*bytes);
            if (!decoded) return finish({ImportOutcome::Kind::failed, rulesErrorText(decoded.error())});
            auto gaps = ImportMatcher::gaps(*decoded, installedApps, profiles);
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
    counts_.add(key, ports_.clock.localDay(ports_.clock.now()));
    countsSave_.trigger();
    notify();
}

void AppModel::saveCounts() { countsFile_.save(counts_); }

void AppModel::clearHistory() {
    journal_.clear();
    countsSave_.cancel();
    counts_ = LinkCounts{};
    saveCounts();
    notify();
}

ObserverId AppModel::addObserver(std::function<void()> observer) {
    const ObserverId id = nextObserver_++;
    observers_.emplace(id, std::move(observer));
    return id;
}

void AppModel::removeObserver(ObserverId id) { observers_.erase(id); }

void AppModel::notify() {
    // A copy, so that an observer may add or remove observers.
    std::vector<std::function<void()>> current;
    current.reserve(observers_.size());
    for (const auto& [id, observer] : observers_) current.push_back(observer);
    for (const auto& observer : current) observer();
}

}  // namespace pivra
