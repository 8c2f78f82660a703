#pragma once
// Which app a link came from, given the process that sent it.

#include <string_view>

#include <sys/types.h>

#include "app/ports/processes.hpp"
#include "app/ports/workspace.hpp"
#include "core/rules/rules_file.hpp"

namespace pivra {

// How far up its parents a sending process is followed.
inline constexpr int kMaxParentSteps = 8;

// The app of process `pid`: the running app it belongs to; else the first
// app among its parents (at most kMaxParentSteps up, stopping at the kernel's
// processes, at a process that is its own parent, or where the chain cannot
// be read); else unknown. For pid 0 or 1 (no sender), or a process that
// cannot be inspected, the app in front. This app (`ownId`) is never a source.
Source resolveSource(pid_t pid, const Workspace& workspace, const Processes& processes, std::string_view ownId);

}  // namespace pivra
