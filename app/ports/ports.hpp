#pragma once
// The set of ports a host hands to the app. Each refers to an object the host
// owns and keeps alive for as long as the host lives.

#include "app/ports/clock.hpp"
#include "app/ports/dialogs.hpp"
#include "app/ports/file_watcher.hpp"
#include "app/ports/log.hpp"
#include "app/ports/preferences.hpp"
#include "app/ports/scheduler.hpp"

namespace pivra {

struct Ports {
    Clock& clock;
    Scheduler& scheduler;
    Preferences& preferences;
    FileWatcher& fileWatcher;
    Log& log;
    Dialogs& dialogs;
};

}  // namespace pivra
