#pragma once
// The system's notifications: asking leave to post, posting, withdrawing, and
// hearing of a click.

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace pivra {

// Whether the app may post, as the system says.
enum class NotificationStatus {
    notDetermined,  // the user was never asked
    denied,
    authorized,
    provisional,    // delivered quietly, to the notification list only
    unavailable,    // the platform has no notification service now
};

struct NotificationContent {
    std::string identifier;  // a later post with the same identifier replaces the earlier one
    std::string title;
    std::string body;
    std::string page;        // handed back on a click
};

class Notifications {
public:
    // Receives nothing when it worked, else what went wrong in a few words.
    using Completion = std::function<void(std::optional<std::string> error)>;

    virtual ~Notifications() = default;

    // Asks the user for leave to show alerts with sound. `done` runs once on
    // the main thread; where there is nothing to ask, it reports success at once.
    virtual void requestAuthorization(Completion done) = 0;

    // The current status, to `done` once on the main thread.
    virtual void readStatus(std::function<void(NotificationStatus)> done) = 0;

    // Posts the notification. `done` runs once on the main thread, never
    // before this returns; with an error where no service takes it.
    virtual void post(const NotificationContent& content, Completion done) = 0;

    // Withdraws the delivered notifications with these identifiers; unknown ones are ignored.
    virtual void remove(const std::vector<std::string>& identifiers) = 0;

    // `handler` runs on the main thread with the page of a notification the
    // user clicked (as posted; empty when the system lost it).
    virtual void setOnClick(std::function<void(std::string page)> handler) = 0;
};

}  // namespace pivra
