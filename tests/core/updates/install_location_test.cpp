#include "core/updates/install_location.hpp"

#include <plist/plist.h>

#include <gtest/gtest.h>

#include "tests/support/files.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

TEST(StandardizePath, Table) {
    const std::pair<const char*, const char*> table[] = {
        {"/Applications/Pivra.app", "/Applications/Pivra.app"}, {"/Applications/Pivra.app/", "/Applications/Pivra.app"},
        {"//Applications///Pivra.app//", "/Applications/Pivra.app"},
        {"/Applications/./Utilities/../Pivra.app", "/Applications/Pivra.app"},
        {"/../..", "/"}, {"/..", "/"}, {"/", "/"}, {"//", "/"}, {"///", "/"}, {"/a/b/../../..", "/"},
        {"a/../../b", "../b"}, {"a/..", "."}, {"a/./", "a"}, {"./", "."}, {"..//x/..", ".."},
        {"", ""}, {"/Volumes/Pivra 1.2/./Pivra.app", "/Volumes/Pivra 1.2/Pivra.app"}, {"/a/...b/..c/.", "/a/...b/..c"}};
    for (const auto& [path, standardized] : table) EXPECT_EQ(standardizePath(path), standardized) << path;
}

TEST(InstallLocationComponents, LowerCasesLettersBeyondAscii) {
    EXPECT_EQ(InstallLocation::pathComponents("/Users/ÀÉÎÕÜ Ÿ/ŁŽŊ/ΆΈΩ/ЁЖЯ/×İ/日本/APPS"),
              (std::vector<std::string>{"users", "àéîõü ÿ", "łžŋ", "άέω", "ёжя", "×i\u0307", "日本", "apps"}));
    EXPECT_EQ(InstallLocation::pathComponents("/a/./B/../C/"), (std::vector<std::string>{"a", "c"}));
    EXPECT_EQ(InstallLocation::pathComponents("/Bad\xC3/\xFF" "A"), (std::vector<std::string>{"bad\xC3", "\xFF" "a"}));
    EXPECT_TRUE(InstallLocation::pathComponents("/").empty());
}

const InstallLocation kApplications = InstallLocation::applications();
const InstallLocation kTranslocated = InstallLocation::translocated();
const InstallLocation kElsewhere = InstallLocation::elsewhere();

InstallLocation volume(const char* mountPoint) { return InstallLocation::volume(mountPoint); }

