#include "core/install_location.hpp"

#include <fstream>
#include <sstream>

#include <plist/plist.h>

#include <gtest/gtest.h>

#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

struct StandardizeCase {
    const char* path;
    const char* standardized;
};

void PrintTo(const StandardizeCase& c, std::ostream* os) { *os << '"' << c.path << '"'; }

class StandardizePath : public testing::TestWithParam<StandardizeCase> {};

TEST_P(StandardizePath, Table) {
    EXPECT_EQ(standardizePath(GetParam().path), GetParam().standardized) << GetParam().path;
}

INSTANTIATE_TEST_SUITE_P(
    Table, StandardizePath,
    testing::Values(StandardizeCase{"/Applications/Pivra.app", "/Applications/Pivra.app"},
                    StandardizeCase{"/Applications/Pivra.app/", "/Applications/Pivra.app"},
                    StandardizeCase{"//Applications///Pivra.app//", "/Applications/Pivra.app"},
                    StandardizeCase{"/Applications/./Utilities/../Pivra.app", "/Applications/Pivra.app"},
                    StandardizeCase{"/../..", "/"}, StandardizeCase{"/..", "/"}, StandardizeCase{"/", "/"},
                    StandardizeCase{"/a/b/../../..", "/"}, StandardizeCase{"a/../../b", "../b"},
                    StandardizeCase{"a/..", "."}, StandardizeCase{"", ""},
                    StandardizeCase{"/Volumes/Pivra 1.2/./Pivra.app", "/Volumes/Pivra 1.2/Pivra.app"},
                    StandardizeCase{"/a/...b/..c/.", "/a/...b/..c"}));

TEST(InstallLocationComponents, LowerCasesLettersBeyondAscii) {
    EXPECT_EQ(InstallLocation::pathComponents("/Users/ÀÉÎÕÜ Ÿ/ŁŽŊ/ΆΈΩ/ЁЖЯ/×İ/日本/APPS"),
              (std::vector<std::string>{"users", "àéîõü ÿ", "łžŋ", "άέω", "ёжя", "×i\u0307", "日本", "apps"}));
    EXPECT_EQ(InstallLocation::pathComponents("/a/./B/../C/"), (std::vector<std::string>{"a", "c"}));
    EXPECT_EQ(InstallLocation::pathComponents("/Bad\xC3/\xFF" "A"), (std::vector<std::string>{"bad\xC3", "\xFF" "a"}));
    EXPECT_TRUE(InstallLocation::pathComponents("/").empty());
}

struct ClassifyCase {
    const char* bundle;
    const char* home;
    InstallLocation location;
};

void PrintTo(const ClassifyCase& c, std::ostream* os) { *os << c.bundle; }

class ClassifyInstallLocation : public testing::TestWithParam<ClassifyCase> {};

TEST_P(ClassifyInstallLocation, Table) {
    const auto& c = GetParam();
    const auto location = InstallLocation::classify(c.bundle, c.home);
    EXPECT_EQ(location.kind(), c.location.kind()) << c.bundle << " in " << c.home;
    EXPECT_EQ(location.mountPoint(), c.location.mountPoint()) << c.bundle;
}

const InstallLocation kApplications = InstallLocation::applications();
const InstallLocation kTranslocated = InstallLocation::translocated();
const InstallLocation kElsewhere = InstallLocation::elsewhere();

