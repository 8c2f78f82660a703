// What survives a crash: a journal cut anywhere, and files replaced while
// someone reads them.

#include <atomic>
#include <chrono>
#include <thread>

#include <gtest/gtest.h>

#include "app/storage/file_io.hpp"
#include "app/storage/journal.hpp"
#include "core/files/small_file.hpp"
#include "core/rules/rules_coding.hpp"
#include "tests/support/files.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;

TEST(CrashSafety, AJournalCutAtAnyByteKeepsEveryCompleteEntry) {
    testing_support::TempFolder temp;
    const fs::path file = temp.path() / "pivra-log.jsonl";
    const Instant start = instantFromReferenceSeconds(795182400.25);
    std::vector<LogEntry> written{
        {start, "Opened in Google Chrome · Work", "example.com", "/a?b=1"},
        {start + std::chrono::seconds(1), "Couldn’t open the profile: the profile is gone", std::nullopt, std::nullopt},
        {start + std::chrono::seconds(2), "Unwrapped from “www.google.com” {\"not\": json}\\", "xn--bcher-kva.example", "/"},
        {start + std::chrono::seconds(3), "Paused · fallback", "例え.jp", "/パス"},
    };
    Journal journal(file);
    for (const auto& entry : written) journal.append(entry);
    const std::string bytes = testing_support::readFile(file);
    ASSERT_EQ(std::count(bytes.begin(), bytes.end(), '\n'), static_cast<long>(written.size()));

    // Where each entry's line ends (the index of its last byte before the line feed).
    std::vector<std::size_t> lineEnds;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] == '\n') lineEnds.push_back(i - 1);
    }
    const fs::path cut = temp.path() / "cut.jsonl";
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        testing_support::writeFile(cut, std::string_view(bytes).substr(0, length));
        std::vector<LogEntry> expected;
        for (std::size_t k = 0; k < written.size(); ++k) {
            if (lineEnds[k] < length) expected.push_back(written[k]);
        }
        Journal reader(cut);
        ASSERT_EQ(reader.entries(Instant{}), expected) << "cut at byte " << length;

        // Appending after the crash loses nothing more than the cut-off line.
        const LogEntry next{start + std::chrono::seconds(9), "After the crash", std::nullopt, std::nullopt};
        reader.append(next);
        expected.push_back(next);
        ASSERT_EQ(reader.entries(Instant{}), expected) << "append after a cut at byte " << length;
    }
}

TEST(CrashSafety, AReaderNeverSeesAHalfWrittenFile) {
    testing_support::TempFolder temp;
    const fs::path file = temp.path() / "rules.json";
    const std::string first(256 * 1024, 'a');
    const std::string second(300 * 1024, 'b');
    ASSERT_TRUE(writeFileAtomically(file, first));

    std::atomic<bool> done{false};
    std::atomic<int> reads{0};
    std::atomic<int> torn{0};
    std::thread reader([&] {
        while (!done.load() || reads.load() < 50) {
            const auto bytes = readSmallFile(file, kMaxRulesFileSize);
            if (!bytes || (*bytes != first && *bytes != second)) ++torn;
            ++reads;
        }
    });
    for (int i = 0; i < 200; ++i) ASSERT_TRUE(writeFileAtomically(file, i % 2 ? first : second));
    done = true;
    reader.join();
    EXPECT_EQ(torn.load(), 0) << "of " << reads.load() << " reads";
}

TEST(CrashSafety, TemporaryFilesLeftByACrashAreNeverReadAndAreCleanedUp) {
    testing_support::TempFolder temp;
    const fs::path file = temp.path() / "counts.json";
    testing_support::writeFile(file, "{\"real\":true}");
    // What a crash between creating and renaming a temporary file leaves.
    testing_support::writeFile(temp.path() / ".counts.json.Ab12Cd", "{\"half");
    testing_support::writeFile(temp.path() / ".counts.json.zzzzzz", "");
    testing_support::writeFile(temp.path() / ".rules.json.Ab12Cd", "another file's, left alone");
    testing_support::writeFile(temp.path() / ".counts.json.notmine", "not a temporary name");
    for (const char* name : {".counts.json.Ab12Cd", ".counts.json.zzzzzz", ".rules.json.Ab12Cd", ".counts.json.notmine"}) {
        fs::last_write_time(temp.path() / name, fs::file_time_type::clock::now() - std::chrono::hours(1));
    }
    // Another writer's temporary, still being written.
    testing_support::writeFile(temp.path() / ".counts.json.Busy01", "{\"being written");
    EXPECT_EQ(testing_support::readFile(file), "{\"real\":true}");

    ASSERT_TRUE(writeFileAtomically(file, "{\"real\":2}"));
    EXPECT_EQ(testing_support::readFile(file), "{\"real\":2}");
    EXPECT_FALSE(fs::exists(temp.path() / ".counts.json.Ab12Cd"));
    EXPECT_FALSE(fs::exists(temp.path() / ".counts.json.zzzzzz"));
    EXPECT_TRUE(fs::exists(temp.path() / ".rules.json.Ab12Cd"));
    EXPECT_TRUE(fs::exists(temp.path() / ".counts.json.notmine"));
    EXPECT_TRUE(fs::exists(temp.path() / ".counts.json.Busy01")) << "a fresh temporary may be another writer's";
}

}  // namespace
}  // namespace pivra
