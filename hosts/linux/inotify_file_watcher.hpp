#pragma once
// File watching with one inotify descriptor, read on Qt's event loop when a
// socket notifier says it is readable.

#include <array>
#include <cstdint>
#include <map>
#include <memory>

#include "app/ports/file_watcher.hpp"

class QSocketNotifier;

namespace pivra {

class InotifyFileWatcher final : public FileWatcher {
public:
    // The calling thread's QCoreApplication must exist (the notifier needs its
    // event dispatcher) and outlive the watcher, which is not to be destroyed
    // from within one of its handlers.
    InotifyFileWatcher();
    ~InotifyFileWatcher() override;
    InotifyFileWatcher(const InotifyFileWatcher&) = delete;
    InotifyFileWatcher& operator=(const InotifyFileWatcher&) = delete;

    std::optional<WatchId> watchFolder(const std::filesystem::path& folder, Handler handler) override;
    std::optional<WatchId> watchFile(const std::filesystem::path& file, Handler handler) override;
    void stop(WatchId id) override;

private:
    struct Watch {
        int descriptor;      // the inotify watch descriptor
        std::uint32_t mask;  // the events this watch wants
        Handler handler;
    };

    std::optional<WatchId> add(const std::filesystem::path& path, std::uint32_t mask, Handler handler);
    void readAvailable();
    void dispatch(std::size_t length);

    int inotify_ = -1;  // the inotify descriptor; -1 when none could be made
    std::unique_ptr<QSocketNotifier> notifier_;
    std::array<char, 64 * 1024> buffer_{};
    std::map<WatchId, Watch> watches_;
    // Several watches may share one kernel watch: inotify gives the same
    // descriptor for the same file, so it is removed only with its last user.
    std::multimap<int, WatchId> byDescriptor_;
    WatchId nextId_ = 1;
};

}  // namespace pivra
