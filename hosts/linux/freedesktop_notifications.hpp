#pragma once
// Notifications through the desktop's notification server: the service
// org.freedesktop.Notifications on the session bus, which every Linux desktop
// provides (or starts on demand). There is no permission to ask for: the app
// may post whenever a server is there. Calls are asynchronous on Qt's loop;
// the thread that makes this object, and runs the loop, is the main thread.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QDBusConnection>
#include <QString>

#include "app/ports/notifications.hpp"

namespace pivra {

class FreedesktopNotifications final : public Notifications {
public:
    // `appName` is shown by the server as the sender; `iconName` is an icon
    // theme name, and also the desktop-file id the server may use to find
    // the app's entry. A QCoreApplication must exist. `connection` may be
    // disconnected (no session bus): every call then reports that.
    explicit FreedesktopNotifications(QDBusConnection connection = QDBusConnection::sessionBus(),
                                      std::string appName = "Pivra", std::string iconName = "app.omra.pivra");
    // Calls still waiting for their answer never complete.
    ~FreedesktopNotifications() override;
    FreedesktopNotifications(const FreedesktopNotifications&) = delete;
    FreedesktopNotifications& operator=(const FreedesktopNotifications&) = delete;

    // Success when a server owns the service or the bus can start one.
    void requestAuthorization(Completion done) override;
    // authorized when a server is there or can be started, else unavailable.
    void readStatus(std::function<void(NotificationStatus)> done) override;
    // A post with an identifier posted before replaces that notification.
    void post(const NotificationContent& content, Completion done) override;
    void remove(const std::vector<std::string>& identifiers) override;
    void setOnClick(std::function<void(std::string page)> handler) override;

private:
    class Receiver;  // the QObject that the server's signals and the calls' answers reach
    friend class Receiver;

    // What is known of one identifier. Posts are numbered in the order made;
    // the server answers them in that order, but a removal can come between
    // a post and its answer.
    struct Posted {
        std::uint32_t serverId = 0;     // 0 while the server has not answered
        std::uint64_t lastPost = 0;     // the number of the newest post
        std::uint64_t lastAnswered = 0; // the newest post whose answer came
        std::uint64_t removedUpTo = 0;  // posts up to this one were withdrawn
        int waiting = 0;                // posts not yet answered
    };
    struct Shown {
        std::string identifier;
        std::string page;
    };

    void answered(const std::string& identifier, std::uint64_t number, std::uint32_t serverId, std::string page);
    void unanswered(const std::string& identifier);
    void forget(std::map<std::string, Posted>::iterator entry);
    void close(std::uint32_t serverId);
    void actionInvoked(std::uint32_t serverId, const QString& actionKey);
    void closed(std::uint32_t serverId);
    // Whether a server is there or can be started; `done` runs on a later turn of the loop.
    void findServer(std::function<void(std::optional<std::string> error)> done);

    QDBusConnection connection_;
    QString appName_;
    QString iconName_;
    std::unique_ptr<Receiver> receiver_;
    std::function<void(std::string)> onClick_;
    std::map<std::string, Posted> posted_;  // by identifier
    std::map<std::uint32_t, Shown> shown_;  // by the server's id
    std::uint64_t nextPost_ = 1;
};

}  // namespace pivra
