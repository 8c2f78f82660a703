#include "app/storage/zip_folder.hpp"

#include <zip.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "app/storage/file_io.hpp"
#include "core/files/small_file.hpp"

namespace pivra {
namespace {

// Larger than any folder the app zips (its journal, rules and a few texts).
constexpr std::uintmax_t kMaxZippedFileSize = std::uintmax_t{256} << 20;

struct ArchiveDiscard {
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
struct SourceFree {
    void operator()(zip_source_t* source) const { zip_source_free(source); }
};

std::string zipErrorText(zip_error_t* error) { return zip_error_strerror(error); }

// The archive's bytes, once zip_close has written them into `buffer`.
std::expected<std::string, std::string> bufferBytes(zip_source_t* buffer) {
    if (zip_source_open(buffer) < 0) return std::unexpected(zipErrorText(zip_source_error(buffer)));
    zip_stat_t stat;
    zip_stat_init(&stat);
    std::string bytes;
    bool ok = zip_source_stat(buffer, &stat) == 0 && (stat.valid & ZIP_STAT_SIZE) != 0;
    if (ok) {
        bytes.resize(stat.size);
        ok = zip_source_read(buffer, bytes.data(), stat.size) == static_cast<zip_int64_t>(stat.size);
    }
    std::string error = ok ? std::string() : zipErrorText(zip_source_error(buffer));
    zip_source_close(buffer);
    if (!ok) return std::unexpected(error);
    return bytes;
}

}  // namespace

std::expected<void, std::string> zipFolder(const std::filesystem::path& folder, const std::filesystem::path& zipFile) {
    // The files, sorted by name, read whole first: the archive holds what they
    // said at one moment, and a file that cannot be read is named.
    std::vector<std::pair<std::string, std::string>> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        std::error_code typeError;
        if (!entry.is_regular_file(typeError) || entry.is_symlink(typeError)) continue;
        auto bytes = readSmallFile(entry.path(), kMaxZippedFileSize);
        if (!bytes) return std::unexpected("can’t read " + entry.path().string());
        files.emplace_back(entry.path().filename().string(), std::move(*bytes));
    }
    if (error) return std::unexpected("can’t read the folder " + folder.string() + ": " + error.message());
    if (files.empty()) return std::unexpected("there are no files in " + folder.string());
    std::sort(files.begin(), files.end());

    zip_error_t zipError;
    zip_error_init(&zipError);
    std::unique_ptr<zip_source_t, SourceFree> buffer(zip_source_buffer_create(nullptr, 0, 0, &zipError));
    if (!buffer) return std::unexpected(zipErrorText(&zipError));
    // The archive takes a reference; ours keeps the buffer for reading after the close.
    zip_source_keep(buffer.get());
    std::unique_ptr<zip_t, ArchiveDiscard> archive(zip_open_from_source(buffer.get(), ZIP_TRUNCATE, &zipError));
    if (!archive) {
        zip_source_free(buffer.get());  // the reference the archive did not take
        return std::unexpected(zipErrorText(&zipError));
    }

    auto named = std::filesystem::absolute(folder).lexically_normal();
    if (!named.has_filename()) named = named.parent_path();  // "report/" names "report"
    const std::string top = named.filename().string();
    for (const auto& [name, bytes] : files) {
        // The bytes stay in `files` until the archive is closed.
        zip_source_t* source = zip_source_buffer(archive.get(), bytes.data(), bytes.size(), 0);
        if (source == nullptr) return std::unexpected(zipErrorText(zip_get_error(archive.get())));
        const std::string entryName = top + "/" + name;
        const zip_int64_t index = zip_file_add(archive.get(), entryName.c_str(), source, ZIP_FL_ENC_UTF_8);
        if (index < 0) {
            zip_source_free(source);
            return std::unexpected(zipErrorText(zip_get_error(archive.get())));
        }
        const auto at = static_cast<zip_uint64_t>(index);
        if (zip_set_file_compression(archive.get(), at, ZIP_CM_DEFLATE, 9) < 0 ||
            zip_file_set_dostime(archive.get(), at, kZipEntryDosTime, kZipEntryDosDate, 0) < 0 ||
            zip_file_set_external_attributes(archive.get(), at, 0, ZIP_OPSYS_UNIX, zip_uint32_t{kZipEntryMode} << 16) < 0) {
            return std::unexpected(zipErrorText(zip_get_error(archive.get())));
        }
    }
    if (zip_close(archive.get()) < 0) return std::unexpected(zipErrorText(zip_get_error(archive.get())));
    archive.release();  // closed, and freed by the close

    auto bytes = bufferBytes(buffer.get());
    if (!bytes) return std::unexpected(bytes.error());
    if (auto written = writeFileAtomicallyOrError(zipFile, *bytes); !written) {
        return std::unexpected("can’t write " + zipFile.string() + ": " + written.error().message());
    }
    return {};
}

}  // namespace pivra
