#pragma once
// Installing a bundle on Linux: copies and attributes through POSIX calls, the
// Trash through GIO, which keeps the freedesktop.org layout ($XDG_DATA_HOME/
// Trash with its files/ and info/ folders, or a volume's own .Trash-<uid>).

#include "app/ports/bundle_files.hpp"

namespace pivra {

class GioBundleFiles final : public BundleFiles {
public:
    // Regular files, folders and symbolic links only: a device, pipe or
    // socket in the tree fails the copy. Owners are not copied (the copy is
    // this user's). Times are kept to the nanosecond.
    FileError copyBundle(const std::filesystem::path& from, const std::filesystem::path& to) override;
    // g_file_trash; the place is found again from the Trash's info files.
    std::expected<std::filesystem::path, std::string> moveToTrash(const std::filesystem::path& item) override;
    FileError removeAttributeEverywhere(const std::filesystem::path& root, std::string_view name) override;
    bool isWritableFolder(const std::filesystem::path& folder) const override;
    bool exists(const std::filesystem::path& path) const override;
    FileError createFolders(const std::filesystem::path& folder) override;
    // renameat2 with RENAME_NOREPLACE; where the file system cannot do that,
    // a check for `to` and then rename.
    FileError move(const std::filesystem::path& from, const std::filesystem::path& to) override;
    FileError remove(const std::filesystem::path& item) override;
};

// The attribute's name as Linux spells it: a name without one of the kernel's
// namespaces ("user.", "trusted.", "security.", "system.") goes in "user.".
std::string linuxAttributeName(std::string_view name);

}  // namespace pivra
