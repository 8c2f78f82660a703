#include "app/model/notifier.hpp"

#include <memory>

namespace pivra {
namespace {

constexpr std::string_view kCategory = "notifications";

double unixSeconds(Instant instant) { return std::chrono::duration<double>(instant.time_since_epoch()).count(); }

bool allows(NotificationStatus status) {
    return status == NotificationStatus::authorized || status == NotificationStatus::provisional;
}

}  // namespace

Notifier::Notifier(Notifications& notifications, Settings& settings, Clock& clock, Log& log)
    : notifications_(notifications), settings_(settings), clock_(clock), log_(log) {
    notifications_.setOnClick([this, alive = std::weak_ptr<bool>(alive_)](std::string page) {
        if (alive.lock() && onOpen_) onOpen_(settingsPageNamed(page));
    });
}

void Notifier::notify(const Problem& problem, const ProblemText& text) {
    if (settings_.notifications() == NotificationsPref::off) return;
    const std::string id = problem.identifier();
    const double now = unixSeconds(clock_.now());
    PreferenceDictionary postedAt = settings_.notifiedAt();
    if (const auto last = postedAt.find(id); last != postedAt.end() && now - last->second < kProblemRepostInterval.count()) {
        return;
    }
    postedAt[id] = now;
    settings_.setNotifiedAt(postedAt);
    ++inFlight_;
    notifications_.post(NotificationContent{id, text.title, text.body, std::string(rawValue(problem.page()))},
                        [this, alive = std::weak_ptr<bool>(alive_)](std::optional<std::string> error) {
                            if (!alive.lock()) return;
                            if (error) log_.write(LogLevel::error, kCategory, "Notification not posted: " + *error);
                            if (--inFlight_ == 0 && onAllPosted_) onAllPosted_();
                        });
}

void Notifier::clear(const std::vector<std::string>& identifiers) { notifications_.remove(identifiers); }

void Notifier::refreshStatus() {
    notifications_.readStatus([this, alive = std::weak_ptr<bool>(alive_)](NotificationStatus status) {
        if (!alive.lock()) return;
        log_.write(LogLevel::notice, kCategory, std::string("Notifications ") + (allows(status) ? "allowed" : "not allowed"));
        if (status == status_) return;
        status_ = status;
        if (onStatusChange_) onStatusChange_();
    });
}

void Notifier::requestPermission() {
    notifications_.requestAuthorization([this, alive = std::weak_ptr<bool>(alive_)](std::optional<std::string> error) {
        if (!alive.lock()) return;
        if (error) log_.write(LogLevel::error, kCategory, "Notifications not allowed: " + *error);
        refreshStatus();
    });
}

std::string Notifier::systemSettingsLink(std::string_view appIdentifier) {
    return "x-apple.systempreferences:com.apple.Notifications-Settings.extension?id=" + std::string(appIdentifier);
}

}  // namespace pivra
