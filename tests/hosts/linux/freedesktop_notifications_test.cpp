// Notifications on a D-Bus daemon of the test's own, never the desktop's,
// with a notification server of the test's own on a second connection to it.

#include <optional>
#include <string>
#include <vector>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QStringList>
#include <QVariantMap>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "hosts/linux/freedesktop_notifications.hpp"
#include "hosts/linux/qt_application.hpp"
#include "tests/hosts/linux/private_bus.hpp"
#include "tests/hosts/linux/qt_loop.hpp"
#include "tests/support/fake_ports.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

using testing_support::deliverEvents;
using testing_support::runUntil;
using ::testing::Contains;

const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kInterface = QStringLiteral("org.freedesktop.Notifications");


struct NotifyCall {
    QString appName;
    uint replacesId = 0;
    QString icon;
    QString summary;
    QString body;
    QStringList actions;
    QVariantMap hints;
    int timeout = 0;
};

// Answers Notify with fresh ids (or the id it replaces) and records
// CloseNotification; emits the server's signals on request.
class NotificationServer final : public QDBusVirtualObject {
public:
    explicit NotificationServer(QDBusConnection connection) : connection_(std::move(connection)) {}

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.interface() != kInterface) return false;
        const auto arguments = message.arguments();
        if (message.member() == QStringLiteral("Notify") && arguments.size() == 8) {
            NotifyCall call{arguments[0].toString(), arguments[1].toUInt(), arguments[2].toString(),
                            arguments[3].toString(), arguments[4].toString(), arguments[5].toStringList(),
                            qdbus_cast<QVariantMap>(arguments[6]), arguments[7].toInt()};
            const uint id = call.replacesId != 0 ? call.replacesId : nextId_++;
            notifies.push_back(call);
            connection.send(message.createReply(QVariant::fromValue(id)));
            return true;
        }
        if (message.member() == QStringLiteral("CloseNotification") && arguments.size() == 1) {
            closes.push_back(arguments[0].toUInt());
            connection.send(message.createReply());
            return true;
        }
        return false;
    }

    void emitActionInvoked(uint id, const QString& key) {
        auto signal = QDBusMessage::createSignal(kPath, kInterface, QStringLiteral("ActionInvoked"));
        signal << id << key;
        connection_.send(signal);
    }
    void emitClosed(uint id, uint reason) {
        auto signal = QDBusMessage::createSignal(kPath, kInterface, QStringLiteral("NotificationClosed"));
        signal << id << reason;
        connection_.send(signal);
    }

    std::vector<NotifyCall> notifies;
    std::vector<uint> closes;

private:
    QDBusConnection connection_;
    uint nextId_ = 7;
};

class FreedesktopNotificationsTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_FALSE(bus_.address().isEmpty()) << "dbus-daemon did not start"; }

    void TearDown() override {
        if (server_) serverConnection_.unregisterObject(kPath);
        server_.reset();
        QDBusConnection::disconnectFromBus(QStringLiteral("pivra-server"));
        QDBusConnection::disconnectFromBus(QStringLiteral("pivra-client"));
    }

    QDBusConnection clientConnection() { return QDBusConnection::connectToBus(bus_.address(), QStringLiteral("pivra-client")); }

    // Registers the test's server as the service.
    NotificationServer& startServer() {
        serverConnection_ = QDBusConnection::connectToBus(bus_.address(), QStringLiteral("pivra-server"));
        server_ = std::make_unique<NotificationServer>(serverConnection_);
        EXPECT_TRUE(serverConnection_.registerVirtualObject(kPath, server_.get()));
        EXPECT_TRUE(serverConnection_.registerService(kService));
        return *server_;
    }

    // Posts and waits for the outcome, checking that it came after post returned.
    std::optional<std::string> post(Notifications& notifications, const NotificationContent& content) {
        bool finished = false;
        std::optional<std::string> outcome;
        notifications.post(content, [&](std::optional<std::string> error) {
            finished = true;
            outcome = std::move(error);
        });
        EXPECT_FALSE(finished) << "completed inside post";
        runUntil([&] { return finished; });
        return outcome;
    }

    NotificationStatus status(Notifications& notifications) {
        std::optional<NotificationStatus> answer;
        notifications.readStatus([&](NotificationStatus value) { answer = value; });
        EXPECT_FALSE(answer.has_value()) << "answered inside readStatus";
        runUntil([&] { return answer.has_value(); });
        return answer.value_or(NotificationStatus::notDetermined);
    }

    std::optional<std::string> requestAuthorization(Notifications& notifications) {
        bool finished = false;
        std::optional<std::string> outcome;
        notifications.requestAuthorization([&](std::optional<std::string> error) {
            finished = true;
            outcome = std::move(error);
        });
        runUntil([&] { return finished; });
        return outcome;
    }

    testing_support::RecordingLog log_;
    QtApplication application_{log_};
    testing_support::PrivateBus bus_;
    QDBusConnection serverConnection_{QStringLiteral("pivra-none")};
    std::unique_ptr<NotificationServer> server_;
};

