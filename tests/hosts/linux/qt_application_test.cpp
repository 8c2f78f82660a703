// The QCoreApplication under the Linux host: Qt's own messages go to the
// host's log while it lives. Sharing the application is tested on whole hosts.

#include <string>
#include <vector>

#include <QLoggingCategory>
#include <QString>
#include <QtGlobal>
#include <gtest/gtest.h>

#include "hosts/linux/qt_application.hpp"
#include "tests/support/fake_ports.hpp"

namespace pivra {
namespace {

std::vector<std::string> messagesBeforeAndAfter;
void recordMessage(QtMsgType, const QMessageLogContext&, const QString& text) {
    messagesBeforeAndAfter.push_back(text.toStdString());
}

TEST(QtApplication, QtsMessagesGoToTheLogWhileItLivesAndToTheFormerHandlerAfter) {
    const QtMessageHandler saved = qInstallMessageHandler(recordMessage);
    messagesBeforeAndAfter.clear();
    testing_support::RecordingLog outer;
    testing_support::RecordingLog inner;
    {
        QtApplication first(outer);
        qWarning("to the outer log");
        {
            QtApplication second(inner);  // the newest takes the messages
            qCritical("to the inner log");
        }
        qInfo("to the outer log again");
        const QLoggingCategory category("qt.somewhere");
        qCWarning(category, "said where");
    }
    qWarning("to the former handler");
    qInstallMessageHandler(saved);
    using Line = testing_support::RecordingLog::Line;
    EXPECT_EQ(outer.lines, (std::vector<Line>{{LogLevel::notice, "qt", "to the outer log"},
                                              {LogLevel::info, "qt", "to the outer log again"},
                                              {LogLevel::notice, "qt", "qt.somewhere: said where"}}));
    EXPECT_EQ(inner.lines, (std::vector<Line>{{LogLevel::error, "qt", "to the inner log"}}));
    EXPECT_EQ(messagesBeforeAndAfter, std::vector<std::string>{"to the former handler"});
}

}  // namespace
}  // namespace pivra