INSTANTIATE_TEST_SUITE_P(
    Applications, ClassifyInstallLocation,
    testing::Values(
        ClassifyCase{"/Applications/Pivra.app", "/Users/ana", kApplications},
        ClassifyCase{"/Applications/Utilities/Pivra.app", "/Users/ana", kApplications},
        ClassifyCase{"/applications/Pivra.app/", "/Users/ana", kApplications},
        ClassifyCase{"//Applications/./Pivra.app", "/Users/ana", kApplications},
        ClassifyCase{"/Applications", "/Users/ana", kElsewhere},
        ClassifyCase{"/Applications/", "/Users/ana", kElsewhere},
        ClassifyCase{"/Applications/..", "/Users/ana", kElsewhere},
        ClassifyCase{"/Users/ana/Applications/Pivra.app", "/Users/ana", kApplications},
        ClassifyCase{"/Users/ana/Applications/Tools/Pivra.app", "/Users/ana/", kApplications},
        ClassifyCase{"/Users/ANA/applications/Pivra.app", "/Users/ana", kApplications},
        ClassifyCase{"/Users/ana/Applications", "/Users/ana", kElsewhere},
        ClassifyCase{"/Users/ana/Applications/../Pivra.app", "/Users/ana", kElsewhere},
        ClassifyCase{"/Users/bob/Applications/Pivra.app", "/Users/ana", kElsewhere},
        ClassifyCase{"/Users/ana/Applications/Pivra.app", "/Users/an", kElsewhere},
        ClassifyCase{"/Users/ana/Applications/Pivra.app", "", kElsewhere},
        ClassifyCase{"/Users/ana/Applications/Pivra.app", "/", kElsewhere},
        ClassifyCase{"/Users/Zoë/Applications/Pivra.app", "/Users/ZOË", kApplications},
        ClassifyCase{"/Users/Ана/Applications/Pivra.app", "/Users/АНА", kApplications},
        ClassifyCase{"/Users/Zoë/Applications/Pivra.app", "/Users/Zoe", kElsewhere},
        ClassifyCase{"/Users/Ana “Work”/Applications/Pivra “Beta”.app", "/Users/Ana “Work”", kApplications},
        ClassifyCase{"/Users/O'Brien \"Jr\"/Applications/Pivra.app", "/Users/o'brien \"jr\"", kApplications}));

INSTANTIATE_TEST_SUITE_P(
    Elsewhere, ClassifyInstallLocation,
    testing::Values(
        ClassifyCase{"/Users/ana/Downloads/Pivra.app", "/Users/ana", kElsewhere},
        ClassifyCase{"/Users/ana/Desktop/Applications/Pivra.app", "/Users/ana", kElsewhere},
        ClassifyCase{"/Applications/../Users/ana/Downloads/Pivra.app", "/Users/ana", kElsewhere},
        ClassifyCase{"/private/var/folders/xy/AppTranslocationX/Pivra.app", "/Users/ana", kElsewhere},
        ClassifyCase{"/Volumes/Pivra.app", "/Users/ana", kElsewhere},
        ClassifyCase{"/Volumes", "/Users/ana", kElsewhere},
        ClassifyCase{"Volumes/Pivra/Pivra.app/..", "/Users/ana", kElsewhere}));

INSTANTIATE_TEST_SUITE_P(
    Translocated, ClassifyInstallLocation,
    testing::Values(
        ClassifyCase{"/private/var/folders/xy/T/AppTranslocation/0C1D-22/d/Pivra.app", "/Users/ana", kTranslocated},
        ClassifyCase{"/Volumes/Pivra/AppTranslocation/d/Pivra.app", "/Users/ana", kTranslocated},
        ClassifyCase{"/Applications/apptranslocation/Pivra.app", "/Users/ana", kTranslocated},
        ClassifyCase{"/Users/ana/Applications/APPTRANSLOCATION", "/Users/ana", kTranslocated}));

INSTANTIATE_TEST_SUITE_P(
    Volumes, ClassifyInstallLocation,
    testing::Values(
        ClassifyCase{"/Volumes/Pivra 1.2/Pivra.app", "/Users/ana", InstallLocation::volume("/Volumes/Pivra 1.2")},
        ClassifyCase{"/volumes/PIVRA/Pivra.app", "/Users/ana", InstallLocation::volume("/Volumes/PIVRA")},
        ClassifyCase{"/Volumes//Pivra/./Pivra.app/", "/Users/ana", InstallLocation::volume("/Volumes/Pivra")},
        ClassifyCase{"/Volumes/Pivra 1.2/../Data/Pivra.app", "/Users/ana", InstallLocation::volume("/Volumes/Data")},
        ClassifyCase{"/Volumes/Pivra/Applications/Pivra.app", "/Users/ana", InstallLocation::volume("/Volumes/Pivra")},
        ClassifyCase{"/Volumes/Pivra “Beta”/Pivra.app", "/Users/ana", InstallLocation::volume("/Volumes/Pivra “Beta”")},
        ClassifyCase{"/Volumes/Zoë's \"Disk\"/Pivra.app", "/Users/ana", InstallLocation::volume("/Volumes/Zoë's \"Disk\"")},
        ClassifyCase{"/Volumes/Macintosh HD/Users/ana/Applications/Pivra.app", "/Users/ana",
                     InstallLocation::volume("/Volumes/Macintosh HD")},
        ClassifyCase{"/Volumes/Home/ana/Applications/Pivra.app", "/Volumes/Home/ana", kApplications}));

