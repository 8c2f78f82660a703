// The Launcher port's promises, held against the real launcher (real child
// processes on Qt's loop) and the scripted one (the manual scheduler), so
// that tests which use the fake can trust it. Then what only real processes
// show: arguments, the child's surroundings, and a launcher destroyed midway.

#include "hosts/posix/posix_launcher.hpp"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "hosts/linux/qt_application.hpp"
#include "hosts/linux/qt_scheduler.hpp"
#include "tests/hosts/linux/qt_loop.hpp"
#include "tests/support/fake_ports.hpp"
#include "tests/support/fake_system.hpp"
#include "tests/support/files.hpp"
#include "tests/support/manual_time.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;
using Kind = LaunchResult::Kind;

// The programs the tests run, each implementation knowing its own way to run
// them. Only the hanging ones wait for their time-out (1 s; 2 s for the one
// with a grandchild, so that a loaded machine still starts both in time).
enum class Program {
    exitsWith3,
    killsItself,         // ends by SIGKILL
    exitsWith4Later,     // ends by itself well within its time-out
    hangs,               // runs far past its time-out
    hangsIgnoringTerm,   // and ignores SIGTERM
    hangsWithGrandchild, // ends on SIGTERM, leaving a grandchild in its group that ignores it
    missing,             // an absolute path to nothing
    missingFromPath,     // a bare name that no folder in PATH holds
    notExecutable,       // a file without permission to run
};

LaunchRequest requestFor(fs::path program, std::vector<std::string> arguments = {}, Seconds timeout = Seconds(10)) {
    LaunchRequest request;
    request.program = std::move(program);
    request.arguments = std::move(arguments);
    request.timeout = timeout;
    return request;
}

// The state letter of a process ('R', 'S', 'Z', ...) from Linux's /proc;
// absent when there is no such process, as after it has been reaped.
std::optional<char> processState(pid_t pid) {
    std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    if (!std::getline(in, line)) return std::nullopt;
    const auto nameEnd = line.rfind(')');
    if (nameEnd == std::string::npos || nameEnd + 2 >= line.size()) return std::nullopt;
    return line[nameEnd + 2];
}

// Alive, not merely a zombie waiting for its parent.
bool isRunning(pid_t pid) {
    const auto state = processState(pid);
    return state && *state != 'Z' && *state != 'X';
}

class PosixLauncherDriver {
public:
    Launcher& launcher() { return launcher_; }

    LaunchRequest request(Program program) {
        // Hanging programs let go of the test's output, so that one left
        // behind by a failure holds up nothing that reads it.
        const std::string quiet = "exec >/dev/null 2>&1; ";
        switch (program) {
            case Program::exitsWith3: return shell("exit 3");
            case Program::killsItself: return shell("kill -KILL $$");
            case Program::exitsWith4Later: return shell("sleep 0.3; exit 4");
            case Program::hangs: return shell(quiet + "echo $$ > " + record("leader") + "; exec sleep 30", Seconds(1));
            case Program::hangsIgnoringTerm:
                return shell(quiet + "trap '' TERM; echo $$ > " + record("leader") + "; exec sleep 30", Seconds(1));
            case Program::hangsWithGrandchild: {
                const auto leader = record("leader");
                const auto grandchild = record("grandchild");
                return shell(quiet + "(trap '' TERM; exec sleep 30) & echo $! > " + grandchild + "; echo $$ > " + leader +
                                 "; wait",
                             Seconds(2));
            }
            case Program::missing: return requestFor(temp_.path() / "no-such-folder" / "program");
            case Program::missingFromPath: return requestFor("pivra-test-no-such-program");
            case Program::notExecutable: {
                const auto file = temp_.write("not-executable", "#!/bin/sh\nexit 0\n");
                fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
                return requestFor(file);
            }
        }
        return {};
    }

    void runUntil(const std::function<bool()>& done) { testing_support::runUntil(done); }
    void settle() { testing_support::deliverEvents(); }

    // The processes that the programs run so far have said they are.
    std::vector<pid_t> processes() {
        std::vector<pid_t> pids;
        for (const auto& file : pidFiles_) {
            std::ifstream in(file);
            pid_t pid = 0;
            if (in >> pid) {
                pids.push_back(pid);
            } else {
                ADD_FAILURE() << "the program never wrote " << file;
            }
        }
        return pids;
    }

    bool isGone(pid_t pid) { return !isRunning(pid); }

    // Ends what was left running, and sees it reaped: only we, its parent,
    // can take it out of the process table.
    void endLeftRunning() {
        for (const pid_t pid : processes()) {
            ::kill(pid, SIGKILL);
            runUntil([&] { return !processState(pid).has_value(); });
        }
    }

