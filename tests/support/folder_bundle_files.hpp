#pragma once
// Bundle files on real files in a test's folders, with the platform's parts
// played: the Trash is a folder of the test's, attributes are recorded rather
// than removed, and a folder can be made "read-only" whoever runs the test.

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "app/ports/bundle_files.hpp"

namespace pivra::testing_support {

class FolderBundleFiles final : public BundleFiles {
public:
    // Copies with std::filesystem (links as links); a pipe or device fails
    // it. A source under a mount point of `mounted` is read from its folder.
    FileError copyBundle(const std::filesystem::path& from, const std::filesystem::path& to) override;
    // Into `trash`, under the item's name with a number added when taken;
    // fails with `trashError` while that is set, or without a trash folder.
    std::expected<std::filesystem::path, std::string> moveToTrash(const std::filesystem::path& item) override;
    // Fails with `attributeError` while that is set.
    FileError removeAttributeEverywhere(const std::filesystem::path& root, std::string_view name) override;
    bool isWritableFolder(const std::filesystem::path& folder) const override;
    bool exists(const std::filesystem::path& path) const override;
    FileError createFolders(const std::filesystem::path& folder) override;
    // Fails with `moveError` while that is set.
    FileError move(const std::filesystem::path& from, const std::filesystem::path& to) override;
    FileError remove(const std::filesystem::path& item) override;

    std::filesystem::path trash;
    // Disk images, as a mount point ("/Volumes/Pivra 1.2") → the test's folder with its contents.
    std::map<std::filesystem::path, std::filesystem::path> mounted;
    std::set<std::filesystem::path> readOnlyFolders;
    std::optional<std::string> trashError;
    std::optional<std::string> moveError;
    std::optional<std::string> attributeError;
    // Every tree cleared of an attribute, with the attribute's name, in order.
    std::vector<std::pair<std::filesystem::path, std::string>> attributeRemovals;
};

}  // namespace pivra::testing_support
