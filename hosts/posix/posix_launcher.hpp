#pragma once
// The launcher on POSIX, shared by the Linux and the Mac hosts: posix_spawn
// into a process group of its own, waitid and waitpid on threads of its own,
// results handed to the main thread through the scheduler.

#include <memory>

#include "app/ports/launcher.hpp"
#include "app/ports/scheduler.hpp"

namespace pivra {

// The launches in flight, shared with the threads that wait for them.
struct PosixLaunches;

class PosixLauncher final : public Launcher {
public:
    // How long a group told to end (SIGTERM) at its time-out has before it is
    // killed (SIGKILL).
    static constexpr Seconds kKillGrace{1};

    // `scheduler` must outlive the launcher; results are posted to it.
    explicit PosixLauncher(Scheduler& scheduler);
    // Ends every wait. Completions still to come never run. A program to be
    // left running is left at once, still reaped when it ends if this process
    // lives on; any other program still running has its group killed as at
    // its time-out, which this waits for (at most kKillGrace, and as long as
    // the kernel takes to end a killed process).
    ~PosixLauncher() override;
    PosixLauncher(const PosixLauncher&) = delete;
    PosixLauncher& operator=(const PosixLauncher&) = delete;

    // The program starts with the same environment as this process, its
    // output and error where the request says, standard input from /dev/null, no blocked
    // signals and every signal's action at its default. At the time-out its
    // group gets SIGTERM, then SIGKILL once the program has ended or
    // kKillGrace has passed, whichever comes first. A program that ends by
    // itself leaves what it started alone, even in its group: launchers that
    // hand over to a long-lived app do just that. Captured output is read
    // until the program's group closes it or the time-out passes.
    void launch(const LaunchRequest& request, std::function<void(LaunchResult)> completion) override;

private:
    std::shared_ptr<PosixLaunches> launches_;
};

}  // namespace pivra