    LaunchRequest shell(std::string script, Seconds timeout = Seconds(10)) {
        return requestFor("/bin/sh", {"-c", std::move(script)}, timeout);
    }

    const testing_support::TempFolder& temp() const { return temp_; }

private:
    std::string record(const std::string& what) {
        auto file = temp_.path() / (what + "-" + std::to_string(pidFiles_.size()) + ".pid");
        pidFiles_.push_back(file);
        return file.string();
    }

    testing_support::TempFolder temp_;
    testing_support::RecordingLog qtLog_;
    QtApplication application_{qtLog_};
    QtScheduler scheduler_;
    std::vector<fs::path> pidFiles_;
    PosixLauncher launcher_{scheduler_};  // last: destroyed first, ending what a failed test left
};

class ScriptedLauncherDriver {
public:
    using Scripted = testing_support::ScriptedLauncher::Program;

    ScriptedLauncherDriver() {
        launcher_.programs = {
            {"/scripted/exits-3", Scripted::exits(3)},
            {"/scripted/kills-itself", Scripted::exits(128 + SIGKILL)},
            {"/scripted/exits-4-later", Scripted::exits(4, Seconds(0.3))},
            {"/scripted/hangs", Scripted::hanging()},
            {"/scripted/missing", Scripted::missing()},
            {"pivra-test-no-such-program", Scripted::missing()},
            {"/scripted/not-executable", Scripted::missing()},
        };
    }

    Launcher& launcher() { return launcher_; }

    LaunchRequest request(Program program) {
        switch (program) {
            case Program::exitsWith3: return requestFor("/scripted/exits-3");
            case Program::killsItself: return requestFor("/scripted/kills-itself");
            case Program::exitsWith4Later: return requestFor("/scripted/exits-4-later");
            case Program::hangs:
            case Program::hangsIgnoringTerm: return requestFor("/scripted/hangs", {}, Seconds(1));
            case Program::hangsWithGrandchild: return requestFor("/scripted/hangs", {}, Seconds(2));
            case Program::missing: return requestFor("/scripted/missing");
            case Program::missingFromPath: return requestFor("pivra-test-no-such-program");
            case Program::notExecutable: return requestFor("/scripted/not-executable");
        }
        return {};
    }

    void runUntil(const std::function<bool()>& done) {
        for (int step = 0; step < 10000 && !done(); ++step) scheduler_.advance(0.01);
        EXPECT_TRUE(done()) << "what the test waited for never came";
    }
    void settle() { scheduler_.advance(3600); }

    // Scripted programs are no processes.
    std::vector<pid_t> processes() { return {}; }
    bool isGone(pid_t) { return true; }
    void endLeftRunning() {}

private:
    testing_support::ManualClock clock_;
    testing_support::ManualScheduler scheduler_{clock_};
    testing_support::ScriptedLauncher launcher_{scheduler_};
};

// One launch as seen from its completion.
struct Completion {
    int calls = 0;
    bool beforeLaunchReturned = false;
    bool offTheMainThread = false;
    std::optional<LaunchResult> result;
};

template <class Driver>
class LauncherContract : public testing::Test {
protected:
    // Starts a launch whose completion records how it was called.
    std::shared_ptr<Completion> start(const LaunchRequest& request) {
        auto seen = std::make_shared<Completion>();
        auto returned = std::make_shared<bool>(false);
        driver.launcher().launch(request, [seen, returned, main = std::this_thread::get_id()](LaunchResult result) {
            ++seen->calls;
            seen->beforeLaunchReturned |= !*returned;
            seen->offTheMainThread |= std::this_thread::get_id() != main;
            seen->result = std::move(result);
        });
        *returned = true;
        return seen;
    }

    // What the launches' completions report once all have come, each called
    // once, on the main thread, after its launch returned.
    std::vector<LaunchResult> results(const std::vector<std::shared_ptr<Completion>>& launches) {
        driver.runUntil([&] {
            for (const auto& launch : launches) {
                if (launch->calls == 0) return false;
            }
            return true;
        });
        driver.settle();  // a second call would come by now
        std::vector<LaunchResult> results;
        for (const auto& launch : launches) {
            EXPECT_EQ(launch->calls, 1);
            EXPECT_FALSE(launch->beforeLaunchReturned);
            EXPECT_FALSE(launch->offTheMainThread);
            results.push_back(launch->result.value_or(LaunchResult{Kind::couldNotStart, -1, "no completion"}));
        }
        return results;
    }

    LaunchResult run(const LaunchRequest& request) { return results({start(request)}).front(); }
    LaunchResult run(Program program) { return run(driver.request(program)); }

    Driver driver;
};

