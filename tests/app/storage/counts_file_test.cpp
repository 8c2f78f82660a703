// counts.json shared by several processes: each save adds its own links to
// what the others saved, so none is lost however the saves meet.

#include "app/storage/counts_file.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/files.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;

constexpr CalendarDay kToday{2026, 3, 14};

LinkCounts oneLink(std::string_view key) {
    LinkCounts counts;
    counts.add(key, kToday);
    return counts;
}

class CountsFileTest : public testing::Test {
protected:
    std::int64_t countOnDisk(std::string_view key) const { return CountsFile(file).load().total(key, kToday, 30); }

    testing_support::TempFolder temp;
    fs::path file = temp.path() / "state" / "counts.json";
};

TEST_F(CountsFileTest, ASaveAddsToWhatIsOnDiskAndGivesTheResult) {
    fs::create_directories(file.parent_path());
    testing_support::writeFile(file, R"({"days":{"2026-03-13":{"R1":4},"2026-01-01":{"R1":7}}})");
    const auto saved = CountsFile(file).addAndSave(oneLink("R1"), kToday);
    ASSERT_TRUE(saved.has_value());
    // The day more than 30 days back is gone; the others add up.
    EXPECT_EQ(saved->days, (std::map<std::string, std::map<std::string, std::int64_t>>{
                               {"2026-03-13", {{"R1", 4}}}, {"2026-03-14", {{"R1", 1}}}}));
    EXPECT_EQ(CountsFile(file).load(), *saved);
}

TEST_F(CountsFileTest, ABrokenFileCountsAsEmptyAndAFailedWriteChangesNothing) {
    fs::create_directories(file.parent_path());
    testing_support::writeFile(file, "{not json");
    EXPECT_EQ(CountsFile(file).addAndSave(oneLink("R1"), kToday), oneLink("R1"));

    fs::remove(file);
    fs::create_directories(file);  // in the way of the write
    EXPECT_EQ(CountsFile(file).addAndSave(oneLink("R1"), kToday), std::nullopt);
    EXPECT_FALSE(CountsFile(file).clear());
    EXPECT_TRUE(fs::is_directory(file));
}

TEST_F(CountsFileTest, ClearEmptiesTheFileForEveryone) {
    ASSERT_TRUE(CountsFile(file).addAndSave(oneLink("R1"), kToday));
    EXPECT_TRUE(CountsFile(file).clear());
    EXPECT_EQ(testing_support::readFile(file), "{\n  \"days\" : {}\n}");
    EXPECT_EQ(CountsFile(file).addAndSave(oneLink("R2"), kToday), oneLink("R2"));
}

TEST_F(CountsFileTest, ThreadsSavingAtOnceLoseNoLink) {
    constexpr int kThreads = 8;
    constexpr int kSavesEach = 25;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            // Each thread as its own process would: its own file object, a link a save.
            const CountsFile counts(file);
            const std::string key = t % 2 == 0 ? "R1" : "fallback";
            for (int i = 0; i < kSavesEach; ++i) ASSERT_TRUE(counts.addAndSave(oneLink(key), kToday));
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(countOnDisk("R1"), kThreads / 2 * kSavesEach);
    EXPECT_EQ(countOnDisk("fallback"), kThreads / 2 * kSavesEach);
}

TEST_F(CountsFileTest, ProcessesSavingAtOnceLoseNoLink) {
    constexpr int kProcesses = 6;
    constexpr int kSavesEach = 20;
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        const pid_t pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            const CountsFile counts(file);
            LinkCounts two;
            two.add("R1", kToday);
            two.add("R1", kToday);
            for (int i = 0; i < kSavesEach; ++i) {
                if (!counts.addAndSave(two, kToday)) ::_exit(1);
            }
            ::_exit(0);
        }
        children.push_back(pid);
    }
    for (const pid_t pid : children) {
        int status = 0;
        ASSERT_EQ(::waitpid(pid, &status, 0), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "a child's save failed";
    }
    EXPECT_EQ(countOnDisk("R1"), kProcesses * kSavesEach * 2);
}

}  // namespace
}  // namespace pivra
