#include "core/update_verifier.hpp"

#include <sys/stat.h>

#include <plist/plist.h>

#include <gtest/gtest.h>

#include "core/file_hash.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

using testing_support::TempFolder;
using UpdateVerifier::Failure;

std::string patternBytes(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i % 251);
    return bytes;
}

struct HashCase {
    std::string bytes;
    const char* sha256;
};

void PrintTo(const HashCase& c, std::ostream* os) { *os << c.bytes.size() << " bytes"; }

class FileHash : public testing::TestWithParam<HashCase> {};

TEST_P(FileHash, KnownDigests) {
    TempFolder folder;
    const auto file = folder.write("download.zip", GetParam().bytes);
    EXPECT_EQ(sha256OfFile(file), GetParam().sha256) << GetParam().bytes.size() << " bytes";
}

// Sizes around the read chunk, so that a lost or repeated chunk shows.
INSTANTIATE_TEST_SUITE_P(
    Table, FileHash,
    testing::Values(HashCase{"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
                    HashCase{"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
                    HashCase{patternBytes(kHashChunkSize),
                             "631b84027d6b9e52b539c4e8373622d23032dfadc64d60af87339c9037e4f769"},
                    HashCase{patternBytes(kHashChunkSize + 1),
                             "5769f52bc3eef28afa39c6fc68cadb7d0bd69812ae3a3d71452f519ec3c7aa56"},
                    HashCase{patternBytes(2 * kHashChunkSize),
                             "1e075c8d478ad21844e33e830a695ef03a4d2488b69ee275bd8947618bb1be1e"}));

UpdateFeed feedWithHash(std::string sha256) {
    return UpdateFeed{"1.4", 1204, "https://releases.omra.app/pivra/Pivra-1.4.zip", std::move(sha256), "13.5", {}};
}

constexpr const char* kAbcHash = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

TEST(VerifyDownload, AcceptsTheReleaseInEitherLetterCase) {
    TempFolder folder;
    const auto file = folder.write("Pivra.zip", "abc");
    std::string upper = kAbcHash;
    for (auto& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    EXPECT_EQ(UpdateVerifier::verifyDownload(file, feedWithHash(kAbcHash)), std::nullopt);
    EXPECT_EQ(UpdateVerifier::verifyDownload(file, feedWithHash(upper)), std::nullopt);
}

TEST(VerifyDownload, OneChangedByteIsAMismatch) {
    TempFolder folder;
    std::string bytes = patternBytes(kHashChunkSize + 10);
    const auto feed = feedWithHash(*sha256OfFile(folder.write("a.zip", bytes)));
    for (std::size_t at : {std::size_t{0}, kHashChunkSize - 1, kHashChunkSize, bytes.size() - 1}) {
        std::string changed = bytes;
        changed[at] = static_cast<char>(changed[at] ^ 0x01);
        EXPECT_EQ(UpdateVerifier::verifyDownload(folder.write("b.zip", changed), feed), Failure::hashMismatch())
            << "byte " << at;
    }
    EXPECT_EQ(UpdateVerifier::verifyDownload(folder.write("c.zip", bytes + "x"), feed), Failure::hashMismatch());
    EXPECT_EQ(UpdateVerifier::verifyDownload(folder.write("d.zip", bytes.substr(1)), feed), Failure::hashMismatch());
}

TEST(VerifyDownload, AMalformedFeedHashNeverMatches) {
    TempFolder folder;
    const auto file = folder.write("Pivra.zip", "abc");
    EXPECT_EQ(UpdateVerifier::verifyDownload(file, feedWithHash(std::string(kAbcHash) + " ")), Failure::hashMismatch());
    EXPECT_EQ(UpdateVerifier::verifyDownload(file, feedWithHash("")), Failure::hashMismatch());
}

TEST(VerifyDownload, WhatCantBeOpenedIsUnreadableNotAMismatch) {
    TempFolder folder;
    const auto feed = feedWithHash(kAbcHash);
    std::filesystem::create_directories(folder.path() / "folder.zip");
    std::filesystem::create_symlink(folder.path() / "gone.zip", folder.path() / "dangling.zip");
    ASSERT_EQ(::mkfifo((folder.path() / "pipe.zip").c_str(), 0600), 0);
    for (const char* name : {"missing.zip", "folder.zip", "dangling.zip", "pipe.zip"}) {
        EXPECT_EQ(UpdateVerifier::verifyDownload(folder.path() / name, feed), Failure::unreadable()) << name;
    }
    EXPECT_EQ(sha256OfFile(folder.path() / "pipe.zip"), std::nullopt);
}

TEST(VerifyDownload, FollowsASymlinkToARegularFile) {
    TempFolder folder;
    const auto file = folder.write("Pivra.zip", "abc");
    std::filesystem::create_symlink(file, folder.path() / "link.zip");
    EXPECT_EQ(UpdateVerifier::verifyDownload(folder.path() / "link.zip", feedWithHash(kAbcHash)), std::nullopt);
}

TEST(UpdateVerifierFailure, Descriptions) {
    const std::pair<Failure, std::string> table[] = {
        {Failure::badSignature(-67050), "the new copy isn’t signed by Omra (-67050)"},
        {Failure::badSignature(0), "the new copy isn’t signed by Omra (0)"},
        {Failure::wrongBuild("1203"), "the new copy is build 1203, not the release’s"},
        {Failure::wrongBuild(std::nullopt), "the new copy is build unknown, not the release’s"},
        {Failure::unreadable(), "the download couldn’t be read"},
        {Failure::hashMismatch(), "the download doesn’t match the release"},
    };
    for (const auto& [failure, text] : table) EXPECT_EQ(failure.description(), text);
}

// --- Verify copy ------------------------------------------------------------

enum class PlistForm { xml, binary };

// An Info.plist whose CFBundleVersion is `version` (a string), `number` (an
// integer), or absent when both are.
std::string infoPlist(PlistForm form, std::optional<std::string> version, std::optional<std::uint64_t> number = {}) {
    plist_t root = plist_new_dict();
    plist_dict_set_item(root, "CFBundleIdentifier", plist_new_string("app.omra.pivra"));
    plist_dict_set_item(root, "CFBundleShortVersionString", plist_new_string("1.4"));
    if (version) plist_dict_set_item(root, "CFBundleVersion", plist_new_string(version->c_str()));
    if (number) plist_dict_set_item(root, "CFBundleVersion", plist_new_uint(*number));
    char* bytes = nullptr;
    std::uint32_t length = 0;
    std::string out;
    if (form == PlistForm::binary) {
        plist_to_bin(root, &bytes, &length);
        out.assign(bytes, length);
        plist_to_bin_free(bytes);
    } else {
        plist_to_xml(root, &bytes, &length);
        out.assign(bytes, length);
        plist_to_xml_free(bytes);
    }
    plist_free(root);
    return out;
}

struct SignatureCall {
    std::filesystem::path bundle;
    std::string requirement;
};

// A signature check that passes, and records what it was asked.
SignatureCheck passingCheck(std::vector<SignatureCall>& calls) {
    return [&calls](const std::filesystem::path& bundle, std::string_view requirement) -> std::optional<std::int32_t> {
        calls.push_back({bundle, std::string(requirement)});
        return std::nullopt;
    };
}

TEST(VerifyCopy, AsksForTheDesignatedRequirementOnTheBundle) {
    TempFolder folder;
    const auto bundle = folder.path() / "Pivra.app";
    folder.write("Pivra.app/Contents/Info.plist", infoPlist(PlistForm::xml, "1204"));
    std::vector<SignatureCall> calls;
    EXPECT_EQ(UpdateVerifier::verifyCopy(bundle, feedWithHash(kAbcHash), passingCheck(calls)), std::nullopt);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].bundle, bundle);
    EXPECT_EQ(calls[0].requirement,
              "anchor apple generic and identifier \"app.omra.pivra\" and certificate leaf[subject.OU] = \"Q7XK2MM48T\"");
}

TEST(VerifyCopy, AFailedSignatureCarriesItsStatusAndSkipsTheBuild) {
    TempFolder folder;
    const auto bundle = folder.path() / "Pivra.app";
    folder.write("Pivra.app/Contents/Info.plist", infoPlist(PlistForm::xml, "999"));
    for (std::int32_t status : {-67062, -67050, 0}) {
        const SignatureCheck failing = [status](const std::filesystem::path&, std::string_view) {
            return std::optional<std::int32_t>(status);
        };
        EXPECT_EQ(UpdateVerifier::verifyCopy(bundle, feedWithHash(kAbcHash), failing), Failure::badSignature(status));
    }
    EXPECT_EQ(UpdateVerifier::verifyCopy(bundle, feedWithHash(kAbcHash), SignatureCheck()), Failure::badSignature(0));
}

struct BuildCase {
    const char* why;
    std::optional<std::string> infoPlistBytes;  // absent: no Info.plist
    std::optional<Failure> result;
};

void PrintTo(const BuildCase& c, std::ostream* os) { *os << c.why; }

class VerifyCopyBuild : public testing::TestWithParam<BuildCase> {};

TEST_P(VerifyCopyBuild, Table) {
    TempFolder folder;
    const auto bundle = folder.path() / "Pivra.app";
    std::filesystem::create_directories(bundle / "Contents" / "MacOS");
    if (GetParam().infoPlistBytes) folder.write("Pivra.app/Contents/Info.plist", *GetParam().infoPlistBytes);
    std::vector<SignatureCall> calls;
    EXPECT_EQ(UpdateVerifier::verifyCopy(bundle, feedWithHash(kAbcHash), passingCheck(calls)), GetParam().result)
        << GetParam().why;
}

INSTANTIATE_TEST_SUITE_P(
    Table, VerifyCopyBuild,
    testing::Values(
        BuildCase{"XML, right build", infoPlist(PlistForm::xml, "1204"), std::nullopt},
        BuildCase{"binary, right build", infoPlist(PlistForm::binary, "1204"), std::nullopt},
        BuildCase{"binary, older build", infoPlist(PlistForm::binary, "1203"), Failure::wrongBuild("1203")},
        BuildCase{"XML, newer build", infoPlist(PlistForm::xml, "1205"), Failure::wrongBuild("1205")},
        BuildCase{"leading zero", infoPlist(PlistForm::binary, "01204"), Failure::wrongBuild("01204")},
        BuildCase{"leading blank", infoPlist(PlistForm::xml, " 1204"), Failure::wrongBuild(" 1204")},
        BuildCase{"trailing blank", infoPlist(PlistForm::binary, "1204 "), Failure::wrongBuild("1204 ")},
        BuildCase{"dotted", infoPlist(PlistForm::xml, "1204.0"), Failure::wrongBuild("1204.0")},
        BuildCase{"empty", infoPlist(PlistForm::binary, ""), Failure::wrongBuild("")},
        BuildCase{"integer, binary", infoPlist(PlistForm::binary, std::nullopt, 1204), Failure::wrongBuild(std::nullopt)},
        BuildCase{"integer, XML", infoPlist(PlistForm::xml, std::nullopt, 1204), Failure::wrongBuild(std::nullopt)},
        BuildCase{"missing key", infoPlist(PlistForm::binary, std::nullopt), Failure::wrongBuild(std::nullopt)},
        BuildCase{"no Info.plist", std::nullopt, Failure::wrongBuild(std::nullopt)},
        BuildCase{"empty Info.plist", std::string(), Failure::wrongBuild(std::nullopt)},
        BuildCase{"garbage", std::string("CFBundleVersion = 1204;\n"), Failure::wrongBuild(std::nullopt)},
        BuildCase{"truncated binary", infoPlist(PlistForm::binary, "1204").substr(0, 40),
                  Failure::wrongBuild(std::nullopt)},
        BuildCase{"root is an array",
                  std::string("<?xml version=\"1.0\"?><plist version=\"1.0\"><array><string>1204</string></array></plist>"),
                  Failure::wrongBuild(std::nullopt)}));

TEST(VerifyCopy, AnInfoPlistThatIsAFolderGivesNoBuild) {
    TempFolder folder;
    const auto bundle = folder.path() / "Pivra.app";
    std::filesystem::create_directories(bundle / "Contents" / "Info.plist");
    std::vector<SignatureCall> calls;
    EXPECT_EQ(UpdateVerifier::verifyCopy(bundle, feedWithHash(kAbcHash), passingCheck(calls)),
              Failure::wrongBuild(std::nullopt));
}

}  // namespace
}  // namespace pivra
