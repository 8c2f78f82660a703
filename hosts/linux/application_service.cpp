#include "hosts/linux/application_service.hpp"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusReply>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QStringList>
#include <QVariantMap>

namespace pivra {
namespace {

const QString kInterface = QString::fromLatin1(kApplicationInterface);

constexpr auto kIntrospection = R"(  <interface name="org.freedesktop.Application">
    <method name="Activate">
      <arg type="a{sv}" name="platform_data" direction="in"/>
    </method>
    <method name="Open">
      <arg type="as" name="uris" direction="in"/>
      <arg type="a{sv}" name="platform_data" direction="in"/>
    </method>
    <method name="ActivateAction">
      <arg type="s" name="action_name" direction="in"/>
      <arg type="av" name="parameter" direction="in"/>
      <arg type="a{sv}" name="platform_data" direction="in"/>
    </method>
  </interface>
)";

// A message argument as the type wanted: Qt hands over containers it did not
// recognise as a QDBusArgument still to be read.
template <typename T>
T argumentAs(const QVariant& argument) {
    if (argument.canConvert<QDBusArgument>() && argument.userType() == qMetaTypeId<QDBusArgument>()) {
        return qdbus_cast<T>(argument.value<QDBusArgument>());
    }
    return argument.value<T>();
}

// A platform-data value: a variant inside the variant, which Qt may leave wrapped.
QVariant unwrapped(QVariant value) {
    while (value.userType() == qMetaTypeId<QDBusVariant>()) value = value.value<QDBusVariant>().variant();
    return value;
}

}  // namespace

class ApplicationService::Object final : public QDBusVirtualObject {
public:
    explicit Object(ApplicationService& owner) : owner_(owner) {}

    QString introspect(const QString& /*path*/) const override { return QString::fromLatin1(kIntrospection); }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.type() != QDBusMessage::MethodCallMessage) return false;
        if (!message.interface().isEmpty() && message.interface() != kInterface) return false;
        const QString member = message.member();
        const QString signature = message.signature();
        if (member == QLatin1String("Activate") && signature == QLatin1String("a{sv}")) {
            if (owner_.onActivate_) owner_.onActivate_();
            reply(message, connection, message.createReply());
            return true;
        }
        if (member == QLatin1String("Open") && signature == QLatin1String("asa{sv}")) {
            open(message, connection);
            return true;
        }
        if (member == QLatin1String("ActivateAction") && signature == QLatin1String("sava{sv}")) {
            const QString name = message.arguments().value(0).toString();
            reply(message, connection,
                  message.createErrorReply(QString::fromLatin1(kNoSuchActionError),
                                           QStringLiteral("Pivra has no action “%1”").arg(name)));
            return true;
        }
        return false;  // Qt answers with its "unknown method" error
    }

private:
    static void reply(const QDBusMessage& call, const QDBusConnection& connection, const QDBusMessage& answer) {
        if (!call.isReplyRequired()) return;
        QDBusConnection(connection).send(answer);
    }

    void open(const QDBusMessage& message, const QDBusConnection& connection) {
        const auto arguments = message.arguments();
        LinkDelivery delivery;
        for (const auto& uri : argumentAs<QStringList>(arguments.value(0))) delivery.links.push_back(uri.toStdString());
        const auto platformData = argumentAs<QVariantMap>(arguments.value(1));
        const auto named = platformData.constFind(QString::fromLatin1(kSourcePlatformKey));
        if (named != platformData.constEnd() && unwrapped(*named).userType() == QMetaType::QString) {
            delivery.source = unwrapped(*named).toString().toStdString();
        } else {
            // Asked now, while the caller waits for the answer and is surely
            // still connected: once it has gone the bus no longer knows it.
            const QDBusReply<uint> pid = connection.interface()->servicePid(message.service());
            if (pid.isValid()) delivery.callerPid = static_cast<pid_t>(pid.value());
        }
        if (owner_.onOpen_) owner_.onOpen_(delivery);
        reply(message, connection, message.createReply());
    }

    ApplicationService& owner_;
};

ApplicationService::ApplicationService(QDBusConnection connection, std::string serviceName)
    : connection_(std::move(connection)), serviceName_(std::move(serviceName)), object_(std::make_unique<Object>(*this)) {}

ApplicationService::~ApplicationService() {
    if (nameOwned_) connection_.unregisterService(QString::fromStdString(serviceName_));
    if (objectRegistered_) connection_.unregisterObject(QString::fromLatin1(kAppObjectPath));
}

ApplicationService::Registration ApplicationService::start() {
    if (!connection_.isConnected()) return Registration::noBus;
    // The object first: a call the bus queued for the name is delivered the
    // moment the name is ours, and must find it.
    if (!objectRegistered_) {
        objectRegistered_ = connection_.registerVirtualObject(QString::fromLatin1(kAppObjectPath), object_.get());
        if (!objectRegistered_) return Registration::nameTaken;
    }
    // Qt asks without queueing and without letting another take the name over.
    nameOwned_ = connection_.registerService(QString::fromStdString(serviceName_));
    if (nameOwned_) return Registration::registered;
    connection_.unregisterObject(QString::fromLatin1(kAppObjectPath));
    objectRegistered_ = false;
    return connection_.isConnected() ? Registration::nameTaken : Registration::noBus;
}

HandOver handOverLinks(QDBusConnection connection, const std::vector<std::string>& links,
                       const std::optional<std::string>& source, Seconds timeout, const std::string& serviceName) {
    if (!connection.isConnected()) return HandOver{HandOver::Kind::unavailable, "no session bus"};
    QStringList uris;
    for (const auto& link : links) uris << QString::fromStdString(link);
    QVariantMap platformData;
    if (source) platformData.insert(QString::fromLatin1(kSourcePlatformKey), QString::fromStdString(*source));
    auto call = QDBusMessage::createMethodCall(QString::fromStdString(serviceName), QString::fromLatin1(kAppObjectPath),
                                               kInterface, QStringLiteral("Open"));
    call << uris << platformData;
    const auto milliseconds = static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(timeout).count());
    // The loop turns while waiting, so that a service on this same thread
    // (in tests) can answer; nothing else is scheduled while `pivra open` waits.
    const QDBusMessage answer = connection.call(call, QDBus::BlockWithGui, milliseconds);
    if (answer.type() == QDBusMessage::ReplyMessage) return HandOver{HandOver::Kind::accepted, {}};
    const QDBusError error(answer);
    const std::string text = error.name().toStdString() + ": " + error.message().toStdString();
    // No owner and no service file, or no bus after all: nobody was asked.
    const bool nobody = error.type() == QDBusError::ServiceUnknown || error.type() == QDBusError::Disconnected ||
                        error.name() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
    return HandOver{nobody ? HandOver::Kind::unavailable : HandOver::Kind::failed, text};
}

}  // namespace pivra