TEST_F(FreedesktopNotificationsTest, WithoutAServerNothingIsAuthorizedAndPostsFail) {
    FreedesktopNotifications notifications(clientConnection());
    EXPECT_EQ(status(notifications), NotificationStatus::unavailable);
    EXPECT_THAT(requestAuthorization(notifications), ::testing::Optional(::testing::Not(::testing::IsEmpty())));
    const auto error = post(notifications, {"rules", "Rules", "The rules file has an error", "rules"});
    ASSERT_TRUE(error.has_value());
    EXPECT_THAT(*error, ::testing::HasSubstr("org.freedesktop.Notifications"));
}

TEST_F(FreedesktopNotificationsTest, WithoutABusEveryCallReportsIt) {
    FreedesktopNotifications notifications(
        QDBusConnection::connectToBus(QStringLiteral("unix:path=/nonexistent/bus"), QStringLiteral("pivra-client")));
    EXPECT_EQ(status(notifications), NotificationStatus::unavailable);
    EXPECT_TRUE(requestAuthorization(notifications).has_value());
    EXPECT_TRUE(post(notifications, {"rules", "Rules", "Body", "rules"}).has_value());
    notifications.remove({"rules"});  // nothing known, nothing sent
}

TEST_F(FreedesktopNotificationsTest, PostsRepostsClicksAndWithdrawsThroughTheServer) {
    // Made before the server starts: its signals are heard all the same.
    FreedesktopNotifications notifications(clientConnection());
    std::vector<std::string> clicked;
    notifications.setOnClick([&](std::string page) { clicked.push_back(std::move(page)); });
    auto& server = startServer();
    EXPECT_EQ(status(notifications), NotificationStatus::authorized);
    EXPECT_EQ(requestAuthorization(notifications), std::nullopt);

    EXPECT_EQ(post(notifications, {"rules", "Rules have an error", "Line 3: “,” expected", "rules"}), std::nullopt);
    EXPECT_EQ(post(notifications, {"default", "Not the default browser", "Links go elsewhere", "general"}), std::nullopt);
    EXPECT_EQ(post(notifications, {"rules", "Rules have an error", "Line 9", "rules-again"}), std::nullopt);
    ASSERT_EQ(server.notifies.size(), 3u);
    const auto& first = server.notifies[0];
    EXPECT_EQ(first.appName, QStringLiteral("Pivra"));
    EXPECT_EQ(first.replacesId, 0u);
    EXPECT_EQ(first.icon, QStringLiteral("app.omra.pivra"));
    EXPECT_EQ(first.summary, QStringLiteral("Rules have an error"));
    EXPECT_EQ(first.body, QStringLiteral("Line 3: “,” expected"));
    EXPECT_THAT(first.actions, Contains(QStringLiteral("default")));
    EXPECT_EQ(first.actions.size() % 2, 0) << "actions come as key and label";
    EXPECT_EQ(first.hints.value(QStringLiteral("desktop-entry")).toString(), QStringLiteral("app.omra.pivra"));
    EXPECT_EQ(first.timeout, -1);
    EXPECT_EQ(server.notifies[1].replacesId, 0u) << "another identifier";
    EXPECT_EQ(server.notifies[2].replacesId, 7u) << "the repost replaces the first";

    // Clicks: ours by id and default action; another action, or an id not ours, does nothing.
    server.emitActionInvoked(7, QStringLiteral("dismiss"));
    server.emitActionInvoked(99, QStringLiteral("default"));
    server.emitActionInvoked(8, QStringLiteral("default"));
    server.emitActionInvoked(7, QStringLiteral("default"));
    runUntil([&] { return clicked.size() >= 2; });
    EXPECT_EQ(clicked, (std::vector<std::string>{"general", "rules-again"}));

    // Withdrawn: closed by the server's id, unknown identifiers ignored, and
    // a click on it afterwards is nobody's.
    notifications.remove({"rules", "never-posted"});
    runUntil([&] { return !server.closes.empty(); });
    EXPECT_EQ(server.closes, std::vector<uint>{7});
    // Closed by the user: forgotten, so withdrawing it sends nothing. Each
    // post's answer comes after the signals the server sent before it.
    server.emitClosed(8, 2);
    server.emitActionInvoked(7, QStringLiteral("default"));
    EXPECT_EQ(post(notifications, {"marker", "Marker", "", "marker"}), std::nullopt);
    EXPECT_EQ(clicked.size(), 2u);
    notifications.remove({"default"});
    EXPECT_EQ(post(notifications, {"other", "Other", "", "other"}), std::nullopt);
    EXPECT_EQ(server.closes, std::vector<uint>{7});
    EXPECT_EQ(server.notifies.back().replacesId, 0u);
}

TEST_F(FreedesktopNotificationsTest, AWithdrawalBeforeTheServerAnswersClosesWhatItShows) {
    auto& server = startServer();
    FreedesktopNotifications notifications(clientConnection());
    bool finished = false;
    notifications.post({"rules", "Rules", "Body", "rules"}, [&](std::optional<std::string> error) {
        finished = true;
        EXPECT_EQ(error, std::nullopt);
    });
    notifications.remove({"rules"});
    runUntil([&] { return finished && !server.closes.empty(); });
    ASSERT_EQ(server.notifies.size(), 1u);
    EXPECT_EQ(server.closes, std::vector<uint>{7});
    // Nothing is left under the identifier: a new post is a new notification.
    EXPECT_EQ(post(notifications, {"rules", "Rules", "Again", "rules"}), std::nullopt);
    EXPECT_EQ(server.notifies.back().replacesId, 0u);
}

}  // namespace
}  // namespace pivra
