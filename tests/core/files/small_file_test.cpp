#include "core/files/small_file.hpp"

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

using Read = std::expected<std::string, FileReadError>;

TEST(SmallFile, ReadsRegularFilesWholeUpToTheLimit) {
    testing_support::TempFolder folder;
    const std::string bytes("a\0b\r\n\xFF", 6);
    folder.write("six", bytes);
    folder.write("empty", "");
    folder.write("big", std::string(100'000, 'x'));  // more than one chunk of the reader
    std::filesystem::create_symlink(folder.path() / "six", folder.path() / "link");
    std::filesystem::create_directory(folder.path() / "folder");
    ASSERT_EQ(::mkfifo((folder.path() / "pipe").c_str(), 0600), 0);  // opening it would block

    const struct {
        const char* name;
        std::uintmax_t limit;
        Read read;
    } table[] = {
        {"six", 6, bytes},
        {"six", 5, std::unexpected(FileReadError::tooLarge)},
        {"link", 6, bytes},
        {"empty", 0, ""},
        {"big", 100'000, std::string(100'000, 'x')},
        {"big", 99'999, std::unexpected(FileReadError::tooLarge)},
        {"missing", 6, std::unexpected(FileReadError::unreadable)},
        {"folder", 6, std::unexpected(FileReadError::unreadable)},
        {"pipe", 6, std::unexpected(FileReadError::unreadable)},
    };
    for (const auto& [name, limit, read] : table) {
        EXPECT_EQ(readSmallFile(folder.path() / name, limit), read) << name << " " << limit;
    }
}

}  // namespace
}  // namespace pivra
