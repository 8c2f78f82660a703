#include "hosts/mac/mac_ports.hpp"

#include <algorithm>

#import <Foundation/Foundation.h>
#include <dispatch/dispatch.h>

namespace pivra {

struct DispatchScheduler::Blocks {
    std::map<TaskId, dispatch_block_t> pending;  // strong references under ARC
};

DispatchScheduler::DispatchScheduler() : blocks_(std::make_unique<Blocks>()) {}

DispatchScheduler::~DispatchScheduler() {
    for (auto& [id, block] : blocks_->pending) dispatch_block_cancel(block);
}

void DispatchScheduler::post(Task task) {
    dispatch_async(dispatch_get_main_queue(), ^{
      task();
    });
}

TaskId DispatchScheduler::runAfter(Seconds delay, Task task) {
    const TaskId id = nextId_++;
    Blocks* blocks = blocks_.get();
    dispatch_block_t block = dispatch_block_create(static_cast<dispatch_block_flags_t>(0), ^{
      blocks->pending.erase(id);
      task();
    });
    blocks_->pending.emplace(id, block);
    const auto nanoseconds = static_cast<int64_t>(std::max(0.0, delay.count()) * NSEC_PER_SEC);
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, nanoseconds), dispatch_get_main_queue(), block);
    return id;
}

void DispatchScheduler::cancel(TaskId id) {
    const auto found = blocks_->pending.find(id);
    if (found == blocks_->pending.end()) return;
    dispatch_block_cancel(found->second);
    blocks_->pending.erase(found);
}

}  // namespace pivra
