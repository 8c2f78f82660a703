#include "hosts/linux/qt_application.hpp"

#include <algorithm>
#include <clocale>
#include <cstring>
#include <mutex>
#include <vector>

#include <QCoreApplication>
#include <QString>
#include <QtGlobal>

namespace pivra {
namespace {

// Qt's messages may come from any of its threads; they go to the log of the
// newest QtApplication alive. Never destroyed: a message may come during exit.
struct MessageRoute {
    std::mutex mutex;
    std::vector<Log*> logs;
    QtMessageHandler previous = nullptr;
};

MessageRoute& messageRoute() {
    static auto* route = new MessageRoute;
    return *route;
}

LogLevel levelOf(QtMsgType type) {
    switch (type) {
        case QtDebugMsg: return LogLevel::debug;
        case QtInfoMsg: return LogLevel::info;
        case QtWarningMsg: return LogLevel::notice;
        case QtCriticalMsg: return LogLevel::error;
        case QtFatalMsg: return LogLevel::fault;
    }
    return LogLevel::notice;
}

void routeMessage(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    auto& route = messageRoute();
    const std::lock_guard lock(route.mutex);
    if (route.logs.empty()) {
        if (route.previous) route.previous(type, context, text);
        return;
    }
    std::string line = text.toStdString();
    // Qt's own logging categories ("qt.qpa.xcb") say where a message is from.
    if (context.category && std::strcmp(context.category, "default") != 0) line = std::string(context.category) + ": " + line;
    route.logs.back()->write(levelOf(type), "qt", LogMessage(std::move(line)));
}

void startRouting(Log& log) {
    auto& route = messageRoute();
    const std::lock_guard lock(route.mutex);
    if (route.logs.empty()) route.previous = qInstallMessageHandler(routeMessage);
    route.logs.push_back(&log);
}

void stopRouting(Log& log) {
    auto& route = messageRoute();
    const std::lock_guard lock(route.mutex);
    route.logs.erase(std::find(route.logs.begin(), route.logs.end(), &log));
    if (!route.logs.empty()) return;
    // Back to the handler found, unless the program has put in its own since.
    const QtMessageHandler current = qInstallMessageHandler(route.previous);
    if (current != routeMessage) qInstallMessageHandler(current);
    route.previous = nullptr;
}

std::shared_ptr<QCoreApplication> shareApplication() {
    static std::weak_ptr<QCoreApplication> made;
    if (auto application = made.lock()) return application;
    if (QCoreApplication::instance() != nullptr) return nullptr;  // the program's own
    // Qt keeps references to both for the application's life.
    static int argc = 1;
    static char name[] = "pivra";
    static char* argv[] = {name, nullptr};
    auto application = std::make_shared<QCoreApplication>(argc, argv);
    made = application;
    return application;
}

}  // namespace

QtApplication::QtApplication(Log& log) : log_(log) {
    startRouting(log_);
    made_ = shareApplication();
    // Making an application applies the user's locale to every category of
    // the C library's. Numbers keep the "." that our files use: the core reads
    // them with the C library, which would expect a German user's comma.
    std::setlocale(LC_NUMERIC, "C");
}

QtApplication::~QtApplication() {
    made_.reset();
    stopRouting(log_);
}

}  // namespace pivra
