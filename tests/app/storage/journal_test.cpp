// Cut-off lines at every byte are tested in crash_safety_test.cpp.

#include "app/storage/journal.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/files.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

const Instant kNow = instantFromReferenceSeconds(795182400);
const Instant kEver = instantFromReferenceSeconds(0);

LogEntry entryAt(Instant t, std::string text) { return LogEntry{t, std::move(text), std::nullopt, std::nullopt}; }

std::vector<std::string> textsOf(const std::vector<LogEntry>& entries) {
    std::vector<std::string> texts;
    for (const auto& entry : entries) texts.push_back(entry.text);
    return texts;
}

class JournalTest : public testing::Test {
protected:
    testing_support::TempFolder temp;
    fs::path file = temp.path() / "pivra-log.jsonl";
    Journal journal{file};
};

TEST_F(JournalTest, AppendsOneLineAnEntryAndReadsFromTheCutOffTimeInFileOrder) {
    journal.append(LogEntry{kNow, "Link from com.apple.mail", "example.com", "/a"});
    EXPECT_EQ(testing_support::readFile(file),
              "{\"t\":795182400,\"text\":\"Link from com.apple.mail\",\"host\":\"example.com\",\"path\":\"/a\"}\n");
    journal.append(entryAt(kNow - 1s, "a second earlier"));
    journal.append(entryAt(kNow - 1h, "an hour earlier"));
    EXPECT_EQ(textsOf(journal.entries(kNow - 1s)),
              (std::vector<std::string>{"Link from com.apple.mail", "a second earlier"}));
}

TEST_F(JournalTest, BadLinesAreSkippedAndTheLinesAroundThemKept) {
    testing_support::writeFile(file, "{\"t\":1,\"text\":\"first\"}\n"
                                     "not json at all\n"
                                     "\n"
                                     "{\"t\":2,\"text\":\"second\"}\n"
                                     "{\"t\":3,\"te");  // cut off by a crash
    EXPECT_EQ(textsOf(journal.entries(kEver)), (std::vector<std::string>{"first", "second"}));
}

TEST_F(JournalTest, AnAppendPastTheLimitTrimsToTheLastWholeLinesUnder256KiB) {
    // 100-byte lines: 5242 of them make 524,200 bytes, just under the limit.
    const auto lineFor = [](int i) {
        std::string text = "entry " + std::to_string(i) + " ";
        std::string line = LogEntryCoding::encode(entryAt(instantFromReferenceSeconds(i), text));
        text.append(99 - line.size(), 'x');
        return LogEntryCoding::encode(entryAt(instantFromReferenceSeconds(i), text)) + "\n";
    };
    ASSERT_EQ(lineFor(12345).size(), 100u);
    std::string contents;
    for (int i = 0; i < 5242; ++i) contents += lineFor(i);
    testing_support::writeFile(file, contents);

    // An entry that brings the file to one byte under the limit leaves it whole.
    const auto overhead = LogEntryCoding::encode(entryAt(instantFromReferenceSeconds(5241), "")).size() + 1;
    const auto toLimit = kJournalTrimSize - 1 - contents.size() - overhead;
    journal.append(entryAt(instantFromReferenceSeconds(5241), std::string(toLimit, 'y')));
    ASSERT_EQ(fs::file_size(file), kJournalTrimSize - 1);
    journal.append(entryAt(instantFromReferenceSeconds(5242), std::string(60, 'z')));

    const std::string trimmed = testing_support::readFile(file);
    EXPECT_LE(trimmed.size(), kJournalKeptSize);
    EXPECT_GT(trimmed.size(), kJournalKeptSize - 200);
    EXPECT_EQ(trimmed.front(), '{');
    EXPECT_EQ(trimmed.back(), '\n');
    const auto entries = journal.entries(kEver);
    EXPECT_EQ(entries.back().text, std::string(60, 'z'));
    EXPECT_EQ(std::count(trimmed.begin(), trimmed.end(), '\n'), static_cast<long>(entries.size()));
}

TEST_F(JournalTest, AnOversizedBrokenLineIsDroppedByTheTrim) {
    // One enormous broken line, then one beyond what a journal is read at.
    for (const std::uintmax_t size : {std::uintmax_t{600000}, kMaxJournalFileSize + 1}) {
        testing_support::writeFile(file, std::string(size, 'x'));
        journal.append(entryAt(kNow, "tiny"));
        // The kept tail starts after the line feed that ends the broken line.
        EXPECT_EQ(textsOf(journal.entries(kNow)), std::vector<std::string>{"tiny"}) << size;
        EXPECT_LE(fs::file_size(file), kJournalKeptSize);
    }

    // The very first entry is held to the limit too.
    const fs::path fresh = temp.path() / "fresh.jsonl";
    Journal(fresh).append(entryAt(kNow, std::string(kJournalTrimSize, 'w')));
    EXPECT_LE(fs::file_size(fresh), kJournalKeptSize);
}

TEST_F(JournalTest, ClearDeletesTheFileAndMissingOrUnwritableFilesNeverThrow) {
    EXPECT_TRUE(journal.entries(kNow).empty());
    journal.clear();  // nothing to delete: no error
    journal.append(entryAt(kNow, "x"));
    journal.clear();
    EXPECT_FALSE(fs::exists(file));
    EXPECT_TRUE(journal.entries(kEver).empty());

    testing_support::writeFile(temp.path() / "plain-file", "");
    Journal nowhere(temp.path() / "plain-file" / "pivra-log.jsonl");
    nowhere.append(entryAt(kNow, "lost"));
    EXPECT_TRUE(nowhere.entries(kNow).empty());
}

TEST_F(JournalTest, ProcessesAppendingAtOnceKeepEveryLineWhole) {
    // Lines of a few kilobytes, through trims: an append split by another's,
    // or one lost to a trim replacing the file under it, shows as a line that
    // does not decode or as too few lines after the last trim.
    constexpr int kProcesses = 6;
    constexpr int kLinesEach = 60;
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        const pid_t pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            Journal own(file);
            for (int i = 0; i < kLinesEach; ++i) {
                own.append(entryAt(kNow, std::to_string(p) + ":" + std::to_string(i) + ":" + std::string(4000, 'a' + p)));
            }
            ::_exit(0);
        }
        children.push_back(pid);
    }
    for (const pid_t pid : children) {
        int status = 0;
        ASSERT_EQ(::waitpid(pid, &status, 0), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    const std::string bytes = testing_support::readFile(file);
    std::size_t lines = 0;
    for (std::size_t at = 0; at < bytes.size();) {
        const auto end = bytes.find('\n', at);
        ASSERT_NE(end, std::string::npos) << "the journal ends inside a line";
        const auto entry = LogEntryCoding::decode(std::string_view(bytes).substr(at, end - at));
        ASSERT_TRUE(entry.has_value()) << "a line split by another: " << bytes.substr(at, 80);
        EXPECT_EQ(entry->text.size(), 4000 + entry->text.find(':', entry->text.find(':') + 1) + 1);
        ++lines;
        at = end + 1;
    }
    // 360 lines of 4 KB pass the trim size more than once; what a trim keeps
    // plus what came after it is never fewer than the kept size's worth.
    EXPECT_GE(lines * 4100, kJournalKeptSize);
    EXPECT_EQ(journal.entries(kEver).size(), lines);
}

}  // namespace
}  // namespace pivra
