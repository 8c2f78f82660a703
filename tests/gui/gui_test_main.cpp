// The screens' tests run in one QApplication on Qt's offscreen platform.

#include <gtest/gtest.h>

#include <QApplication>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // The offscreen platform says so whenever a window is raised or grabs the keyboard.
    static const QtMessageHandler standard = qInstallMessageHandler(nullptr);
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext& context, const QString& text) {
        if (text.startsWith(QLatin1String("This plugin does not support"))) return;
        standard(type, context, text);
    });
    QApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
