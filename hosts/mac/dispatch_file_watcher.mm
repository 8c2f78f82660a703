#include "hosts/mac/mac_ports.hpp"

#include <fcntl.h>
#include <unistd.h>

#import <Foundation/Foundation.h>
#include <dispatch/dispatch.h>

namespace pivra {

struct DispatchFileWatcher::Sources {
    std::map<WatchId, dispatch_source_t> live;  // strong references under ARC
};

DispatchFileWatcher::DispatchFileWatcher() : sources_(std::make_unique<Sources>()) {}

DispatchFileWatcher::~DispatchFileWatcher() {
    for (auto& [id, source] : sources_->live) dispatch_source_cancel(source);
}

std::optional<WatchId> DispatchFileWatcher::watchFolder(const std::filesystem::path& folder, Handler handler) {
    return add(folder, true, std::move(handler));
}

std::optional<WatchId> DispatchFileWatcher::watchFile(const std::filesystem::path& file, Handler handler) {
    return add(file, false, std::move(handler));
}

std::optional<WatchId> DispatchFileWatcher::add(const std::filesystem::path& path, bool folder, Handler handler) {
    // Opened for event notification only: the watch keeps no volume from unmounting.
    const int descriptor = ::open(path.c_str(), O_EVTONLY | O_CLOEXEC | (folder ? O_DIRECTORY : 0));
    if (descriptor < 0) return std::nullopt;
    // A folder's write event is an entry created, removed or renamed.
    const uintptr_t mask = folder ? DISPATCH_VNODE_WRITE
                                  : (DISPATCH_VNODE_WRITE | DISPATCH_VNODE_EXTEND | DISPATCH_VNODE_DELETE |
                                     DISPATCH_VNODE_RENAME | DISPATCH_VNODE_ATTRIB);
    dispatch_source_t source = dispatch_source_create(DISPATCH_SOURCE_TYPE_VNODE, static_cast<uintptr_t>(descriptor),
                                                      mask, dispatch_get_main_queue());
    if (source == nullptr) {
        ::close(descriptor);
        return std::nullopt;
    }
    const WatchId id = nextId_++;
    Sources* sources = sources_.get();
    dispatch_source_set_event_handler(source, ^{
      // Stopped watches get no events, even ones already queued.
      if (sources->live.count(id) == 0) return;
      handler();
    });
    dispatch_source_set_cancel_handler(source, ^{
      ::close(descriptor);
    });
    sources_->live.emplace(id, source);
    dispatch_resume(source);
    return id;
}

void DispatchFileWatcher::stop(WatchId id) {
    const auto found = sources_->live.find(id);
    if (found == sources_->live.end()) return;
    dispatch_source_cancel(found->second);
    sources_->live.erase(found);
}

}  // namespace pivra
