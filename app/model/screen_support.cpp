// The parts of AppModel that exist for the settings and onboarding screens.

#include <algorithm>

#include "app/model/app_model.hpp"

namespace pivra {

Instant AppModel::now() const { return ports_.clock.now(); }

CalendarDay AppModel::localDay(Instant instant) const { return ports_.clock.localDay(instant); }

std::map<std::string, std::int64_t> AppModel::countTotals(int days) const {
    return counts_.totals(localDay(now()), days);
}

std::vector<LogEntry> AppModel::recentJournal() const {
    return journal_.entries(now() - std::chrono::duration_cast<Instant::duration>(kJournalReadWindow));
}

void AppModel::changeSettings(const std::function<void(Settings&)>& change) {
    change(settings_);
    notify();
}

void AppModel::setDetailedLog(DetailedLog value) {
    settings_.setDetailedLog(value, now());
    notify();
}

std::vector<InstalledApp> AppModel::installedKnownApps() const {
    std::vector<InstalledApp> found;
    const auto take = [&](const std::vector<std::string_view>& list) {
        for (const auto id : list) {
            const bool listed = std::any_of(found.begin(), found.end(), [&](const InstalledApp& app) { return app.id == id; });
            if (listed) continue;
            if (auto app = ports_.workspace.application(id)) found.push_back(std::move(*app));
        }
    };
    take(KnownApps::workApps());
    take(KnownApps::messagingApps());
    take(KnownApps::workOrPersonalApps());
    take(KnownApps::developerTools());
    return found;
}

std::vector<Suggestion> AppModel::starterSuggestions() const {
    std::set<std::string> installed;
    for (const auto& app : installedKnownApps()) installed.insert(app.id);
    if (ports_.workspace.application(KnownApps::kSiteApp)) installed.insert(std::string(KnownApps::kSiteApp));
    std::vector<std::string> browserIds;
    for (const auto& browser : browsers_) browserIds.push_back(browser.id);
    return Starter::suggestions(installed, profiles_, browserIds);
}

}  // namespace pivra
