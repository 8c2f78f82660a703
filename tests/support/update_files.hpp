#pragma once
// The files of an update, made for real: app bundle folders, zip archives
// written with libzip, and their SHA-256.

#include <sys/stat.h>
#include <zip.h>

#include <cstdio>
#include <expected>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "app/update/updater.hpp"
#include "core/updates/file_hash.hpp"
#include "tests/support/files.hpp"

namespace pivra::testing_support {

struct ZipEntry {
    enum class Kind { file, folder, link };
    std::string name;
    std::string content;  // a link's target
    Kind kind = Kind::file;
    unsigned mode = 0644;

    static ZipEntry file(std::string name, std::string content, unsigned mode = 0644) {
        return {std::move(name), std::move(content), Kind::file, mode};
    }
    static ZipEntry folder(std::string name) { return {std::move(name), {}, Kind::folder, 0755}; }
    static ZipEntry link(std::string name, std::string target) {
        return {std::move(name), std::move(target), Kind::link, 0777};
    }
};

inline std::string infoPlist(std::string_view version, std::string_view build) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
           "<key>CFBundleIdentifier</key><string>app.omra.pivra</string>"
           "<key>CFBundleShortVersionString</key><string>" + std::string(version) + "</string>"
           "<key>CFBundleVersion</key><string>" + std::string(build) + "</string></dict></plist>\n";
}

// Pivra.app as a release holds it: its Info.plist, its program (executable)
// and a framework reached through links, under `prefix`.
inline std::vector<ZipEntry> bundleEntries(std::string_view version, std::string_view build,
                                           const std::string& prefix = "Pivra.app/") {
    return {ZipEntry::folder(prefix),
            ZipEntry::file(prefix + "Contents/Info.plist", infoPlist(version, build)),
            ZipEntry::file(prefix + "Contents/MacOS/Pivra", "#!/bin/sh\necho Pivra " + std::string(version) + "\n", 0755),
            ZipEntry::file(prefix + "Contents/Frameworks/Kit.framework/Versions/A/Kit", "kit"),
            ZipEntry::link(prefix + "Contents/Frameworks/Kit.framework/Versions/Current", "A"),
            ZipEntry::link(prefix + "Contents/Frameworks/Kit.framework/Kit", "Versions/Current/Kit")};
}

// The same bundle as a folder on disk.
inline void writeBundle(const std::filesystem::path& bundle, std::string_view version, std::string_view build) {
    std::filesystem::create_directories(bundle / "Contents/MacOS");
    writeFile(bundle / "Contents/Info.plist", infoPlist(version, build));
    writeFile(bundle / "Contents/MacOS/Pivra", "#!/bin/sh\necho Pivra " + std::string(version) + "\n");
    std::filesystem::permissions(bundle / "Contents/MacOS/Pivra", std::filesystem::perms::owner_exec,
                                 std::filesystem::perm_options::add);
}

// Writes the entries, in order, as a zip archive; returns its bytes.
inline std::string writeZip(const std::filesystem::path& file, const std::vector<ZipEntry>& entries) {
    int error = 0;
    zip_t* zip = zip_open(file.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (!zip) throw std::runtime_error("zip_open failed for " + file.string());
    for (const auto& entry : entries) {
        zip_int64_t index = -1;
        unsigned type = S_IFREG;
        if (entry.kind == ZipEntry::Kind::folder) {
            index = zip_dir_add(zip, entry.name.c_str(), ZIP_FL_ENC_UTF_8);
            type = S_IFDIR;
        } else {
            zip_source_t* source = zip_source_buffer(zip, entry.content.data(), entry.content.size(), 0);
            index = source ? zip_file_add(zip, entry.name.c_str(), source, ZIP_FL_ENC_UTF_8) : -1;
            if (index < 0 && source) zip_source_free(source);
            if (entry.kind == ZipEntry::Kind::link) type = S_IFLNK;
        }
        if (index < 0) {
            zip_discard(zip);
            throw std::runtime_error("can't add " + entry.name + " to the zip");
        }
        zip_file_set_external_attributes(zip, static_cast<zip_uint64_t>(index), 0, ZIP_OPSYS_UNIX,
                                         static_cast<zip_uint32_t>(type | entry.mode) << 16);
    }
    if (zip_close(zip) != 0) {
        zip_discard(zip);
        throw std::runtime_error("zip_close failed for " + file.string());
    }
    return readFile(file);
}

inline std::string sha256Of(std::string_view bytes) {
    Sha256 digest;
    digest.add({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
    const auto bytesOfDigest = digest.finish().value();  // kept: a loop over a temporary's member would outlive it
    std::string hex;
    for (const unsigned char byte : bytesOfDigest) {
        char pair[3];
        std::snprintf(pair, sizeof pair, "%02x", byte);
        hex += pair;
    }
    return hex;
}

// Every file under `folder` with its bytes (links as "-> target"), for
// comparing a folder before and after.
inline std::map<std::string, std::string> snapshot(const std::filesystem::path& folder) {
    std::map<std::string, std::string> files;
    if (!std::filesystem::exists(folder)) return files;
    for (const auto& item : std::filesystem::recursive_directory_iterator(folder)) {
        const auto name = item.path().lexically_relative(folder).string();
        if (item.is_symlink()) {
            files[name] = "-> " + std::filesystem::read_symlink(item.path()).string();
        } else if (item.is_regular_file()) {
            files[name] = readFile(item.path());
        } else {
            files[name + "/"] = "";
        }
    }
    return files;
}

}  // namespace pivra::testing_support
