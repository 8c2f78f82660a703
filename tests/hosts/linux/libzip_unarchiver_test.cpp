// Unpacking real zips with libzip: a release's bundle comes out whole, with
// its permissions and links; an archive that reaches outside its folder, or
// is too large, leaves nothing at all.

#include "hosts/linux/libzip_unarchiver.hpp"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/manual_time.hpp"
#include "tests/support/poll.hpp"
#include "tests/support/temp_folder.hpp"
#include "tests/support/update_files.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;
using namespace testing_support;

class Unzipping {
public:
    std::expected<void, std::string> unpack(const std::vector<ZipEntry>& entries, ZipLimits limits = {}) {
        writeZip(folder.path() / "Pivra.zip", entries);
        return unpackFile(limits);
    }

    std::expected<void, std::string> unpackFile(ZipLimits limits = {}) {
        LibzipUnarchiver unarchiver{scheduler, limits};
        std::optional<std::expected<void, std::string>> result;
        unarchiver.unpack(folder.path() / "Pivra.zip", target(), [&](auto done) { result = std::move(done); });
        EXPECT_TRUE(runUntil(scheduler, [&] { return result.has_value(); }));
        return result.value_or(std::unexpected("no answer"));
    }

    fs::path target() const { return folder.path() / "downloads/unzipped"; }

    TempFolder folder;
    ManualClock clock;
    ManualScheduler scheduler{clock};

    Unzipping() { fs::create_directories(folder.path() / "downloads"); }
};

TEST(LibzipUnarchiver, UnpacksABundleWithItsPermissionsAndLinks) {
    Unzipping unzipping;
    ASSERT_TRUE(unzipping.unpack(bundleEntries("2.0", "200")));
    const fs::path app = unzipping.target() / "Pivra.app";
    EXPECT_EQ(readFile(app / "Contents/Info.plist"), infoPlist("2.0", "200"));
    EXPECT_EQ(fs::status(app / "Contents/MacOS/Pivra").permissions() & fs::perms::all, static_cast<fs::perms>(0755));
    EXPECT_EQ(fs::read_symlink(app / "Contents/Frameworks/Kit.framework/Versions/Current"), "A");
    EXPECT_EQ(readFile(app / "Contents/Frameworks/Kit.framework/Kit"), "kit");
    EXPECT_EQ(snapshot(unzipping.folder.path() / "downloads").size(), snapshot(unzipping.target()).size() + 1)
        << "nothing beside the folder but the folder itself";
}

struct Hostile {
    const char* name;
    std::vector<ZipEntry> extra;  // after a good bundle
    ZipLimits limits;
    std::string reason;
};

class HostileZip : public ::testing::TestWithParam<Hostile> {};

TEST_P(HostileZip, IsRefusedAndLeavesNothing) {
    Unzipping unzipping;
    std::vector<ZipEntry> entries = bundleEntries("2.0", "200");
    entries.insert(entries.end(), GetParam().extra.begin(), GetParam().extra.end());
    const auto result = unzipping.unpack(entries, GetParam().limits);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), GetParam().reason);
    const std::map<std::string, std::string> untouched{{"Pivra.zip", readFile(unzipping.folder.path() / "Pivra.zip")},
                                                       {"downloads/", ""}};
    EXPECT_EQ(snapshot(unzipping.folder.path()), untouched);
}

INSTANTIATE_TEST_SUITE_P(
    Archives, HostileZip,
    ::testing::Values(
        Hostile{"climbsOut", {ZipEntry::file("../evil.sh", "x")}, {}, "entry “../evil.sh” isn’t inside the folder"},
        Hostile{"climbsOutMidway", {ZipEntry::file("Pivra.app/../../evil.sh", "x")}, {},
                "entry “Pivra.app/../../evil.sh” isn’t inside the folder"},
        Hostile{"absoluteName", {ZipEntry::file("/tmp/evil.sh", "x")}, {}, "entry “/tmp/evil.sh” isn’t inside the folder"},
        Hostile{"linkToRoot", {ZipEntry::link("Pivra.app/Contents/Resources", "/")}, {},
                "entry “Pivra.app/Contents/Resources” is a link to an absolute path"},
        Hostile{"linkClimbingOut", {ZipEntry::link("Pivra.app/Contents/Up", "../../..")}, {},
                "entry “Pivra.app/Contents/Up” links out of the folder"},
        // Each looks inside on its own; together they lead out.
        Hostile{"linksLeadingOutTogether",
                {ZipEntry::link("Pivra.app/Contents/here", ".."), ZipEntry::link("Pivra.app/out", "Contents/here/../..")},
                {},
                "entry “Pivra.app/out” links out of the folder"},
        Hostile{"writeThroughALink",
                {ZipEntry::link("Pivra.app/Contents/Plugins", "MacOS"), ZipEntry::file("Pivra.app/Contents/Plugins/x", "x")},
                {},
                "entry “Pivra.app/Contents/Plugins” can’t be made: File exists"},
        Hostile{"tooManyEntries", {}, ZipLimits{.maxEntries = 5, .maxTotalSize = 1 << 20},
                "the archive has more than 5 entries"},
        Hostile{"tooLarge", {ZipEntry::file("Pivra.app/Contents/big", std::string(5000, 'b'))},
                ZipLimits{.maxEntries = 100, .maxTotalSize = 4096}, "the archive unpacks to more than 4096 bytes"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(LibzipUnarchiver, RefusesWhatIsNotAZipOrAFolderAlreadyThere) {
    Unzipping unzipping;
    unzipping.folder.write("Pivra.zip", "PK\x03\x04 and then nothing");
    EXPECT_FALSE(unzipping.unpackFile());
    EXPECT_FALSE(fs::exists(unzipping.target()));

    fs::create_directories(unzipping.target());
    EXPECT_FALSE(unzipping.unpack(bundleEntries("2.0", "200")));
    EXPECT_TRUE(fs::is_empty(unzipping.target()));
}

}  // namespace
}  // namespace pivra
