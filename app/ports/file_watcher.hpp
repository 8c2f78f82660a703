#pragma once
// Being told when a file or a folder changes on disk.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>

namespace pivra {

// Names one watch, for stopping it. Never reused within a process.
using WatchId = std::uint64_t;

class FileWatcher {
public:
    using Handler = std::function<void()>;

    virtual ~FileWatcher() = default;

    // Calls `handler` on the main thread whenever an entry of the folder is
    // created, removed or renamed (not when a file in it is only written).
    // Absent when the folder cannot be opened for watching, or where the
    // platform cannot watch files at all.
    virtual std::optional<WatchId> watchFolder(const std::filesystem::path& folder, Handler handler) = 0;

    // Calls `handler` on the main thread whenever the file that `file` names
    // now (through a symbolic link: its target) is written, extended, deleted,
    // renamed or changes attributes. The watch stays on that file: once it is
    // replaced or renamed away, watch the path again. Absent when the file
    // cannot be opened for watching, or where the platform cannot watch files.
    virtual std::optional<WatchId> watchFile(const std::filesystem::path& file, Handler handler) = 0;

    // Ends a watch; its handler is not called again, even for events already
    // queued. Stopping from within the watch's own handler is allowed, and
    // stopping an ended watch does nothing.
    virtual void stop(WatchId id) = 0;
};

}  // namespace pivra
