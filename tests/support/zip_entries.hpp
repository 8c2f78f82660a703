#pragma once
// Reading a zip back with libzip, as an unzip tool would, for tests of what was written.

#include <zip.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace pivra::testing_support {

struct ZipEntry {
    std::string name;
    std::string bytes;
    std::uint32_t mode = 0;  // the Unix mode in the external attributes
    std::uint16_t method = 0;

    bool operator==(const ZipEntry&) const = default;
};

// The entries in archive order; absent when the file is not a consistent zip.
inline std::optional<std::vector<ZipEntry>> readZip(const std::filesystem::path& file) {
    int error = 0;
    zip_t* archive = zip_open(file.c_str(), ZIP_RDONLY | ZIP_CHECKCONS, &error);
    if (archive == nullptr) return std::nullopt;
    std::vector<ZipEntry> entries;
    bool ok = true;
    const zip_int64_t count = zip_get_num_entries(archive, 0);
    for (zip_uint64_t i = 0; ok && i < static_cast<zip_uint64_t>(count); ++i) {
        zip_stat_t stat;
        zip_uint8_t system = 0;
        zip_uint32_t attributes = 0;
        zip_file_t* entry = nullptr;
        ok = zip_stat_index(archive, i, 0, &stat) == 0 &&
             zip_file_get_external_attributes(archive, i, 0, &system, &attributes) == 0 &&
             (entry = zip_fopen_index(archive, i, 0)) != nullptr;
        if (!ok) break;
        ZipEntry read{stat.name, std::string(stat.size, '\0'), attributes >> 16, stat.comp_method};
        ok = zip_fread(entry, read.bytes.data(), stat.size) == static_cast<zip_int64_t>(stat.size);
        zip_fclose(entry);
        entries.push_back(std::move(read));
    }
    zip_discard(archive);
    if (!ok) return std::nullopt;
    return entries;
}

// The entries' names, in archive order; empty when the file is not a zip.
inline std::vector<std::string> zipNames(const std::filesystem::path& file) {
    std::vector<std::string> names;
    for (const auto& entry : readZip(file).value_or(std::vector<ZipEntry>{})) names.push_back(entry.name);
    return names;
}

// One entry's bytes; absent when there is no such entry.
inline std::optional<std::string> zipEntry(const std::filesystem::path& file, const std::string& name) {
    for (auto& entry : readZip(file).value_or(std::vector<ZipEntry>{})) {
        if (entry.name == name) return std::move(entry.bytes);
    }
    return std::nullopt;
}

}  // namespace pivra::testing_support
