// Atomic writes through a symlink are tested with the rules store in
// rules_store_watch_test.cpp; torn reads and left-over temporaries in
// crash_safety_test.cpp.

#include "app/storage/file_io.hpp"

#include <gtest/gtest.h>

#include "tests/support/files.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;

std::size_t entryCount(const fs::path& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

TEST(FileIo, AtomicWriteCreatesFoldersReplacesKeepsPermissionsAndLeavesNoTemporaryFile) {
    testing_support::TempFolder temp;
    const fs::path file = temp.path() / "a" / "b" / "x.json";
    ASSERT_TRUE(writeFileAtomically(file, "one"));
    const auto ownerOnly = fs::perms::owner_read | fs::perms::owner_write;
    fs::permissions(file, ownerOnly);
    ASSERT_TRUE(writeFileAtomically(file, "two"));
    EXPECT_EQ(testing_support::readFile(file), "two");
    EXPECT_EQ(fs::status(file).permissions() & fs::perms::all, ownerOnly);
    EXPECT_EQ(entryCount(file.parent_path()), 1u);
}

TEST(FileIo, AFailedAtomicWriteLeavesTheOldFileAndNoTemporaryFile) {
    testing_support::TempFolder temp;
    // A folder where the file should be: the final rename cannot replace it.
    fs::create_directories(temp.path() / "x" / "inside");
    EXPECT_FALSE(writeFileAtomically(temp.path() / "x", "new"));
    EXPECT_TRUE(fs::is_directory(temp.path() / "x"));
    EXPECT_EQ(entryCount(temp.path()), 1u);
    // A parent that is a file: nothing can be created.
    testing_support::writeFile(temp.path() / "plain", "keep");
    EXPECT_FALSE(writeFileAtomically(temp.path() / "plain" / "x", "new"));
    EXPECT_EQ(testing_support::readFile(temp.path() / "plain"), "keep");
}

TEST(FileIo, AppendedLinesStayWholeAndBigOrMissingFilesAreLeftAlone) {
    testing_support::TempFolder temp;
    const auto file = temp.path() / "f";
    EXPECT_EQ(appendLine(file, "x\n", 100), std::unexpected(AppendFailure::cannotOpen));
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(appendLine(temp.path(), "x\n", 100), std::unexpected(AppendFailure::cannotOpen)) << "a folder";

    testing_support::writeFile(file, "");
    EXPECT_EQ(appendLine(file, "a\n", 100), 2u);
    testing_support::writeFile(file, "a\ncut off");  // a crash left half a line
    EXPECT_EQ(appendLine(file, "b\n", 100), 12u);
    EXPECT_EQ(testing_support::readFile(file), "a\ncut off\nb\n");
    EXPECT_EQ(appendLine(file, "c\n", 11), std::unexpected(AppendFailure::tooLarge));
    EXPECT_EQ(testing_support::readFile(file), "a\ncut off\nb\n");
}

}  // namespace
}  // namespace pivra
