#pragma once
// Problems posted as system notifications: at most once an hour each, unless
// the user switched them off; a click opens the page that fixes the problem.

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "app/model/problem.hpp"
#include "app/ports/clock.hpp"
#include "app/ports/log.hpp"
#include "app/ports/notifications.hpp"
#include "app/storage/settings.hpp"

namespace pivra {

// How long the same problem stays quiet after it was posted.
inline constexpr Seconds kProblemRepostInterval{3600};

class Notifier {
public:
    Notifier(Notifications& notifications, Settings& settings, Clock& clock, Log& log);
    Notifier(const Notifier&) = delete;
    Notifier& operator=(const Notifier&) = delete;

    // Posts the problem unless notifications are off or it was posted less
    // than an hour ago (remembered across launches in "notifiedAt").
    void notify(const Problem& problem, const ProblemText& text);
    // Withdraws the delivered notifications of these problems.
    void clear(const std::vector<std::string>& identifiers);

    // Reads the system's status, keeps it and logs it.
    void refreshStatus();
    // Asks the user for leave to post; then reads the status again.
    void requestPermission();
    NotificationStatus status() const { return status_; }
    // Called with the page of a clicked notification; a page name that is
    // not one gives the general page.
    void setOnOpen(std::function<void(SettingsPage)> handler) { onOpen_ = std::move(handler); }
    // Called whenever the status changes.
    void setOnStatusChange(std::function<void()> handler) { onStatusChange_ = std::move(handler); }

    // Posts sent and not yet answered; `handler` runs each time the last one is answered.
    std::size_t postsInFlight() const { return inFlight_; }
    void setOnAllPosted(std::function<void()> handler) { onAllPosted_ = std::move(handler); }

    // Where the system keeps the app's notification settings.
    static std::string systemSettingsLink(std::string_view appIdentifier);

private:
    Notifications& notifications_;
    Settings& settings_;
    Clock& clock_;
    Log& log_;
    NotificationStatus status_ = NotificationStatus::notDetermined;
    std::function<void(SettingsPage)> onOpen_;
    std::function<void()> onStatusChange_;
    std::function<void()> onAllPosted_;
    std::size_t inFlight_ = 0;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace pivra