TEST(InstallLocationPlace, TranslocatedCopiesShareOnePlace) {
    EXPECT_EQ(InstallLocation::placeDescription("/private/var/folders/a/AppTranslocation/1/d/Pivra.app", kTranslocated),
              "AppTranslocation");
    EXPECT_EQ(InstallLocation::placeDescription("/private/var/folders/b/AppTranslocation/2/d/Pivra.app", kTranslocated),
              "AppTranslocation");
}

TEST(InstallLocationPlace, OtherPlacesAreTheirStandardizedPath) {
    EXPECT_EQ(InstallLocation::placeDescription("/Volumes/Pivra 1.2/./Pivra.app/", InstallLocation::volume("/Volumes/Pivra 1.2")),
              "/Volumes/Pivra 1.2/Pivra.app");
    EXPECT_EQ(InstallLocation::placeDescription("/Users/Zoë/Downloads//Pivra “2”.app", kElsewhere),
              "/Users/Zoë/Downloads/Pivra “2”.app");
}

// --- Disk images ------------------------------------------------------------

std::string readFixture(const std::string& name) {
    std::ifstream in(std::string(PIVRA_TEST_DATA) + "/hdiutil/" + name, std::ios::binary);
    std::stringstream buffer;
    buffer << in.rdbuf();
    return buffer.str();
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

const std::vector<std::string> kSeveralImagesVolumes = {"/Volumes/Pivra 1.4", "/Volumes/Backup “Zoë”",
                                                        "/Volumes/Backup Extras"};

TEST(DiskImages, MountPointsOfEveryImageInOrder) {
    EXPECT_EQ(DiskImages::volumes(readFixture("several_images.plist")), kSeveralImagesVolumes);
}

TEST(DiskImages, ReadsTheBinaryFormToo) {
    const std::string binary = toBinary(readFixture("several_images.plist"));
    ASSERT_TRUE(binary.starts_with("bplist00"));
    EXPECT_EQ(DiskImages::volumes(binary), kSeveralImagesVolumes);
}

TEST(DiskImages, NoImagesGiveNone) {
    EXPECT_TRUE(DiskImages::volumes(readFixture("no_images.plist")).empty());
}

TEST(DiskImages, GarbageGivesNone) {
    const std::string several = readFixture("several_images.plist");
    const std::string binary = toBinary(several);
    for (const std::string& output :
         {std::string(), std::string("hdiutil: info failed - Resource busy\n"), std::string("\0\0\0\0", 4),
          std::string("bplist00"), binary.substr(0, binary.size() / 2), several.substr(0, several.size() / 2),
          std::string("<plist version=\"1.0\"><array><dict><key>images</key><array/></dict></array></plist>"),
          std::string("<plist version=\"1.0\"><dict><key>images</key><dict/></dict></plist>"),
          std::string("<plist version=\"1.0\"><dict><key>images</key><string>/Volumes/X</string></dict></plist>")}) {
        EXPECT_TRUE(DiskImages::volumes(output).empty()) << output.substr(0, 60);
    }
}

// --- The copy already in Applications -----------------------------------------

TEST(CompareBuilds, DottedNumbersCompareNumericallyPieceByPiece) {
    using std::strong_ordering;
    const struct {
        const char* a;
        const char* b;
        std::optional<strong_ordering> order;
    } table[] = {
        {"1204", "999", strong_ordering::greater},    {"1.10", "1.9", strong_ordering::greater},
        {"2", "2.0.0", strong_ordering::equal},       {"01204", "1204", strong_ordering::equal},
        {"1.2", "1.2.1", strong_ordering::less},      {"99999999999999999999999", "1", strong_ordering::greater},
        {"", "1", std::nullopt},                      {"1.", "1", std::nullopt},
        {"1.2b", "1", std::nullopt},                  {" 1204", "1204", std::nullopt},
        {"-1", "0", std::nullopt},
    };
    for (const auto& row : table) EXPECT_EQ(compareBuilds(row.a, row.b), row.order) << row.a << " vs " << row.b;
}

std::string infoPlistXml(std::string_view body) {
    return std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>") +
           std::string(body) + "</dict></plist>";
}

TEST(InstalledCopy, ReadsIdentifierAndBuildFromEitherForm) {
    testing_support::TempFolder folder;
    const std::string xml = infoPlistXml(
        "<key>CFBundleIdentifier</key><string>app.omra.pivra</string><key>CFBundleVersion</key><string>1300</string>");
    folder.write("A/Pivra.app/Contents/Info.plist", xml);
    folder.write("B/Pivra.app/Contents/Info.plist", toBinary(xml));
    const InstalledCopy expected{"app.omra.pivra", "1300"};
    EXPECT_EQ(InstalledCopy::read(folder.path() / "A/Pivra.app"), expected);
    EXPECT_EQ(InstalledCopy::read(folder.path() / "B/Pivra.app"), expected);

    folder.write("C/Pivra.app/Contents/Info.plist",
                 infoPlistXml("<key>CFBundleIdentifier</key><integer>7</integer><key>CFBundleVersion</key><integer>1300</integer>"));
    EXPECT_EQ(InstalledCopy::read(folder.path() / "C/Pivra.app"), (InstalledCopy{std::nullopt, std::nullopt}));

    folder.write("D/Pivra.app/Contents/Info.plist", "not a property list");
    folder.write("E/Pivra.app/Contents/Info.plist", "<plist version=\"1.0\"><array/></plist>");
    for (const char* bundle : {"D/Pivra.app", "E/Pivra.app", "missing/Pivra.app"})
        EXPECT_EQ(InstalledCopy::read(folder.path() / bundle), std::nullopt) << bundle;
}

TEST(InstalledCopy, TakesPrecedenceWhenItIsThisAppAndRunningOrNewer) {
    const InstalledCopy newer{"app.omra.pivra", "1300"};
    const InstalledCopy older{"app.omra.pivra", "1100"};
    const InstalledCopy unreadableBuild{"app.omra.pivra", "1.3 beta"};
    const InstalledCopy otherApp{"app.omra.pivra.debug", "9999"};
    const InstalledCopy noIdentifier{std::nullopt, "9999"};

    EXPECT_TRUE(newer.takesPrecedence("app.omra.pivra", "1204", false));
    EXPECT_FALSE(older.takesPrecedence("app.omra.pivra", "1204", false));
    EXPECT_TRUE(older.takesPrecedence("app.omra.pivra", "1204", true));
    EXPECT_FALSE(InstalledCopy({"app.omra.pivra", "1204"}).takesPrecedence("app.omra.pivra", "1204", false));
    EXPECT_FALSE(unreadableBuild.takesPrecedence("app.omra.pivra", "1204", false));
    EXPECT_FALSE(InstalledCopy({"app.omra.pivra", std::nullopt}).takesPrecedence("app.omra.pivra", "1204", false));
    // Another app in the way is replaced, running or not; identifiers compare exactly.
    EXPECT_FALSE(otherApp.takesPrecedence("app.omra.pivra", "1204", true));
    EXPECT_FALSE(noIdentifier.takesPrecedence("app.omra.pivra", "1204", true));
    EXPECT_FALSE(newer.takesPrecedence("App.Omra.Pivra", "1204", true));
}

}  // namespace
}  // namespace pivra
