#include "hosts/linux/inotify_file_watcher.hpp"

#include <sys/inotify.h>
#include <unistd.h>

#include <cstring>
#include <vector>

namespace pivra {
namespace {

// Entries created, removed or renamed, and the folder itself going away.
constexpr std::uint32_t kFolderEvents =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF;
// Written, extended (both IN_MODIFY), closed after writing, attributes or link
// count changed, deleted, renamed.
constexpr std::uint32_t kFileEvents = IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;

}  // namespace

InotifyFileWatcher::InotifyFileWatcher(boost::asio::io_context& context) : stream_(context) {
    const int descriptor = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    // Without a descriptor every watch request answers "cannot watch".
    if (descriptor < 0) return;
    stream_.assign(descriptor);
    readMore();
}

InotifyFileWatcher::~InotifyFileWatcher() {
    *alive_ = false;
    boost::system::error_code ignored;
    stream_.close(ignored);  // also ends every kernel watch
}

std::optional<WatchId> InotifyFileWatcher::watchFolder(const std::filesystem::path& folder, Handler handler) {
    return add(folder, kFolderEvents | IN_ONLYDIR, std::move(handler));
}

std::optional<WatchId> InotifyFileWatcher::watchFile(const std::filesystem::path& file, Handler handler) {
    return add(file, kFileEvents, std::move(handler));
}

std::optional<WatchId> InotifyFileWatcher::add(const std::filesystem::path& path, std::uint32_t mask, Handler handler) {
    if (!stream_.is_open()) return std::nullopt;
    // IN_MASK_ADD: a second watch on the same file widens the kernel's mask
    // instead of replacing what the first asked for.
    const int descriptor = ::inotify_add_watch(stream_.native_handle(), path.c_str(), mask | IN_MASK_ADD);
    if (descriptor < 0) return std::nullopt;
    const WatchId id = nextId_++;
    watches_.emplace(id, Watch{descriptor, mask & ~static_cast<std::uint32_t>(IN_ONLYDIR), std::move(handler)});
    byDescriptor_.emplace(descriptor, id);
    return id;
}

void InotifyFileWatcher::stop(WatchId id) {
    const auto found = watches_.find(id);
    if (found == watches_.end()) return;
    const int descriptor = found->second.descriptor;
    watches_.erase(found);
    auto [first, last] = byDescriptor_.equal_range(descriptor);
    bool lastUser = true;
    for (auto it = first; it != last;) {
        if (it->second == id) {
            it = byDescriptor_.erase(it);
        } else {
            lastUser = false;
            ++it;
        }
    }
    // The kernel may have dropped the watch already (file deleted); then this fails harmlessly.
    if (lastUser && descriptor >= 0 && stream_.is_open()) ::inotify_rm_watch(stream_.native_handle(), descriptor);
}

void InotifyFileWatcher::readMore() {
    stream_.async_read_some(boost::asio::buffer(buffer_),
                            [this, alive = alive_](const boost::system::error_code& error, std::size_t length) {
                                if (!*alive || error == boost::asio::error::operation_aborted) return;
                                if (!error) dispatch(length);
                                // A read error other than a cancel is not expected from
                                // inotify; go on reading rather than go deaf.
                                if (stream_.is_open()) readMore();
                            });
}

void InotifyFileWatcher::dispatch(std::size_t length) {
    // Collect first, call afterwards: a handler may stop or add watches.
    std::vector<WatchId> due;
    const auto addDue = [&](WatchId id) {
        for (const auto seen : due) {
            if (seen == id) return;
        }
        due.push_back(id);
    };
    std::size_t offset = 0;
    while (offset + sizeof(inotify_event) <= length) {
        inotify_event event{};
        std::memcpy(&event, buffer_.data() + offset, sizeof event);
        offset += sizeof(inotify_event) + event.len;
        ++eventsRead_;
        if (event.mask & IN_Q_OVERFLOW) {
            // Events were lost: anything may have changed.
            for (const auto& [id, watch] : watches_) addDue(id);
            continue;
        }
        auto [first, last] = byDescriptor_.equal_range(event.wd);
        for (auto it = first; it != last; ++it) {
            const auto watch = watches_.find(it->second);
            if (watch != watches_.end() && (event.mask & watch->second.mask)) addDue(it->second);
        }
        if (event.mask & IN_IGNORED) {
            // The kernel ended this watch (its file is gone); the ids stay
            // until stopped, and no event can reach them any more.
            for (auto it = first; it != last; ++it) {
                if (auto watch = watches_.find(it->second); watch != watches_.end()) watch->second.descriptor = -1;
            }
            byDescriptor_.erase(event.wd);
        }
    }
    for (const auto id : due) {
        const auto watch = watches_.find(id);
        if (watch == watches_.end()) continue;  // stopped by an earlier handler
        const Handler handler = watch->second.handler;  // the handler may stop its own watch
        handler();
    }
}

}  // namespace pivra
