#pragma once
// The kernel's view of processes, for finding which app a link came from.

#include <optional>

#include <sys/types.h>

namespace pivra {

class Processes {
public:
    virtual ~Processes() = default;

    // The parent of process `pid`; absent when the process is gone or cannot
    // be inspected (another user's, or a platform that hides processes).
    virtual std::optional<pid_t> parent(pid_t pid) const = 0;
};

}  // namespace pivra
