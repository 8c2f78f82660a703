#pragma once
// Every port as a fake, in one bundle: a test names the parts it scripts and
// hands ports() to the code under test.

#include "app/ports/ports.hpp"
#include "tests/support/fake_ports.hpp"
#include "tests/support/fake_system.hpp"
#include "tests/support/folder_bundle_files.hpp"
#include "tests/support/manual_time.hpp"
#include "tests/support/recording_file_watcher.hpp"

namespace pivra::testing_support {

struct FakePorts {
    ManualClock clock;
    ManualScheduler scheduler{clock};
    MemoryPreferences preferences;
    RecordingFileWatcher fileWatcher;
    RecordingLog log;
    ScriptedDialogs dialogs;
    FakeWorkspace workspace{scheduler};
    FakeProcesses processes;
    ScriptedLauncher launcher{scheduler};
    FakeKeyboard keyboard;
    FakeAppInfo appInfo;
    FakeLoginItem loginItem;
    FakePasteboard pasteboard;
    FakeScreens screens;
    FakePickerWindow pickerWindow;
    RecordingNotifications notifications{scheduler};
    FolderBundleFiles bundleFiles;
    ScriptedHttp http{scheduler};
    ScriptedUnarchiver unarchiver{scheduler};
    FakeCodeSigning codeSigning;
    FakeSystemInfo systemInfo;
    RecordingMail mail{scheduler};

    // The fakes, with a real file watcher, launcher or bundle files in place
    // of the fake where a test passes one.
    Ports ports(FileWatcher* realWatcher = nullptr, Launcher* realLauncher = nullptr,
                BundleFiles* realBundleFiles = nullptr) {
        return Ports{.clock = clock,
                     .scheduler = scheduler,
                     .preferences = preferences,
                     .fileWatcher = realWatcher ? *realWatcher : fileWatcher,
                     .log = log,
                     .dialogs = dialogs,
                     .workspace = workspace,
                     .processes = processes,
                     .launcher = realLauncher ? *realLauncher : launcher,
                     .keyboard = keyboard,
                     .appInfo = appInfo,
                     .loginItem = loginItem,
                     .pasteboard = pasteboard,
                     .screens = screens,
                     .pickerWindow = pickerWindow,
                     .notifications = notifications,
                     .bundleFiles = realBundleFiles ? *realBundleFiles : bundleFiles,
                     .http = http,
                     .unarchiver = unarchiver,
                     .codeSigning = codeSigning,
                     .systemInfo = systemInfo,
                     .mail = mail};
    }
};

}  // namespace pivra::testing_support
