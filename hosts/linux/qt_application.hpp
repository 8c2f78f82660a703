#pragma once
// The QCoreApplication that a host's loop, timers and notifiers need. A
// program that made its own (the desktop app makes a QApplication before its
// host) keeps it, and the host uses it. Otherwise hosts make one and share
// it; the last of them to go destroys it. Main thread only.

#include <memory>

#include "app/ports/log.hpp"

class QCoreApplication;

namespace pivra {

class QtApplication {
public:
    // While this lives, Qt's own messages (warnings about the system's
    // locale, say) go to `log` under "qt" instead of straight to standard
    // error, so that a quiet log keeps them quiet.
    explicit QtApplication(Log& log);
    ~QtApplication();
    QtApplication(const QtApplication&) = delete;
    QtApplication& operator=(const QtApplication&) = delete;

private:
    Log& log_;
    std::shared_ptr<QCoreApplication> made_;
};

}  // namespace pivra
