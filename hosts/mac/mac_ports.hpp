#pragma once
// The Mac's port implementations, behind plain C++: the Objective-C++ stays in the .mm files.

#include <map>
#include <memory>
#include <string>

#include "app/ports/clock.hpp"
#include "app/ports/dialogs.hpp"
#include "app/ports/file_watcher.hpp"
#include "app/ports/log.hpp"
#include "app/ports/preferences.hpp"
#include "app/ports/scheduler.hpp"

namespace pivra {

// The calendar and time zone the user chose in System Settings.
class MacClock final : public Clock {
public:
    Instant now() const override;
    CalendarDay localDay(Instant instant) const override;
};

// The main dispatch queue; timers are cancellable dispatch blocks.
class DispatchScheduler final : public Scheduler {
public:
    DispatchScheduler();
    ~DispatchScheduler() override;
    void post(Task task) override;
    TaskId runAfter(Seconds delay, Task task) override;
    void cancel(TaskId id) override;

private:
    struct Blocks;
    std::unique_ptr<Blocks> blocks_;
    TaskId nextId_ = 1;
};

// The user defaults domain "app.omra.pivra".
class UserDefaultsPreferences final : public Preferences {
public:
    UserDefaultsPreferences();
    ~UserDefaultsPreferences() override;
    std::optional<PreferenceValue> value(std::string_view key) const override;
    void setValue(std::string_view key, PreferenceValue value) override;
    void removeValue(std::string_view key) override;

private:
    struct Defaults;
    std::unique_ptr<Defaults> defaults_;
};

// File-system object event sources on descriptors opened with O_EVTONLY,
// delivered on the main queue.
class DispatchFileWatcher final : public FileWatcher {
public:
    DispatchFileWatcher();
    ~DispatchFileWatcher() override;
    std::optional<WatchId> watchFolder(const std::filesystem::path& folder, Handler handler) override;
    std::optional<WatchId> watchFile(const std::filesystem::path& file, Handler handler) override;
    void stop(WatchId id) override;

private:
    struct Sources;
    std::optional<WatchId> add(const std::filesystem::path& path, bool folder, Handler handler);
    std::unique_ptr<Sources> sources_;
    WatchId nextId_ = 1;
};

// The unified log, subsystem "app.omra.pivra", one log object per category.
// Lines below the minimum level are left out.
class UnifiedLog final : public Log {
public:
    explicit UnifiedLog(LogLevel minimumLevel = LogLevel::debug);
    ~UnifiedLog() override;
    void write(LogLevel level, std::string_view category, const LogMessage& message) override;

private:
    struct Logs;
    std::unique_ptr<Logs> logs_;
    LogLevel minimumLevel_;
};

// NSSavePanel and NSOpenPanel; without a running application (the command
// line) every request ends as if cancelled.
class PanelDialogs final : public Dialogs {
public:
    void chooseSaveLocation(const SavePanelRequest& request, Completion completion) override;
    void chooseFileToOpen(const OpenPanelRequest& request, Completion completion) override;
};

}  // namespace pivra
