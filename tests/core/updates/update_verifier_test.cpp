#include "core/updates/update_verifier.hpp"

#include <sys/stat.h>

#include <plist/plist.h>

#include <gtest/gtest.h>

#include "core/updates/file_hash.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

using testing_support::TempFolder;
using UpdateVerifier::Failure;

constexpr const char* kAbcHash = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

std::string patternBytes(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i % 251);
    return bytes;
}

UpdateFeed feedWithHash(std::string sha256) {
    return UpdateFeed{"1.4", 1204, "https://releases.omra.app/pivra/Pivra-1.4.zip", std::move(sha256), "13.5", {}};
}

// Sizes around the read chunk, so that a lost or repeated chunk shows.
TEST(FileHash, KnownDigests) {
    const std::pair<std::string, const char*> table[] = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", kAbcHash},
        {patternBytes(kHashChunkSize), "631b84027d6b9e52b539c4e8373622d23032dfadc64d60af87339c9037e4f769"},
        {patternBytes(kHashChunkSize + 1), "5769f52bc3eef28afa39c6fc68cadb7d0bd69812ae3a3d71452f519ec3c7aa56"},
        {patternBytes(2 * kHashChunkSize), "1e075c8d478ad21844e33e830a695ef03a4d2488b69ee275bd8947618bb1be1e"}};
    TempFolder folder;
    for (const auto& [bytes, sha256] : table) {
        EXPECT_EQ(sha256OfFile(folder.write("download.zip", bytes)), sha256) << bytes.size() << " bytes";
    }
}

TEST(FileHash, PiecesAddUpToTheDigestOfTheWhole) {
    Sha256 whole;
    Sha256 pieces;
    const std::string bytes = patternBytes(1000);
    const auto span = [&](std::size_t from, std::size_t to) {
        return std::span(reinterpret_cast<const unsigned char*>(bytes.data()) + from, to - from);
    };
    ASSERT_TRUE(whole.add(span(0, 1000)));
    for (const auto& [from, to] : {std::pair{0, 0}, {0, 1}, {1, 64}, {64, 999}, {999, 1000}}) {
        ASSERT_TRUE(pieces.add(span(from, to)));
    }
    const auto digest = whole.finish();
    ASSERT_TRUE(digest.has_value());
    EXPECT_EQ(pieces.finish(), digest);
}

TEST(VerifyDownload, AcceptsTheReleaseInEitherLetterCaseAndThroughASymlink) {
    TempFolder folder;
    const auto file = folder.write("Pivra.zip", "abc");
    std::filesystem::create_symlink(file, folder.path() / "link.zip");
    std::string upper = kAbcHash;
    for (auto& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    EXPECT_EQ(UpdateVerifier::verifyDownload(file, feedWithHash(kAbcHash)), std::nullopt);
    EXPECT_EQ(UpdateVerifier::verifyDownload(file, feedWithHash(upper)), std::nullopt);
    EXPECT_EQ(UpdateVerifier::verifyDownload(folder.path() / "link.zip", feedWithHash(kAbcHash)), std::nullopt);
    // A malformed feed hash never matches.
    EXPECT_EQ(UpdateVerifier::verifyDownload(file, feedWithHash(std::string(kAbcHash) + " ")), Failure::hashMismatch());
    EXPECT_EQ(UpdateVerifier::verifyDownload(file, feedWithHash("")), Failure::hashMismatch());
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

TEST(VerifyDownload, WhatCantBeOpenedIsUnreadableNotAMismatch) {
    TempFolder folder;
    std::filesystem::create_directories(folder.path() / "folder.zip");
    std::filesystem::create_symlink(folder.path() / "gone.zip", folder.path() / "dangling.zip");
    ASSERT_EQ(::mkfifo((folder.path() / "pipe.zip").c_str(), 0600), 0);
    for (const char* name : {"missing.zip", "folder.zip", "dangling.zip", "pipe.zip"}) {
        EXPECT_EQ(UpdateVerifier::verifyDownload(folder.path() / name, feedWithHash(kAbcHash)), Failure::unreadable())
            << name;
    }
    EXPECT_EQ(sha256OfFile(folder.path() / "pipe.zip"), std::nullopt);
}

TEST(UpdateVerifierFailure, DescriptionsCarryTheStatusAndTheBuild) {
    const std::pair<Failure, const char*> table[] = {{Failure::badSignature(-67050), "(-67050)"},
                                                      {Failure::wrongBuild("1203"), "build 1203,"},
                                                      {Failure::wrongBuild(std::nullopt), "build unknown,"}};
    for (const auto& [failure, part] : table) EXPECT_NE(failure.description().find(part), std::string::npos) << part;
}

// --- Verify copy ------------------------------------------------------------

// An Info.plist whose CFBundleVersion is `version` (a string), `number` (an
// integer), or absent when both are.
std::string infoPlist(bool binary, std::optional<std::string> version, std::optional<std::uint64_t> number = {}) {
    plist_t root = plist_new_dict();
    plist_dict_set_item(root, "CFBundleIdentifier", plist_new_string("app.omra.pivra"));
    plist_dict_set_item(root, "CFBundleShortVersionString", plist_new_string("1.4"));
    if (version) plist_dict_set_item(root, "CFBundleVersion", plist_new_string(version->c_str()));
    if (number) plist_dict_set_item(root, "CFBundleVersion", plist_new_uint(*number));
    char* bytes = nullptr;
    std::uint32_t length = 0;
    binary ? plist_to_bin(root, &bytes, &length) : plist_to_xml(root, &bytes, &length);
    std::string out(bytes, length);
    binary ? plist_to_bin_free(bytes) : plist_to_xml_free(bytes);
    plist_free(root);
    return out;
}

constexpr bool kXml = false;
constexpr bool kBinary = true;

TEST(VerifyCopy, AsksForTheDesignatedRequirementAndAFailureSkipsTheBuild) {
    TempFolder folder;
    const auto bundle = folder.path() / "Pivra.app";
    folder.write("Pivra.app/Contents/Info.plist", infoPlist(kXml, "1204"));
    std::vector<std::pair<std::filesystem::path, std::string>> calls;
    const SignatureCheck passing = [&calls](const std::filesystem::path& path, std::string_view requirement) {
        calls.emplace_back(path, requirement);
        return std::optional<std::int32_t>();
    };
    EXPECT_EQ(UpdateVerifier::verifyCopy(bundle, feedWithHash(kAbcHash), passing), std::nullopt);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].first, bundle);
    EXPECT_EQ(calls[0].second,
              "anchor apple generic and identifier \"app.omra.pivra\" and certificate leaf[subject.OU] = \"Q7XK2MM48T\"");

    folder.write("Pivra.app/Contents/Info.plist", infoPlist(kXml, "999"));
    for (std::int32_t status : {-67062, 0}) {
        const SignatureCheck failing = [status](const std::filesystem::path&, std::string_view) {
            return std::optional<std::int32_t>(status);
        };
        EXPECT_EQ(UpdateVerifier::verifyCopy(bundle, feedWithHash(kAbcHash), failing), Failure::badSignature(status));
    }
    EXPECT_EQ(UpdateVerifier::verifyCopy(bundle, feedWithHash(kAbcHash), SignatureCheck()), Failure::badSignature(0));
}

