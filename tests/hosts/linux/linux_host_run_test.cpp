// The Linux host as a whole: its run and stop, the signals that end a run,
// and the QCoreApplication it runs on, whether the program made one or not.

#include <clocale>
#include <csignal>
#include <ostream>
#include <tuple>

#include <QCoreApplication>
#include <gtest/gtest.h>

#include "app/ports/host.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

class LinuxHostTest : public testing::Test {
protected:
    std::unique_ptr<Host> newHost() { return makeHost(HostOptions{temp.path(), LogLevel::fault}); }

    // Runs `host` with a deadline far beyond need, so that a run that never
    // ends fails the test instead of hanging it.
    void runWithDeadline(Host& host) {
        bool late = false;
        const TaskId deadline = host.ports().scheduler.runAfter(Seconds(30), [&] {
            late = true;
            host.stop();
        });
        host.run();
        host.ports().scheduler.cancel(deadline);
        EXPECT_FALSE(late) << "the run did not end";
    }

    testing_support::TempFolder temp;
};

TEST_F(LinuxHostTest, AStopBeforeRunEndsOnlyTheNextRunAndAtOnce) {
    const auto host = newHost();
    int ran = 0;
    host->ports().scheduler.post([&] {
        ++ran;
        host->stop();
    });
    host->stop();
    runWithDeadline(*host);
    EXPECT_EQ(ran, 0) << "the run ended before any work";
    runWithDeadline(*host);
    EXPECT_EQ(ran, 1) << "the stop was used up; this run ended on the task's own";
}

enum class Former { defaultAction, ignored, handler };
void PrintTo(Former former, std::ostream* os) {
    *os << (former == Former::defaultAction ? "at its default" : former == Former::ignored ? "ignored" : "handled");
}

int formerHandlerCalls = 0;
void formerHandler(int) { ++formerHandlerCalls; }

// Either signal ends a run whatever the process did with it before (had the
// host not caught one left at its default, it would end the test program),
// and what it did comes back after the run.
class LinuxHostSignalTest : public LinuxHostTest, public testing::WithParamInterface<std::tuple<int, Former>> {
protected:
    void SetUp() override {
        ASSERT_EQ(::sigaction(signalNumber, nullptr, &saved_), 0);
        struct sigaction action = {};
        action.sa_handler = former();
        sigemptyset(&action.sa_mask);
        ASSERT_EQ(::sigaction(signalNumber, &action, nullptr), 0);
        formerHandlerCalls = 0;
    }
    void TearDown() override { ::sigaction(signalNumber, &saved_, nullptr); }

    void (*former() const)(int) {
        switch (std::get<1>(GetParam())) {
            case Former::defaultAction: return SIG_DFL;
            case Former::ignored: return SIG_IGN;
            case Former::handler: return formerHandler;
        }
        return SIG_DFL;
    }
    void (*disposition() const)(int) {
        struct sigaction action = {};
        ::sigaction(signalNumber, nullptr, &action);
        return action.sa_handler;
    }

    const int signalNumber = std::get<0>(GetParam());

private:
    struct sigaction saved_ = {};
};

TEST_P(LinuxHostSignalTest, EndsTheRunAndWhatWasThereBeforeComesBack) {
    const auto host = newHost();
    bool caughtDuringRun = false;
    host->ports().scheduler.post([&] {
        caughtDuringRun = disposition() != former();
        std::raise(signalNumber);
    });
    runWithDeadline(*host);
    EXPECT_TRUE(caughtDuringRun);
    EXPECT_EQ(formerHandlerCalls, 0) << "the host's own handler takes the signal";
    EXPECT_EQ(disposition(), former());

    // The next run is ended the same way.
    host->ports().scheduler.post([&] { std::raise(signalNumber); });
    runWithDeadline(*host);
    EXPECT_EQ(formerHandlerCalls, 0);
    EXPECT_EQ(disposition(), former());
}

std::string signalCaseName(const testing::TestParamInfo<std::tuple<int, Former>>& info) {
    static const char* const kFormers[] = {"AtItsDefault", "Ignored", "Handled"};
    return std::string(std::get<0>(info.param) == SIGINT ? "SIGINT" : "SIGTERM") +
           kFormers[static_cast<int>(std::get<1>(info.param))];
}

INSTANTIATE_TEST_SUITE_P(EndSignals, LinuxHostSignalTest,
                         testing::Combine(testing::Values(SIGINT, SIGTERM),
                                          testing::Values(Former::defaultAction, Former::ignored, Former::handler)),
                         signalCaseName);

TEST_F(LinuxHostTest, MakesAnApplicationWhenTheProgramHasNoneAndTheLastHostToGoEndsIt) {
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    auto first = newHost();
    QCoreApplication* const made = QCoreApplication::instance();
    ASSERT_NE(made, nullptr);
    // Numbers in files keep their "." whatever the user's locale.
    EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    auto second = newHost();
    EXPECT_EQ(QCoreApplication::instance(), made);
    first.reset();
    EXPECT_EQ(QCoreApplication::instance(), made);
    bool ran = false;
    second->ports().scheduler.post([&] {
        ran = true;
        second->stop();
    });
    runWithDeadline(*second);
    EXPECT_TRUE(ran);
    second.reset();
    EXPECT_EQ(QCoreApplication::instance(), nullptr);
}

TEST_F(LinuxHostTest, RunsOnTheProgramsOwnApplicationAndLeavesItBehind) {
    int argc = 1;
    char name[] = "pivra-gui";
    char* argv[] = {name, nullptr};
    QCoreApplication application(argc, argv);
    auto host = newHost();
    EXPECT_EQ(QCoreApplication::instance(), &application);
    // The application quitting ends the run, as a desktop app's last window closing does.
    bool ran = false;
    host->ports().scheduler.post([&] {
        ran = true;
        QCoreApplication::quit();
    });
    runWithDeadline(*host);
    EXPECT_TRUE(ran);
    host.reset();
    EXPECT_EQ(QCoreApplication::instance(), &application);
}
}  // namespace
}  // namespace pivra
