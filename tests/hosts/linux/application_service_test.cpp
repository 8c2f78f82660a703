// The app's service on a D-Bus daemon of the test's own: the links of an Open
// call with the source named or found from the caller, the one-instance name,
// and the calls the app answers with an error.

#include <unistd.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingReply>
#include <QSet>
#include <QStringList>
#include <QVariantMap>
#include <gtest/gtest.h>

#include "hosts/linux/application_service.hpp"
#include "hosts/linux/qt_application.hpp"
#include "tests/hosts/linux/private_bus.hpp"
#include "tests/hosts/linux/qt_loop.hpp"
#include "tests/support/fake_ports.hpp"

namespace pivra {
namespace {

using testing_support::runUntil;

constexpr Seconds kPatience{30};
const QString kName = QStringLiteral("app.omra.pivra");

class ApplicationServiceTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_FALSE(bus_.address().isEmpty()) << "dbus-daemon did not start";
        service_ = std::make_unique<ApplicationService>(connection("pivra-app"));
        service_->setOnOpen([this](const LinkDelivery& delivery) { deliveries_.push_back(delivery); });
        service_->setOnActivate([this] { ++activations_; });
        ASSERT_EQ(service_->start(), ApplicationService::Registration::registered);
    }

    // Qt keeps a named connection for the process: each test's go with its bus.
    void TearDown() override {
        service_.reset();
        for (const auto& name : names_) QDBusConnection::disconnectFromBus(name);
    }

    QDBusConnection connection(const char* name) {
        names_.insert(QString::fromLatin1(name));
        return QDBusConnection::connectToBus(bus_.address(), QString::fromLatin1(name));
    }

    // A call as any app makes it; its answer once it has come.
    QDBusMessage call(const QString& member, const QList<QVariant>& arguments) {
        auto message = QDBusMessage::createMethodCall(kName, QString::fromLatin1(kAppObjectPath),
                                                      QString::fromLatin1(kApplicationInterface), member);
        message.setArguments(arguments);
        QDBusPendingCall pending = connection("caller").asyncCall(message);
        runUntil([&] { return pending.isFinished(); });
        return pending.reply();
    }

    testing_support::RecordingLog log_;
    QtApplication application_{log_};
    testing_support::PrivateBus bus_;
    std::unique_ptr<ApplicationService> service_;
    std::vector<LinkDelivery> deliveries_;
    QSet<QString> names_;
    int activations_ = 0;
};

TEST_F(ApplicationServiceTest, HandedLinksArriveWithTheSourceTheSenderNamed) {
    for (const std::optional<std::string>& source : {std::optional<std::string>("org.gnome.Evolution"),
                                                     std::optional<std::string>(""), std::optional<std::string>()}) {
        deliveries_.clear();
        const auto handOver = handOverLinks(connection("pivra-open"), {"https://a.test/x", "https://b.test/"}, source, kPatience);
        ASSERT_EQ(handOver.kind, HandOver::Kind::accepted) << handOver.error;
        ASSERT_EQ(deliveries_.size(), 1u) << "taken before the answer came";
        EXPECT_EQ(deliveries_[0].links, (std::vector<std::string>{"https://a.test/x", "https://b.test/"}));
        EXPECT_EQ(deliveries_[0].source, source) << "an empty source is the unknown app, not a missing one";
        // Without a source the app looks at the caller, which waits for the answer meanwhile.
        if (!source) {
            EXPECT_EQ(deliveries_[0].callerPid, ::getpid());
        }
    }
}

TEST_F(ApplicationServiceTest, WithoutANamedSourceTheCallersProcessIsAskedOfTheBus) {
    const QVariantMap platformData{{QStringLiteral("desktop-startup-id"), QStringLiteral("x")}};
    const auto answer = call(QStringLiteral("Open"), {QStringList{QStringLiteral("https://c.test/")}, platformData});
    ASSERT_EQ(answer.type(), QDBusMessage::ReplyMessage) << answer.errorMessage().toStdString();
    ASSERT_EQ(deliveries_.size(), 1u);
    EXPECT_EQ(deliveries_[0].source, std::nullopt);
    EXPECT_EQ(deliveries_[0].callerPid, ::getpid()) << "the caller is this test";

    // A source of another type is no source.
    const QVariantMap wrongType{{QString::fromLatin1(kSourcePlatformKey), 42}};
    call(QStringLiteral("Open"), {QStringList{QStringLiteral("https://d.test/")}, wrongType});
    ASSERT_EQ(deliveries_.size(), 2u);
    EXPECT_EQ(deliveries_[1].source, std::nullopt);
    EXPECT_EQ(deliveries_[1].callerPid, ::getpid());
}

TEST_F(ApplicationServiceTest, ActivateIsHeardAndWhatTheAppDoesNotHaveIsAnError) {
    EXPECT_EQ(call(QStringLiteral("Activate"), {QVariantMap{}}).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(activations_, 1);

    const auto action = call(QStringLiteral("ActivateAction"),
                             {QStringLiteral("quit"), QVariant::fromValue(QVariantList{}), QVariantMap{}});
    EXPECT_EQ(action.type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(action.errorName().toStdString(), kNoSuchActionError);
    EXPECT_EQ(action.errorMessage().toStdString(), "Pivra has no action “quit”");

    const struct {
        const char* member;
        QList<QVariant> arguments;
    } refused[] = {
        {"Open", {QStringLiteral("https://a.test/")}},  // a string where a list and platform data belong
        {"Activate", {}},
        {"Quit", {}},
    };
    for (const auto& c : refused) {
        EXPECT_EQ(call(QString::fromLatin1(c.member), c.arguments).type(), QDBusMessage::ErrorMessage) << c.member;
    }
    EXPECT_TRUE(deliveries_.empty());
    EXPECT_EQ(activations_, 1);
}

TEST_F(ApplicationServiceTest, OneInstanceOwnsTheNameAndItsEndLetsTheNextOneIn) {
    ApplicationService second(connection("pivra-second"));
    EXPECT_EQ(second.start(), ApplicationService::Registration::nameTaken);
    // The first one still has the links.
    EXPECT_EQ(handOverLinks(connection("pivra-open"), {"https://a.test/"}, "", kPatience).kind, HandOver::Kind::accepted);
    EXPECT_EQ(deliveries_.size(), 1u);

    service_.reset();
    const auto nobody = handOverLinks(connection("pivra-open"), {"https://a.test/"}, "", kPatience);
    EXPECT_EQ(nobody.kind, HandOver::Kind::unavailable) << nobody.error;
    ApplicationService third(connection("pivra-third"));
    EXPECT_EQ(third.start(), ApplicationService::Registration::registered);

    names_.insert(QStringLiteral("none"));
    const auto noBus = QDBusConnection::connectToBus(QStringLiteral("unix:path=/nonexistent/bus"), QStringLiteral("none"));
    EXPECT_EQ(ApplicationService(noBus).start(), ApplicationService::Registration::noBus);
    EXPECT_EQ(handOverLinks(noBus, {"https://a.test/"}, "", kPatience).kind, HandOver::Kind::unavailable);
}

}  // namespace
}  // namespace pivra