using LauncherDrivers = testing::Types<PosixLauncherDriver, ScriptedLauncherDriver>;
TYPED_TEST_SUITE(LauncherContract, LauncherDrivers);

TYPED_TEST(LauncherContract, AProgramThatEndsReportsItsStatusAnd128PlusTheSignalThatEndedIt) {
    EXPECT_EQ(this->run(Program::exitsWith3), (LaunchResult{Kind::exited, 3, {}}));
    EXPECT_EQ(this->run(Program::killsItself), (LaunchResult{Kind::exited, 128 + SIGKILL, {}}));
    EXPECT_EQ(this->run(Program::exitsWith4Later), (LaunchResult{Kind::exited, 4, {}}));
}

TYPED_TEST(LauncherContract, AProgramThatCannotRunSaysWhyAndNamesIt) {
    for (const auto program : {Program::missing, Program::missingFromPath, Program::notExecutable}) {
        const auto request = this->driver.request(program);
        const auto result = this->run(request);
        EXPECT_EQ(result.kind, Kind::couldNotStart) << request.program;
        EXPECT_NE(result.error.find(request.program.string()), std::string::npos) << result.error;
    }
}

TYPED_TEST(LauncherContract, LaunchesSideBySideEachReportTheirOwn) {
    const auto results = this->results({this->start(this->driver.request(Program::exitsWith4Later)),
                                        this->start(this->driver.request(Program::missing)),
                                        this->start(this->driver.request(Program::exitsWith3))});
    EXPECT_EQ(results[0], (LaunchResult{Kind::exited, 4, {}}));
    EXPECT_EQ(results[1].kind, Kind::couldNotStart);
    EXPECT_EQ(results[2], (LaunchResult{Kind::exited, 3, {}}));
}

TYPED_TEST(LauncherContract, AtTheTimeOutTheWholeGroupIsKilledWhatIgnoresSIGTERMToo) {
    for (const auto program : {Program::hangsIgnoringTerm, Program::hangsWithGrandchild}) {
        EXPECT_EQ(this->run(program), (LaunchResult{Kind::timedOut, 0, {}}));
    }
    // What ignores SIGTERM goes with the SIGKILL after it, soon but not at once.
    for (const pid_t pid : this->driver.processes()) this->driver.runUntil([&] { return this->driver.isGone(pid); });
}

TYPED_TEST(LauncherContract, AProgramToBeLeftRunningIsLeftRunningAtTheTimeOutAndReapedWhenItEnds) {
    auto request = this->driver.request(Program::hangs);
    request.leaveRunning = true;
    EXPECT_EQ(this->run(request), (LaunchResult{Kind::stillRunning, 0, {}}));
    for (const pid_t pid : this->driver.processes()) EXPECT_FALSE(this->driver.isGone(pid)) << pid;
    this->driver.endLeftRunning();
}

// What only real processes show.

class PosixLauncherTest : public LauncherContract<PosixLauncherDriver> {
protected:
    const testing_support::TempFolder& temp() const { return driver.temp(); }
};

// The program is a bare name, found in PATH.
TEST_F(PosixLauncherTest, EachArgumentArrivesAsItIsWithNoShellInBetween) {
    const auto out = temp().path() / "arguments";
    const std::vector<std::string> arguments = {"a b", "*", "$HOME;", "", "'\"", "x\ny"};
    std::vector<std::string> passed = {"-c", "printf '%s|' \"$#\" \"$@\" > \"$0\"", out.string()};
    passed.insert(passed.end(), arguments.begin(), arguments.end());
    EXPECT_EQ(run(requestFor("sh", passed)), (LaunchResult{Kind::exited, 0, {}}));
    EXPECT_EQ(testing_support::readFile(out), "6|a b|*|$HOME;||'\"|x\ny|");
}

TEST_F(PosixLauncherTest, OutputIsCapturedWithErrorsDroppedOrDiscardedOrLeftAsItWas) {
    // A grandchild that keeps the output open past the time-out does not hold the result back.
    auto capture = requestFor("sh", {"-c", "printf 'one\\n'; echo lost >&2; printf two; (exec sleep 2) &"}, Seconds(1));
    capture.output = LaunchRequest::Output::capture;
    const auto captured = run(capture);
    EXPECT_EQ(captured.kind, Kind::exited);
    EXPECT_EQ(captured.output, "one\ntwo");

    const auto out = temp().path() / "where";
    auto discard = requestFor("sh", {"-c", "a=$(readlink /proc/$$/fd/1); b=$(readlink /proc/$$/fd/2); echo \"$a $b\" > " + out.string()});
    discard.output = LaunchRequest::Output::discard;
    EXPECT_EQ(run(discard), (LaunchResult{Kind::exited, 0, {}}));
    EXPECT_EQ(testing_support::readFile(out), "/dev/null /dev/null\n");

    // A capture that the program never writes to reads as empty, even when it fails.
    auto silent = requestFor("sh", {"-c", "exit 5"});
    silent.output = LaunchRequest::Output::capture;
    EXPECT_EQ(run(silent), (LaunchResult{Kind::exited, 5, {}}));
}

