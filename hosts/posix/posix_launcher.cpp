#include "hosts/posix/posix_launcher.hpp"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <expected>
#include <map>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#if defined(__APPLE__)
#include <crt_externs.h>
#else
extern char** environ;
#endif

namespace pivra {
namespace {

using SteadyClock = std::chrono::steady_clock;
using LaunchId = std::uint64_t;

// Time-outs beyond this are taken as this, which keeps the arithmetic in range.
constexpr Seconds kLongestTimeout = std::chrono::years(100);

// The status of a program whose end someone else collected (a process that
// ignores SIGCHLD has its children reaped by the kernel): it is lost.
constexpr int kStatusLost = -1;

char** environment() {
#if defined(__APPLE__)
    // A library on a Mac reaches the environment only through this.
    return *_NSGetEnviron();
#else
    return environ;
#endif
}

// Starts the program as the launcher promises, without a shell. The errno
// value that says why not when it could not (posix_spawn reports a failed
// exec this way too).
std::expected<pid_t, int> spawn(const LaunchRequest& request, int outputPipe) {
    posix_spawnattr_t attributes;
    if (const int error = ::posix_spawnattr_init(&attributes)) return std::unexpected(error);
    posix_spawn_file_actions_t actions;
    if (const int error = ::posix_spawn_file_actions_init(&actions)) {
        ::posix_spawnattr_destroy(&attributes);
        return std::unexpected(error);
    }
    // A group of its own (pgid 0: its own id), so the whole group can be
    // ended at the time-out and a terminal's Ctrl-C meant for us never
    // reaches it. No blocked signals and every action at its default: what
    // this process blocks or ignores (SIGPIPE, say, or a mask inherited from
    // whoever started us) is no business of the program's; only ignored
    // signals would survive exec otherwise.
    sigset_t none;
    sigemptyset(&none);
    sigset_t all;
    sigfillset(&all);
    sigdelset(&all, SIGKILL);
    sigdelset(&all, SIGSTOP);
    constexpr short kFlags = POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    int error = ::posix_spawnattr_setflags(&attributes, kFlags);
    if (!error) error = ::posix_spawnattr_setpgroup(&attributes, 0);
    if (!error) error = ::posix_spawnattr_setsigmask(&attributes, &none);
    if (!error) error = ::posix_spawnattr_setsigdefault(&attributes, &all);
    // Nothing to read: a program that asks for input gets the end at once
    // instead of waiting on our terminal or competing for it.
    if (!error) error = ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    using Output = LaunchRequest::Output;
    if (!error && request.output == Output::capture) {
        error = ::posix_spawn_file_actions_adddup2(&actions, outputPipe, STDOUT_FILENO);
    } else if (!error && request.output == Output::discard) {
        error = ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    }
    if (!error && request.output != Output::inherit) {
        error = ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    }

    std::string name = request.program.string();
    std::vector<std::string> arguments = request.arguments;
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 2);
    argv.push_back(name.data());
    for (auto& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    pid_t pid = 0;
    // The "p" form looks a bare name up in PATH and takes a name with a "/" as it is.
    if (!error) error = ::posix_spawnp(&pid, name.c_str(), &actions, &attributes, argv.data(), environment());
    ::posix_spawn_file_actions_destroy(&actions);
    ::posix_spawnattr_destroy(&attributes);
    if (error) return std::unexpected(error);
    return pid;
}

std::string whyNotStarted(int error, const std::filesystem::path& program) {
    const std::string name = program.string();
    switch (error) {
        case ENOENT:
        case ENOTDIR: return "no such program: " + name;
        case EACCES:
        case EPERM: return "not executable: " + name;
        case ENOEXEC: return "not a program this system can run: " + name;
        case E2BIG: return "arguments too long for " + name;
        default: return "can’t start " + name + ": " + std::generic_category().message(error);
    }
}

// Collects the status of a program that has ended (or will end at once),
// 128 + N for signal N. Only the one who reaps a program calls this.
int reap(pid_t pid) {
    int status = 0;
    pid_t result = 0;
    do {
        result = ::waitpid(pid, &status, 0);
    } while (result < 0 && errno == EINTR);
    if (result < 0) return kStatusLost;
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
    return kStatusLost;
}

// Ends a group at once and collects its program, for when it cannot be waited for.
void killNow(pid_t pid) {
    ::kill(-pid, SIGKILL);
    reap(pid);
}

// Signals sent to the process are for the threads that expect them (the
// main loop's), not for these.
void blockSignalsOnThisThread() {
    sigset_t all;
    sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

LaunchResult couldNotStart(std::string why) {
    return LaunchResult{LaunchResult::Kind::couldNotStart, 0, std::move(why)};
}

// The read end of a pipe for a program's output, and the write end it gets
// (both close on exec; posix_spawn's dup2 makes the child's own copy).
struct OutputPipe {
    int read = -1;
    int write = -1;

    static std::expected<OutputPipe, int> open() {
        // No pipe2 on a Mac; the launch comes from the main thread alone, and
        // nothing else there spawns, so the ends cannot leak meanwhile.
        int ends[2];
        if (::pipe(ends) != 0) return std::unexpected(errno);
        for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
        return OutputPipe{ends[0], ends[1]};
    }
};

// Reads what the program writes until it closes its output (or the last of
// its group that holds it does) or the deadline passes, keeping at most
// kCapturedOutputLimit bytes.
std::string readOutput(int fd, SteadyClock::time_point deadline) {
    std::string output;
    char buffer[65536];
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - SteadyClock::now()).count();
        if (left <= 0) break;
        pollfd poller{fd, POLLIN, 0};
        const int ready = ::poll(&poller, 1, static_cast<int>(std::min<long long>(left, 60'000)));
        if (ready < 0 && errno == EINTR) continue;
        if (ready < 0) break;
        if (ready == 0) continue;
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        const auto room = kCapturedOutputLimit - output.size();
        output.append(buffer, std::min(static_cast<std::size_t>(got), room));
    }
    return output;
}

std::string cannotWait(const std::filesystem::path& program, const std::system_error& error) {
    return "can’t wait for " + program.string() + ": " + error.what();
}

}  // namespace

// What the launcher shares with its threads, which may outlive it.
struct PosixLaunches {
    explicit PosixLaunches(Scheduler& scheduler) : scheduler(scheduler) {}

    // One running program. Under `mutex`.
    struct Child {
        explicit Child(pid_t pid) : pid(pid) {}
        const pid_t pid;       // also its group's id: it leads the group
        bool ended = false;    // it has ended and is not yet reaped, so its id is still its own
        bool leftRunning = false;  // its end goes unreported, and whoever sees it reaps it
    };

    // Hands a result to the main thread, unless the launcher has gone.
    // Called with `mutex` held, so that `closed` cannot change meanwhile.
    void postLocked(const std::shared_ptr<PosixLaunches>& self, LaunchId id, LaunchResult result) {
        if (closed) return;
        scheduler.post([self, id, result = std::move(result)] {
            {
                std::lock_guard lock(self->mutex);
                if (self->closed) return;
            }
            auto completion = self->completions.extract(id);
            if (completion) completion.mapped()(result);
        });
    }

    Scheduler& scheduler;  // not touched once closed
    std::mutex mutex;
    std::condition_variable changed;  // a program ended, a wait finished, or the launcher closed
    bool closed = false;
    int unfinished = 0;  // waits that have not handed over their result

    // Main thread only: the completions of launches still running, so that
    // they are called, and destroyed, on the main thread alone.
    std::map<LaunchId, std::function<void(LaunchResult)>> completions;
    LaunchId nextId = 1;
};

namespace {

using Shared = std::shared_ptr<PosixLaunches>;
using Child = std::shared_ptr<PosixLaunches::Child>;

// Blocks until the program ends, without collecting it: while it is not
// reaped its id cannot name any other process or group, so the group can
// still be killed safely.
void awaitEnd(const Shared& shared, const Child& child) {
    blockSignalsOnThisThread();
    siginfo_t info{};
    int result = 0;
    do {
        result = ::waitid(P_PID, static_cast<id_t>(child->pid), &info, WEXITED | WNOWAIT);
    } while (result < 0 && errno == EINTR);
    // Any failure means it is not ours to wait for any longer (someone else reaped it).
    bool reapHere = false;
    {
        std::lock_guard lock(shared->mutex);
        child->ended = true;
        reapHere = child->leftRunning;
    }
    shared->changed.notify_all();
    if (reapHere) reap(child->pid);
}

// Waits for the program within its time-out, or until the launcher closes,
// and ends it or leaves it as asked.
LaunchResult awaitResult(const Shared& shared, const Child& child, SteadyClock::time_point deadline, bool leaveRunning,
                         const std::filesystem::path& program, int outputFd) {
    try {
        std::thread(awaitEnd, shared, child).detach();
    } catch (const std::system_error& error) {
        killNow(child->pid);
        return couldNotStart(cannotWait(program, error));
    }
    // Read while the program runs, so that it never blocks on a full pipe.
    std::string output = outputFd >= 0 ? readOutput(outputFd, deadline) : std::string();
    std::unique_lock lock(shared->mutex);
    shared->changed.wait_until(lock, deadline, [&] { return child->ended || shared->closed; });
    if (!child->ended && leaveRunning) {
        child->leftRunning = true;
        return LaunchResult{LaunchResult::Kind::stillRunning, 0, {}, std::move(output)};
    }
    const bool late = !child->ended;
    if (late) {
        // The program is not reaped until after the last signal, so its id
        // names this group and no other.
        ::kill(-child->pid, SIGTERM);
        const auto killAt = SteadyClock::now() + std::chrono::ceil<SteadyClock::duration>(PosixLauncher::kKillGrace);
        shared->changed.wait_until(lock, killAt, [&] { return child->ended; });
        ::kill(-child->pid, SIGKILL);  // for what of the group is still there
        shared->changed.wait(lock, [&] { return child->ended; });
    }
    lock.unlock();
    const int status = reap(child->pid);
    if (late) return LaunchResult{LaunchResult::Kind::timedOut, 0, {}, std::move(output)};
    return LaunchResult{LaunchResult::Kind::exited, status, {}, std::move(output)};
}

void watch(const Shared& shared, const Child& child, LaunchId id, SteadyClock::time_point deadline, bool leaveRunning,
           const std::filesystem::path& program, int outputFd) {
    blockSignalsOnThisThread();
    LaunchResult result = awaitResult(shared, child, deadline, leaveRunning, program, outputFd);
    if (outputFd >= 0) ::close(outputFd);
    std::lock_guard lock(shared->mutex);
    shared->postLocked(shared, id, std::move(result));
    --shared->unfinished;
    shared->changed.notify_all();
}

}  // namespace

PosixLauncher::PosixLauncher(Scheduler& scheduler) : launches_(std::make_shared<PosixLaunches>(scheduler)) {}

PosixLauncher::~PosixLauncher() {
    {
        std::unique_lock lock(launches_->mutex);
        launches_->closed = true;
        launches_->changed.notify_all();
        launches_->changed.wait(lock, [&] { return launches_->unfinished == 0; });
    }
    launches_->completions.clear();  // here, on the main thread, whatever they hold
}

void PosixLauncher::launch(const LaunchRequest& request, std::function<void(LaunchResult)> completion) {
    const LaunchId id = launches_->nextId++;
    launches_->completions.emplace(id, std::move(completion));
    const Seconds timeout = request.timeout.count() > 0 ? std::min(request.timeout, kLongestTimeout) : Seconds(0);
    const auto deadline = SteadyClock::now() + std::chrono::ceil<SteadyClock::duration>(timeout);

    OutputPipe pipe;
    if (request.output == LaunchRequest::Output::capture) {
        const auto opened = OutputPipe::open();
        if (!opened) {
            std::lock_guard lock(launches_->mutex);
            launches_->postLocked(launches_, id,
                                  couldNotStart("can’t read the output of " + request.program.string() + ": " +
                                                std::generic_category().message(opened.error())));
            return;
        }
        pipe = *opened;
    }
    const auto started = spawn(request, pipe.write);
    if (pipe.write >= 0) ::close(pipe.write);  // the program's copy is the only writer left
    if (!started) {
        if (pipe.read >= 0) ::close(pipe.read);
        std::lock_guard lock(launches_->mutex);
        launches_->postLocked(launches_, id, couldNotStart(whyNotStarted(started.error(), request.program)));
        return;
    }
    const auto child = std::make_shared<PosixLaunches::Child>(*started);
    {
        std::lock_guard lock(launches_->mutex);
        ++launches_->unfinished;
    }
    try {
        std::thread(watch, launches_, child, id, deadline, request.leaveRunning, request.program, pipe.read).detach();
    } catch (const std::system_error& error) {
        if (pipe.read >= 0) ::close(pipe.read);
        killNow(child->pid);
        std::lock_guard lock(launches_->mutex);
        --launches_->unfinished;
        launches_->postLocked(launches_, id, couldNotStart(cannotWait(request.program, error)));
    }
}

}  // namespace pivra
