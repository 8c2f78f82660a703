#pragma once
// The application delegate of Pivra.app, behind plain C++. Qt installs its
// own delegate while the QApplication is made, and in its
// applicationWillFinishLaunching registers its own get-URL handler, which
// drops the sender. This puts a delegate in front of Qt's: every message it
// does not take itself goes on to Qt's, and after Qt's
// applicationWillFinishLaunching it registers Pivra's get-URL handler in
// place of Qt's, still before AppKit delivers the event that launched the
// app. Install after the QApplication is made and before its event loop
// first runs (no processEvents in between: Qt would finish launching then).

#include <functional>
#include <string_view>

#include <sys/types.h>

namespace pivra::mac {

struct AppEvents {
    // A get-URL event: the direct object's text and the sender's process
    // ("spid"; 0 when the event does not say). Events without a text are
    // dropped here. Also each document opened with the app, as its file URL.
    // On the main thread.
    std::function<void(std::string_view text, pid_t sender)> link;
    // applicationDidFinishLaunching, after Qt's.
    std::function<void()> finishedLaunching;
    // applicationShouldHandleReopen: the app was opened again while running.
    std::function<void()> reopened;
};

void installAppDelegate(AppEvents events);

}  // namespace pivra::mac