TEST_F(PosixLauncherTest, TheProgramLeadsItsOwnGroupReadsNothingAndBlocksOrIgnoresNoSignal) {
    // What this process blocks or ignores must not reach the program.
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    struct sigaction formerPipe {};
    ASSERT_EQ(::sigaction(SIGPIPE, &ignore, &formerPipe), 0);
    sigset_t usr1;
    sigemptyset(&usr1);
    sigaddset(&usr1, SIGUSR1);
    sigset_t formerMask;
    ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, &usr1, &formerMask), 0);

    // The shell blocks every signal while it starts a command, so the
    // program reads its signals itself, once the shell has become it.
    const auto out = temp().path() / "surroundings";
    const auto result = run(driver.shell(
        "set -- $(cat /proc/$$/stat); echo \"$5 $$\" > " + out.string() + "; readlink /proc/$$/fd/0 >> " +
        out.string() + "; exec grep -E '^Sig(Blk|Ign):' /proc/self/status >> " + out.string()));

    ::pthread_sigmask(SIG_SETMASK, &formerMask, nullptr);
    ::sigaction(SIGPIPE, &formerPipe, nullptr);
    ASSERT_EQ(result, (LaunchResult{Kind::exited, 0, {}}));
    std::ifstream in(out);
    std::string group, pid, input, blocked, ignored;
    in >> group >> pid >> input;
    std::getline(in >> std::ws, blocked);
    std::getline(in >> std::ws, ignored);
    EXPECT_EQ(group, pid) << "its process group is its own";
    EXPECT_EQ(input, "/dev/null");
    EXPECT_EQ(blocked, "SigBlk:\t0000000000000000");
    // glibc's posix_spawn leaves the C library's own signals (those between
    // 31 and SIGRTMIN) ignored in the child, whose C library takes them over
    // as it starts; none of the signals of programs' own is ignored.
    std::uint64_t libraryOwn = 0;
    for (int signal = 32; signal < SIGRTMIN; ++signal) libraryOwn |= std::uint64_t{1} << (signal - 1);
    ASSERT_TRUE(ignored.starts_with("SigIgn:\t")) << ignored;
    EXPECT_EQ(std::stoull(ignored.substr(8), nullptr, 16) & ~libraryOwn, 0u) << ignored;
}

TEST_F(PosixLauncherTest, ADestroyedLauncherLeavesWhatWasToBeLeftEndsTheRestAndReportsNothing) {
    // Written, not only created: the shell makes the file before it writes to it.
    const auto started = [&](const char* pidFile) {
        std::error_code error;
        return fs::file_size(temp().path() / pidFile, error) > 0 && !error;
    };
    auto scheduler = std::make_unique<QtScheduler>();
    auto launcher = std::make_unique<PosixLauncher>(*scheduler);
    auto leave = driver.request(Program::hangs);
    leave.timeout = Seconds(60);
    leave.leaveRunning = true;
    auto end = driver.request(Program::hangsIgnoringTerm);
    end.timeout = Seconds(60);
    int calls = 0;
    launcher->launch(leave, [&](LaunchResult) { ++calls; });
    launcher->launch(end, [&](LaunchResult) { ++calls; });
    // Both have started once both have written their ids.
    driver.runUntil([&] { return started("leader-0.pid") && started("leader-1.pid"); });
    const auto pids = driver.processes();
    ASSERT_EQ(pids.size(), 2u);
    // Their results are posted, or about to be, when the launcher goes; they never arrive.
    launcher->launch(driver.request(Program::missing), [&](LaunchResult) { ++calls; });
    launcher->launch(driver.request(Program::exitsWith3), [&](LaunchResult) { ++calls; });

    launcher.reset();  // waits for the group that ignores SIGTERM, not for the one left running
    EXPECT_TRUE(isRunning(pids[0])) << "left running";
    EXPECT_FALSE(processState(pids[1]).has_value()) << "killed and reaped";
    testing_support::deliverEvents();
    EXPECT_EQ(calls, 0);
    scheduler.reset();  // no thread of the launcher's may touch it any more

    // The one left running is still reaped when it ends.
    ::kill(pids[0], SIGKILL);
    driver.runUntil([&] { return !processState(pids[0]).has_value(); });
}

}  // namespace
}  // namespace pivra