TEST(ClassifyInstallLocation, Table) {
    const struct {
        const char* bundle;
        InstallLocation location;
        const char* home = "/Users/ana";
    } table[] = {
        {"/Applications/Pivra.app", kApplications}, {"/Applications/Utilities/Pivra.app", kApplications},
        {"/applications/Pivra.app/", kApplications}, {"//Applications/./Pivra.app", kApplications},
        {"/Applications/", kElsewhere}, {"/Applications/..", kElsewhere},
        {"/Users/ana/Applications/Pivra.app", kApplications},
        {"/Users/ana/Applications/Tools/Pivra.app", kApplications, "/Users/ana/"},
        {"/Users/ANA/applications/Pivra.app", kApplications}, {"/Users/ana/Applications", kElsewhere},
        {"/Users/ana/Applications/../Pivra.app", kElsewhere}, {"/Users/bob/Applications/Pivra.app", kElsewhere},
        {"/Users/ana/Applications/Pivra.app", kElsewhere, "/Users/an"},
        {"/Users/ana/Applications/Pivra.app", kElsewhere, ""}, {"/Users/ana/Applications/Pivra.app", kElsewhere, "/"},
        {"/Users/Ана/Applications/Pivra.app", kApplications, "/Users/АНА"},
        {"/Users/Zoë/Applications/Pivra.app", kElsewhere, "/Users/Zoe"},
        {"/Users/O'Brien \"Jr\"/Applications/Pivra “Beta”.app", kApplications, "/Users/o'brien \"jr\""},
        {"/Users/ana/Downloads/Pivra.app", kElsewhere}, {"/Users/ana/Desktop/Applications/Pivra.app", kElsewhere},
        {"/Applications/../Users/ana/Downloads/Pivra.app", kElsewhere},
        {"/private/var/folders/xy/AppTranslocationX/Pivra.app", kElsewhere},
        {"/Volumes/Pivra.app", kElsewhere}, {"/Volumes", kElsewhere}, {"Volumes/Pivra/Pivra.app/..", kElsewhere},
        {"/private/var/folders/xy/T/AppTranslocation/0C1D-22/d/Pivra.app", kTranslocated},
        {"/Volumes/Pivra/AppTranslocation/d/Pivra.app", kTranslocated},
        {"/Applications/apptranslocation/Pivra.app", kTranslocated},
        {"/Users/ana/Applications/APPTRANSLOCATION", kTranslocated},
        {"/Volumes/Pivra 1.2/Pivra.app", volume("/Volumes/Pivra 1.2")},
        {"/volumes/PIVRA/Pivra.app", volume("/Volumes/PIVRA")},
        {"/Volumes//Pivra/./Pivra.app/", volume("/Volumes/Pivra")},
        {"/Volumes/Pivra 1.2/../Data/Pivra.app", volume("/Volumes/Data")},
        {"/Volumes/Pivra/Applications/Pivra.app", volume("/Volumes/Pivra")},
        {"/Volumes/Zoë's \"Disk\"/Pivra.app", volume("/Volumes/Zoë's \"Disk\"")},
        {"/Volumes/Macintosh HD/Users/ana/Applications/Pivra.app", volume("/Volumes/Macintosh HD")},
        {"/Volumes/Home/ana/Applications/Pivra.app", kApplications, "/Volumes/Home/ana"}};
    for (const auto& c : table) {
        const auto location = InstallLocation::classify(c.bundle, c.home);
        EXPECT_EQ(location.kind(), c.location.kind()) << c.bundle << " in " << c.home;
        EXPECT_EQ(location.mountPoint(), c.location.mountPoint()) << c.bundle;
    }
}

// Translocated copies share one place; others are their standardized path.
TEST(InstallLocationPlace, Descriptions) {
    EXPECT_EQ(InstallLocation::placeDescription("/private/var/folders/a/AppTranslocation/1/d/Pivra.app", kTranslocated),
              "AppTranslocation");
    EXPECT_EQ(InstallLocation::placeDescription("/private/var/folders/b/AppTranslocation/2/d/Pivra.app", kTranslocated),
              "AppTranslocation");
    EXPECT_EQ(InstallLocation::placeDescription("/Volumes/Pivra 1.2/./Pivra.app/", volume("/Volumes/Pivra 1.2")),
              "/Volumes/Pivra 1.2/Pivra.app");
    EXPECT_EQ(InstallLocation::placeDescription("/Users/Zoë/Downloads//Pivra “2”.app", kElsewhere),
              "/Users/Zoë/Downloads/Pivra “2”.app");
}

// --- Disk images ------------------------------------------------------------

std::string readFixture(const std::string& name) {
    return testing_support::readFile(std::filesystem::path(PIVRA_TEST_DATA) / "hdiutil" / name);
}

std::string toBinary(const std::string& xml) {
    plist_t root = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &root);
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    std::string out(bytes, length);
    plist_to_bin_free(bytes);
    plist_free(root);
    return out;
}

TEST(DiskImages, MountPointsOfEveryImageInOrderInEitherForm) {
    const std::vector<std::string> expected{"/Volumes/Pivra 1.4", "/Volumes/Backup “Zoë”", "/Volumes/Backup Extras"};
    const std::string xml = readFixture("several_images.plist");
    const std::string binary = toBinary(xml);
    ASSERT_TRUE(binary.starts_with("bplist00"));
    EXPECT_EQ(DiskImages::volumes(xml), expected);
    EXPECT_EQ(DiskImages::volumes(binary), expected);
    for (const std::string& output :
         {readFixture("no_images.plist"), std::string(), std::string("hdiutil: info failed - Resource busy\n"),
          std::string("\0\0\0\0", 4), std::string("bplist00"), binary.substr(0, binary.size() / 2),
          xml.substr(0, xml.size() / 2),
          std::string("<plist version=\"1.0\"><array><dict><key>images</key><array/></dict></array></plist>"),
          std::string("<plist version=\"1.0\"><dict><key>images</key><dict/></dict></plist>"),
          std::string("<plist version=\"1.0\"><dict><key>images</key><string>/Volumes/X</string></dict></plist>")}) {
        EXPECT_TRUE(DiskImages::volumes(output).empty()) << output.substr(0, 60);
    }
}

