#pragma once
// Processes as Linux's /proc shows them.

#include <filesystem>

#include "app/ports/processes.hpp"

namespace pivra {

class ProcProcesses final : public Processes {
public:
    // `procRoot` is "/proc" except in tests.
    explicit ProcProcesses(std::filesystem::path procRoot = "/proc") : procRoot_(std::move(procRoot)) {}

    // Read from the fourth field of /proc/<pid>/stat, after the command name
    // in parentheses (which may itself hold blanks and parentheses).
    std::optional<pid_t> parent(pid_t pid) const override;

private:
    std::filesystem::path procRoot_;
};

// The parent process id in the text of a /proc/<pid>/stat file; absent when
// the text is not such a line.
std::optional<pid_t> parentFromStat(std::string_view stat);

}  // namespace pivra
