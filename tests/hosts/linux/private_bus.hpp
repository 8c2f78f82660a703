#pragma once
// A D-Bus daemon of the test's own, never the desktop's: a child process
// ended with the object. It starts no services on demand, so that "no
// server" means none.

#include <string_view>

#include <QProcess>
#include <QString>
#include <QStringList>

#include "tests/support/temp_folder.hpp"

namespace pivra::testing_support {

inline constexpr std::string_view kBusConfig = R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:tmpdir=/tmp</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

// A dbus-daemon child process, ended with the object.
class PrivateBus {
public:
    PrivateBus() {
        const auto config = folder_.write("bus.conf", kBusConfig);
        daemon_.start(QStringLiteral("dbus-daemon"),
                      {QStringLiteral("--config-file=") + QString::fromStdString(config.string()),
                       QStringLiteral("--nofork"), QStringLiteral("--print-address=1")});
        // The daemon prints its address once it listens; the bounds only keep a fault from hanging.
        if (!daemon_.waitForStarted(30'000)) return;
        while (!daemon_.canReadLine() && daemon_.waitForReadyRead(30'000)) {
        }
        address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
    }
    ~PrivateBus() {
        daemon_.kill();
        daemon_.waitForFinished(30'000);
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    const QString& address() const { return address_; }

private:
    TempFolder folder_;
    QProcess daemon_;
    QString address_;
};

}  // namespace pivra::testing_support