// --- The copy already in Applications -----------------------------------------

TEST(CompareBuilds, DottedNumbersCompareNumericallyPieceByPiece) {
    using std::strong_ordering;
    const std::tuple<const char*, const char*, std::optional<strong_ordering>> table[] = {
        {"1204", "999", strong_ordering::greater}, {"1.10", "1.9", strong_ordering::greater},
        {"2", "2.0.0", strong_ordering::equal},    {"01204", "1204", strong_ordering::equal},
        {"1.2", "1.2.1", strong_ordering::less},   {"99999999999999999999999", "1", strong_ordering::greater},
        {"", "1", std::nullopt},                   {"1.", "1", std::nullopt},
        {"1.2b", "1", std::nullopt},               {" 1204", "1204", std::nullopt},
        {"-1", "0", std::nullopt}};
    for (const auto& [a, b, order] : table) EXPECT_EQ(compareBuilds(a, b), order) << a << " vs " << b;
}

TEST(InstalledCopy, ReadsIdentifierAndBuildFromEitherForm) {
    const auto plistXml = [](std::string_view body) {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + std::string(body) +
               "</dict></plist>";
    };
    testing_support::TempFolder folder;
    const std::string xml = plistXml(
        "<key>CFBundleIdentifier</key><string>app.omra.pivra</string><key>CFBundleVersion</key><string>1300</string>");
    folder.write("A/Pivra.app/Contents/Info.plist", xml);
    folder.write("B/Pivra.app/Contents/Info.plist", toBinary(xml));
    folder.write("C/Pivra.app/Contents/Info.plist",
                 plistXml("<key>CFBundleIdentifier</key><integer>7</integer><key>CFBundleVersion</key><integer>1300</integer>"));
    folder.write("D/Pivra.app/Contents/Info.plist", "not a property list");
    folder.write("E/Pivra.app/Contents/Info.plist", "<plist version=\"1.0\"><array/></plist>");
    EXPECT_EQ(InstalledCopy::read(folder.path() / "A/Pivra.app"), (InstalledCopy{"app.omra.pivra", "1300"}));
    EXPECT_EQ(InstalledCopy::read(folder.path() / "B/Pivra.app"), (InstalledCopy{"app.omra.pivra", "1300"}));
    EXPECT_EQ(InstalledCopy::read(folder.path() / "C/Pivra.app"), (InstalledCopy{std::nullopt, std::nullopt}));
    for (const char* bundle : {"D/Pivra.app", "E/Pivra.app", "missing/Pivra.app"})
        EXPECT_EQ(InstalledCopy::read(folder.path() / bundle), std::nullopt) << bundle;
}

TEST(InstalledCopy, TakesPrecedenceWhenItIsThisAppAndRunningOrNewer) {
    const auto takes = [](std::optional<std::string> id, std::optional<std::string> build, bool running,
                          std::string_view ours = "app.omra.pivra") {
        return InstalledCopy{std::move(id), std::move(build)}.takesPrecedence(ours, "1204", running);
    };
    EXPECT_TRUE(takes("app.omra.pivra", "1300", false));
    EXPECT_FALSE(takes("app.omra.pivra", "1100", false));
    EXPECT_TRUE(takes("app.omra.pivra", "1100", true));
    EXPECT_FALSE(takes("app.omra.pivra", "1204", false));
    EXPECT_FALSE(takes("app.omra.pivra", "1.3 beta", false));
    EXPECT_FALSE(takes("app.omra.pivra", std::nullopt, false));
    // Another app in the way is replaced, running or not; identifiers compare exactly.
    EXPECT_FALSE(takes("app.omra.pivra.debug", "9999", true));
    EXPECT_FALSE(takes(std::nullopt, "9999", true));
    EXPECT_FALSE(takes("app.omra.pivra", "1300", true, "App.Omra.Pivra"));
}

}  // namespace
}  // namespace pivra
