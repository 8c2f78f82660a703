#pragma once
// The set of ports a host hands to the app. Each refers to an object the host
// owns and keeps alive for as long as the host lives. Build it with the
// members named (Ports{.clock = ..., .scheduler = ...}), so that a new port
// breaks no caller silently.

#include "app/ports/app_info.hpp"
#include "app/ports/bundle_files.hpp"
#include "app/ports/clock.hpp"
#include "app/ports/code_signing.hpp"
#include "app/ports/dialogs.hpp"
#include "app/ports/file_watcher.hpp"
#include "app/ports/http.hpp"
#include "app/ports/keyboard.hpp"
#include "app/ports/launcher.hpp"
#include "app/ports/log.hpp"
#include "app/ports/login_item.hpp"
#include "app/ports/mail.hpp"
#include "app/ports/pasteboard.hpp"
#include "app/ports/picker_window.hpp"
#include "app/ports/notifications.hpp"
#include "app/ports/preferences.hpp"
#include "app/ports/processes.hpp"
#include "app/ports/scheduler.hpp"
#include "app/ports/screens.hpp"
#include "app/ports/unarchiver.hpp"
#include "app/ports/system_info.hpp"
#include "app/ports/workspace.hpp"

namespace pivra {

struct Ports {
    Clock& clock;
    Scheduler& scheduler;
    Preferences& preferences;
    FileWatcher& fileWatcher;
    Log& log;
    Dialogs& dialogs;
    Workspace& workspace;
    Processes& processes;
    Launcher& launcher;
    Keyboard& keyboard;
    AppInfo& appInfo;
    LoginItem& loginItem;
    Pasteboard& pasteboard;
    Screens& screens;
    PickerWindow& pickerWindow;
    Notifications& notifications;
    BundleFiles& bundleFiles;
    Http& http;
    Unarchiver& unarchiver;
    CodeSigning& codeSigning;
    SystemInfo& systemInfo;
    Mail& mail;
};

}  // namespace pivra
