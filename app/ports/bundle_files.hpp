#pragma once
// The file operations that install an app bundle: copying a whole bundle as it
// is, trashing the copy it replaces, and clearing the download quarantine.
// Every method blocks until done; call them off the main thread. A failure
// is the reason in a few words, as a person reads it.

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace pivra {

// Absent when the operation worked, else why not.
using FileError = std::optional<std::string>;

class BundleFiles {
public:
    virtual ~BundleFiles() = default;

    // Copies the folder tree `from` to `to`, which must not exist yet: files,
    // folders and symbolic links (as links), with their permissions,
    // modification times and extended attributes. Where the file system
    // holds no extended attributes, the copy is made without them.
    virtual FileError copyBundle(const std::filesystem::path& from, const std::filesystem::path& to) = 0;

    // Moves the item to the user's Trash, never deleting it, and answers where
    // it is now. Where the platform has no Trash for the item's volume, it is
    // left in place and the error says so.
    virtual std::expected<std::filesystem::path, std::string> moveToTrash(const std::filesystem::path& item) = 0;

    // Removes the extended attribute `name` from `root` and every file,
    // folder and symbolic link inside it, never following a link. An item
    // without the attribute, or on a file system without extended attributes,
    // is no error. On Linux a name without a namespace is in the user
    // namespace ("user." + name).
    virtual FileError removeAttributeEverywhere(const std::filesystem::path& root, std::string_view name) = 0;

    // Whether `folder` is a folder this process may create items in; false
    // when it is missing or is not a folder.
    virtual bool isWritableFolder(const std::filesystem::path& folder) const = 0;

    // Whether anything is at `path`, a symbolic link to nothing included.
    virtual bool exists(const std::filesystem::path& path) const = 0;

    // Creates the folder and any missing folders above it; a folder already
    // there is no error, a file in the way is.
    virtual FileError createFolders(const std::filesystem::path& folder) = 0;

    // Renames `from` to `to` on the same volume; `to` must not exist.
    virtual FileError move(const std::filesystem::path& from, const std::filesystem::path& to) = 0;

    // Deletes the item and all inside it, for good: only for copies this app
    // made itself and no longer needs (a staging copy). Nothing there is no error.
    virtual FileError remove(const std::filesystem::path& item) = 0;
};

}  // namespace pivra
