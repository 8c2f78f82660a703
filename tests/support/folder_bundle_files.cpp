#include "tests/support/folder_bundle_files.hpp"

#include <system_error>

namespace pivra::testing_support {

namespace fs = std::filesystem;

namespace {

std::string failure(std::string_view what, const fs::path& path, const std::error_code& error) {
    return "can’t " + std::string(what) + " " + path.string() + ": " + error.message();
}

}  // namespace

FileError FolderBundleFiles::copyBundle(const fs::path& from, const fs::path& to) {
    if (exists(to)) return to.string() + " already exists";
    fs::path source = from;
    for (const auto& [mountPoint, folder] : mounted) {
        const auto inside = from.lexically_relative(mountPoint);
        if (!inside.empty() && *inside.begin() != "..") source = folder / inside;
    }
    std::error_code error;
    fs::copy(source, to, fs::copy_options::recursive | fs::copy_options::copy_symlinks, error);
    if (error) return failure("copy", from, error);
    return std::nullopt;
}

std::expected<fs::path, std::string> FolderBundleFiles::moveToTrash(const fs::path& item) {
    if (trashError) return std::unexpected(*trashError);
    if (trash.empty()) return std::unexpected("no Trash here");
    std::error_code error;
    fs::create_directories(trash, error);
    fs::path place = trash / item.filename();
    for (int number = 2; exists(place); ++number) {
        place = trash / (item.stem().string() + " " + std::to_string(number) + item.extension().string());
    }
    fs::rename(item, place, error);
    if (error) return std::unexpected(failure("trash", item, error));
    return place;
}

FileError FolderBundleFiles::removeAttributeEverywhere(const fs::path& root, std::string_view name) {
    if (attributeError) return *attributeError;
    if (!exists(root)) return root.string() + " is missing";
    attributeRemovals.emplace_back(root, std::string(name));
    return std::nullopt;
}

bool FolderBundleFiles::isWritableFolder(const fs::path& folder) const {
    std::error_code error;
    return fs::is_directory(folder, error) && !readOnlyFolders.contains(folder);
}

bool FolderBundleFiles::exists(const fs::path& path) const {
    std::error_code error;
    return fs::exists(fs::symlink_status(path, error));
}

FileError FolderBundleFiles::createFolders(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) return failure("create", folder, error);
    return std::nullopt;
}

FileError FolderBundleFiles::move(const fs::path& from, const fs::path& to) {
    if (moveError) return *moveError;
    if (exists(to)) return to.string() + " already exists";
    std::error_code error;
    fs::rename(from, to, error);
    if (error) return failure("move", from, error);
    return std::nullopt;
}

FileError FolderBundleFiles::remove(const fs::path& item) {
    std::error_code error;
    fs::remove_all(item, error);
    if (error) return failure("delete", item, error);
    return std::nullopt;
}

}  // namespace pivra::testing_support
