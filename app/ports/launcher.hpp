#pragma once
// Running a program and waiting for it, within a time limit. Never through a shell.

#include <filesystem>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "core/time/time.hpp"

namespace pivra {

struct LaunchRequest {
    std::filesystem::path program;        // an absolute path, or a name looked up in PATH
    std::vector<std::string> arguments;   // after the program's own name, each passed as one argument
    Seconds timeout{10};
    // What happens to a program still running at the time-out: its whole
    // process group is killed, or (for a program that becomes a long-lived
    // app, a browser started directly) it is left running, on its own.
    bool leaveRunning = false;
    // Where its standard output and error go: this process's own, nowhere,
    // or (output only, error to nowhere) into the result, up to kCapturedOutputLimit.
    enum class Output { inherit, discard, capture };
    Output output = Output::inherit;
};

// Captured output beyond this many bytes is dropped; the program still runs to its end.
inline constexpr std::size_t kCapturedOutputLimit = 4 << 20;

struct LaunchResult {
    enum class Kind {
        exited,         // it ended by itself; `status` holds its exit status (128 + N for signal N)
        timedOut,       // still running at the time-out; its process group was killed
        stillRunning,   // still running at the time-out and left running, as asked
        couldNotStart,  // it never ran; `error` says why
    };
    LaunchResult(Kind kind, int status = 0, std::string error = {}, std::string output = {})
        : kind(kind), status(status), error(std::move(error)), output(std::move(output)) {}

    Kind kind;
    int status = 0;
    std::string error;
    std::string output;  // what it wrote to standard output, when captured

    bool operator==(const LaunchResult&) const = default;
};

class Launcher {
public:
    virtual ~Launcher() = default;

    // Starts the program in a process group of its own and waits for it off
    // the main thread. `completion` runs once on the main thread, never before
    // this returns. Where programs cannot be run, it reports couldNotStart.
    virtual void launch(const LaunchRequest& request, std::function<void(LaunchResult)> completion) = 0;
};

}  // namespace pivra
