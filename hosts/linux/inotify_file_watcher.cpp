#include "hosts/linux/inotify_file_watcher.hpp"

#include <sys/inotify.h>
#include <unistd.h>

#include <cstring>
#include <vector>

#include <QObject>
#include <QSocketNotifier>

namespace pivra {
namespace {

// Entries created, removed or renamed, and the folder itself going away.
constexpr std::uint32_t kFolderEvents =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF;
// Written, extended (both IN_MODIFY), closed after writing, attributes or link
// count changed, deleted, renamed.
constexpr std::uint32_t kFileEvents = IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;

}  // namespace

InotifyFileWatcher::InotifyFileWatcher() : inotify_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    // Without a descriptor every watch request answers "cannot watch".
    if (inotify_ < 0) return;
    notifier_ = std::make_unique<QSocketNotifier>(inotify_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { readAvailable(); });
}

InotifyFileWatcher::~InotifyFileWatcher() {
    notifier_.reset();  // off the loop before its descriptor goes
    if (inotify_ >= 0) ::close(inotify_);  // also ends every kernel watch
}

std::optional<WatchId> InotifyFileWatcher::watchFolder(const std::filesystem::path& folder, Handler handler) {
    return add(folder, kFolderEvents | IN_ONLYDIR, std::move(handler));
}

std::optional<WatchId> InotifyFileWatcher::watchFile(const std::filesystem::path& file, Handler handler) {
    return add(file, kFileEvents, std::move(handler));
}

std::optional<WatchId> InotifyFileWatcher::add(const std::filesystem::path& path, std::uint32_t mask, Handler handler) {
    if (inotify_ < 0) return std::nullopt;
    // IN_MASK_ADD: a second watch on the same file widens the kernel's mask
    // instead of replacing what the first asked for.
    const int descriptor = ::inotify_add_watch(inotify_, path.c_str(), mask | IN_MASK_ADD);
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
    if (lastUser && descriptor >= 0) ::inotify_rm_watch(inotify_, descriptor);
}

void InotifyFileWatcher::readAvailable() {
    // One read a turn: the notifier is level-triggered and comes back while
    // more is queued, so a burst of events does not starve the rest of the loop.
    const ssize_t length = ::read(inotify_, buffer_.data(), buffer_.size());
    // Nothing (EAGAIN, EINTR) means another turn. Other read errors are not
    // expected from inotify; the notifier stays on rather than go deaf.
    if (length > 0) dispatch(static_cast<std::size_t>(length));
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
