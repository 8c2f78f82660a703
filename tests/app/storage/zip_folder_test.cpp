#include "app/storage/zip_folder.hpp"

#include <gtest/gtest.h>

#include "tests/support/files.hpp"
#include "tests/support/temp_folder.hpp"
#include "tests/support/zip_entries.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;
using testing_support::TempFolder;
using testing_support::ZipEntry;

// The names in a folder, hidden ones (temporaries) included.
std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

TEST(ZipFolder, TheSameFilesGiveTheSameBytesWhateverTheirTimesModesAndOrder) {
    TempFolder temp;
    // The same names and bytes, written in another order, with other times and permissions.
    temp.write("one/report/b.txt", "bee");
    temp.write("one/report/a.txt", std::string(5000, 'a'));
    temp.write("one/report/é.txt", "");
    temp.write("two/report/é.txt", "");
    temp.write("two/report/a.txt", std::string(5000, 'a'));
    temp.write("two/report/b.txt", "bee");
    fs::last_write_time(temp.path() / "two/report/a.txt", fs::file_time_type::clock::now() - std::chrono::hours(50));
    fs::permissions(temp.path() / "two/report/b.txt", fs::perms::owner_read);
    // Neither a subfolder nor a link goes in.
    temp.write("two/report/sub/c.txt", "c");
    fs::create_symlink("a.txt", temp.path() / "two/report/link.txt");

    ASSERT_TRUE(zipFolder(temp.path() / "one/report", temp.path() / "one.zip"));
    ASSERT_TRUE(zipFolder(temp.path() / "two/report/", temp.path() / "two.zip"));
    const auto one = testing_support::readFile(temp.path() / "one.zip");
    EXPECT_EQ(one, testing_support::readFile(temp.path() / "two.zip"));

    constexpr std::uint32_t kMode = 0100644;
    EXPECT_EQ(testing_support::readZip(temp.path() / "one.zip"),
              (std::vector<ZipEntry>{{"report/a.txt", std::string(5000, 'a'), kMode, ZIP_CM_DEFLATE},
                                     {"report/b.txt", "bee", kMode, ZIP_CM_DEFLATE},
                                     {"report/é.txt", "", kMode, ZIP_CM_DEFLATE}}));
    EXPECT_LT(one.size(), 600u) << "the repeated bytes are compressed";
    EXPECT_EQ(namesIn(temp.path()), (std::vector<std::string>{"one", "one.zip", "two", "two.zip"})) << "no temporaries";
}

TEST(ZipFolder, AFailureSaysWhyAndLeavesNothingBehind) {
    TempFolder temp;
    temp.write("report/a.txt", "a");
    temp.write("old.zip", "old");
    fs::create_directory(temp.path() / "empty");
    temp.write("a-file", "");
    struct Case {
        const char* folder;
        const char* zip;
        const char* why;
    };
    for (const Case& c : {Case{"report", "a-file/report.zip", "can’t write"}, Case{"missing", "old.zip", "can’t read the folder"},
                          Case{"empty", "old.zip", "there are no files"}}) {
        const auto result = zipFolder(temp.path() / c.folder, temp.path() / c.zip);
        ASSERT_FALSE(result) << c.folder;
        EXPECT_NE(result.error().find(c.why), std::string::npos) << result.error();
    }
    EXPECT_EQ(temp.read("old.zip"), "old");
    EXPECT_EQ(namesIn(temp.path()), (std::vector<std::string>{"a-file", "empty", "old.zip", "report"}));
}

}  // namespace
}  // namespace pivra
