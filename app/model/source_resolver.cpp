#include "app/model/source_resolver.hpp"

#include <optional>
#include <string>

namespace pivra {
namespace {

std::optional<std::string> appOf(pid_t pid, const Workspace& workspace, std::string_view ownId) {
    auto id = workspace.runningApp(pid);
    if (id && *id == ownId) return std::nullopt;
    return id;
}

}  // namespace

Source resolveSource(pid_t pid, const Workspace& workspace, const Processes& processes, std::string_view ownId) {
    if (pid > 1) {
        if (auto id = appOf(pid, workspace, ownId)) return Source::app(std::move(*id));
        if (auto parent = processes.parent(pid)) {
            pid_t child = pid;
            for (int step = 0; step < kMaxParentSteps; ++step) {
                if (step > 0) parent = processes.parent(child);
                if (!parent || *parent < 2 || *parent == child) break;
                if (auto id = appOf(*parent, workspace, ownId)) return Source::app(std::move(*id));
                child = *parent;
            }
            return Source::unknown();
        }
    }
    auto front = workspace.frontmostApp();
    if (!front || *front == ownId) return Source::unknown();
    return Source::app(std::move(*front));
}

}  // namespace pivra