TEST(VerifyCopy, TheBuildMustBeTheReleasesExactString) {
    const auto noBuild = Failure::wrongBuild(std::nullopt);
    const std::pair<std::optional<std::string>, std::optional<Failure>> table[] = {
        {infoPlist(kXml, "1204"), std::nullopt},
        {infoPlist(kBinary, "1204"), std::nullopt},
        {infoPlist(kBinary, "1203"), Failure::wrongBuild("1203")},
        {infoPlist(kXml, "1205"), Failure::wrongBuild("1205")},
        {infoPlist(kBinary, "01204"), Failure::wrongBuild("01204")},
        {infoPlist(kXml, " 1204"), Failure::wrongBuild(" 1204")},
        {infoPlist(kXml, "1204.0"), Failure::wrongBuild("1204.0")},
        {infoPlist(kBinary, ""), Failure::wrongBuild("")},
        {infoPlist(kBinary, std::nullopt, 1204), noBuild},
        {infoPlist(kXml, std::nullopt, 1204), noBuild},
        {infoPlist(kBinary, std::nullopt), noBuild},
        {std::nullopt, noBuild},  // no Info.plist
        {std::string(), noBuild},
        {std::string("CFBundleVersion = 1204;\n"), noBuild},
        {infoPlist(kBinary, "1204").substr(0, 40), noBuild},
        {"<?xml version=\"1.0\"?><plist version=\"1.0\"><array><string>1204</string></array></plist>", noBuild}};
    const SignatureCheck passing = [](const std::filesystem::path&, std::string_view) {
        return std::optional<std::int32_t>();
    };
    for (std::size_t i = 0; i < std::size(table); ++i) {
        TempFolder folder;
        const auto bundle = folder.path() / "Pivra.app";
        std::filesystem::create_directories(bundle / "Contents" / "MacOS");
        if (table[i].first) folder.write("Pivra.app/Contents/Info.plist", *table[i].first);
        EXPECT_EQ(UpdateVerifier::verifyCopy(bundle, feedWithHash(kAbcHash), passing), table[i].second) << "row " << i;
    }
    TempFolder folder;
    std::filesystem::create_directories(folder.path() / "Pivra.app/Contents/Info.plist");
    EXPECT_EQ(UpdateVerifier::verifyCopy(folder.path() / "Pivra.app", feedWithHash(kAbcHash), passing), noBuild)
        << "an Info.plist that is a folder";
}

}  // namespace
}  // namespace pivra
