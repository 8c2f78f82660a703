#include "hosts/linux/proc_processes.hpp"

#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

TEST(ProcProcesses, ParentFromStatLines) {
    const std::pair<const char*, std::optional<pid_t>> cases[] = {
        {"1234 (bash) S 1200 1234 1234 34816 1234 4194304", 1200},
        {"77 (Web Content) R 1 77 77 0 -1", 1},
        {"9 (a) b (c)) S 42 9 9", 42},  // a name may hold blanks and parentheses
        {"9 ()) S 0 9 9", 0},
        {"9 (x) S", std::nullopt},
        {"9 (x) S -5 1", std::nullopt},
        {"9 (x) S 12abc 1", std::nullopt},
        {"9 x S 12 1", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [stat, parent] : cases) EXPECT_EQ(parentFromStat(stat), parent) << stat;
}

TEST(ProcProcesses, ReadsTheRealProcessTableAndAnswersNothingForTheGone) {
    const ProcProcesses processes;
    EXPECT_EQ(processes.parent(::getpid()), ::getppid());
    EXPECT_EQ(processes.parent(0), std::nullopt);
    EXPECT_EQ(processes.parent(-1), std::nullopt);
    EXPECT_EQ(processes.parent(std::numeric_limits<pid_t>::max()), std::nullopt);

    testing_support::TempFolder proc;
    proc.write("5/stat", "5 (chat) S 4 5 5 0");
    proc.write("6/stat", "garbage");
    const ProcProcesses fake(proc.path());
    EXPECT_EQ(fake.parent(5), 4);
    EXPECT_EQ(fake.parent(6), std::nullopt);
    EXPECT_EQ(fake.parent(7), std::nullopt);
}

}  // namespace
}  // namespace pivra
