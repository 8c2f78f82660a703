#include "hosts/linux/freedesktop_notifications.hpp"

#include <utility>

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QMetaObject>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace pivra {
namespace {

const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kInterface = QStringLiteral("org.freedesktop.Notifications");
const QString kBusService = QStringLiteral("org.freedesktop.DBus");
const QString kBusPath = QStringLiteral("/org/freedesktop/DBus");

// The action a click on the notification's body invokes; servers that show
// actions as buttons label it with the text that follows it.
const QString kDefaultAction = QStringLiteral("default");
const QString kDefaultActionLabel = QStringLiteral("Open");
// The server chooses how long a notification stays.
constexpr qint32 kServerDefaultTimeout = -1;

QString qt(const std::string& text) { return QString::fromStdString(text); }

std::string describe(const QDBusError& error) {
    if (!error.message().isEmpty()) return error.message().toStdString();
    if (!error.name().isEmpty()) return error.name().toStdString();
    return "the session bus gave no answer";
}

}  // namespace

class FreedesktopNotifications::Receiver final : public QObject {
    Q_OBJECT

public:
    explicit Receiver(FreedesktopNotifications& owner) : owner_(owner) {}

    // `then` runs with the call once it is answered, on a later turn of the
    // loop even when the call failed at once (no bus). Calls still waiting
    // when the receiver goes never run `then`.
    void whenAnswered(const QDBusPendingCall& call, std::function<void(const QDBusPendingCall&)> then) {
        if (call.isFinished()) {
            // Failed before it was sent (no bus): a watcher would never report it.
            QMetaObject::invokeMethod(
                this, [call, then = std::move(then)] { then(call); }, Qt::QueuedConnection);
            return;
        }
        auto* watcher = new QDBusPendingCallWatcher(call, this);
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, this,
                         [then = std::move(then)](QDBusPendingCallWatcher* finished) {
                             finished->deleteLater();
                             then(*finished);
                         });
    }

public slots:
    void actionInvoked(uint id, const QString& actionKey) { owner_.actionInvoked(id, actionKey); }
    void notificationClosed(uint id, uint /*reason*/) { owner_.closed(id); }

private:
    FreedesktopNotifications& owner_;
};

FreedesktopNotifications::FreedesktopNotifications(QDBusConnection connection, std::string appName,
                                                   std::string iconName)
    : connection_(std::move(connection)),
      appName_(qt(appName)),
      iconName_(qt(iconName)),
      receiver_(std::make_unique<Receiver>(*this)) {
    // Matched by the service's name, so that a server that starts later (or
    // again) is heard as well. Without a bus these fail, and nothing is heard.
    connection_.connect(kService, kPath, kInterface, QStringLiteral("ActionInvoked"), receiver_.get(),
                        SLOT(actionInvoked(uint, QString)));
    connection_.connect(kService, kPath, kInterface, QStringLiteral("NotificationClosed"), receiver_.get(),
                        SLOT(notificationClosed(uint, uint)));
}

FreedesktopNotifications::~FreedesktopNotifications() {
    connection_.disconnect(kService, kPath, kInterface, QStringLiteral("ActionInvoked"), receiver_.get(),
                           SLOT(actionInvoked(uint, QString)));
    connection_.disconnect(kService, kPath, kInterface, QStringLiteral("NotificationClosed"), receiver_.get(),
                           SLOT(notificationClosed(uint, uint)));
}

void FreedesktopNotifications::requestAuthorization(Completion done) { findServer(std::move(done)); }

void FreedesktopNotifications::readStatus(std::function<void(NotificationStatus)> done) {
    findServer([done = std::move(done)](std::optional<std::string> error) {
        done(error ? NotificationStatus::unavailable : NotificationStatus::authorized);
    });
}

void FreedesktopNotifications::findServer(std::function<void(std::optional<std::string>)> done) {
    auto hasOwner = QDBusMessage::createMethodCall(kBusService, kBusPath, kBusService, QStringLiteral("NameHasOwner"));
    hasOwner << kService;
    receiver_->whenAnswered(connection_.asyncCall(hasOwner), [this, done = std::move(done)](const QDBusPendingCall& call) mutable {
        const QDBusPendingReply<bool> owned = call;
        if (owned.isError()) return done(describe(owned.error()));
        if (owned.value()) return done(std::nullopt);
        // No server now; the bus may start one on the first post.
        const auto activatable =
            QDBusMessage::createMethodCall(kBusService, kBusPath, kBusService, QStringLiteral("ListActivatableNames"));
        receiver_->whenAnswered(connection_.asyncCall(activatable), [done = std::move(done)](const QDBusPendingCall& call) {
            const QDBusPendingReply<QStringList> names = call;
            if (names.isError()) return done(describe(names.error()));
            if (names.value().contains(kService)) return done(std::nullopt);
            done("No notification server runs on the session bus");
        });
    });
}

void FreedesktopNotifications::post(const NotificationContent& content, Completion done) {
    auto& entry = posted_[content.identifier];
    const std::uint64_t number = nextPost_++;
    entry.lastPost = number;
    ++entry.waiting;

    auto notify = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Notify"));
    notify << appName_ << static_cast<uint>(entry.serverId) << iconName_ << qt(content.title) << qt(content.body)
           << QStringList{kDefaultAction, kDefaultActionLabel}
           << QVariantMap{{QStringLiteral("desktop-entry"), iconName_}} << kServerDefaultTimeout;
    receiver_->whenAnswered(
        connection_.asyncCall(notify),
        [this, identifier = content.identifier, page = content.page, number, done = std::move(done)](
            const QDBusPendingCall& call) mutable {
            const QDBusPendingReply<uint> reply = call;
            if (reply.isError()) {
                unanswered(identifier);
                return done(describe(reply.error()));
            }
            answered(identifier, number, reply.value(), std::move(page));
            done(std::nullopt);
        });
}

void FreedesktopNotifications::answered(const std::string& identifier, std::uint64_t number, std::uint32_t serverId,
                                        std::string page) {
    const auto entry = posted_.find(identifier);
    if (entry == posted_.end()) return close(serverId);  // cannot happen: the post made the entry
    auto& state = entry->second;
    --state.waiting;
    if (number <= state.removedUpTo || number < state.lastAnswered) {
        // Withdrawn, or overtaken by a newer post, before the server answered.
        if (serverId != state.serverId) close(serverId);
        return forget(entry);
    }
    if (state.serverId != 0 && state.serverId != serverId) {
        // A repost sent before the earlier post's answer came could not name
        // it: the server shows both, and the older one goes.
        close(state.serverId);
        shown_.erase(state.serverId);
    }
    state.serverId = serverId;
    state.lastAnswered = number;
    shown_[serverId] = Shown{identifier, std::move(page)};
}

void FreedesktopNotifications::unanswered(const std::string& identifier) {
    const auto entry = posted_.find(identifier);
    if (entry == posted_.end()) return;
    --entry->second.waiting;
    forget(entry);
}

// Drops the entry once nothing is shown for it and no answer is due.
void FreedesktopNotifications::forget(std::map<std::string, Posted>::iterator entry) {
    if (entry->second.serverId == 0 && entry->second.waiting == 0) posted_.erase(entry);
}

void FreedesktopNotifications::remove(const std::vector<std::string>& identifiers) {
    for (const auto& identifier : identifiers) {
        const auto entry = posted_.find(identifier);
        if (entry == posted_.end()) continue;
        auto& state = entry->second;
        if (state.serverId != 0) {
            close(state.serverId);
            shown_.erase(state.serverId);
            state.serverId = 0;
        }
        state.removedUpTo = state.lastPost;
        forget(entry);
    }
}

void FreedesktopNotifications::close(std::uint32_t serverId) {
    auto message = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("CloseNotification"));
    message << static_cast<uint>(serverId);
    // Nothing to do with the answer: a notification already gone is gone.
    connection_.send(message);
}

void FreedesktopNotifications::setOnClick(std::function<void(std::string page)> handler) {
    onClick_ = std::move(handler);
}

void FreedesktopNotifications::actionInvoked(std::uint32_t serverId, const QString& actionKey) {
    // The server tells every client of every action; ours are the ids it gave us.
    if (actionKey != kDefaultAction) return;
    const auto shown = shown_.find(serverId);
    if (shown == shown_.end() || !onClick_) return;
    // A copy: the handler may set another in its place while it runs.
    const auto handler = onClick_;
    handler(shown->second.page);
}

void FreedesktopNotifications::closed(std::uint32_t serverId) {
    const auto shown = shown_.find(serverId);
    if (shown == shown_.end()) return;
    const auto entry = posted_.find(shown->second.identifier);
    shown_.erase(shown);
    if (entry == posted_.end() || entry->second.serverId != serverId) return;
    entry->second.serverId = 0;
    forget(entry);
}

}  // namespace pivra

#include "freedesktop_notifications.moc"
