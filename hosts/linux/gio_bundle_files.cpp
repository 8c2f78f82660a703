// GLib only, no Qt: GLib's headers use "signals" as a name, which Qt defines.
#include "hosts/linux/gio_bundle_files.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <gio/gio.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

#include "core/files/small_file.hpp"
#include "hosts/linux/glib_owned.hpp"

namespace pivra {
namespace {

using glib::OwnedText;

namespace fs = std::filesystem;

// A .trashinfo file is two short lines and a header.
constexpr std::uintmax_t kMaxTrashInfoSize = 64 * 1024;
constexpr std::string_view kTrashInfoSuffix = ".trashinfo";
constexpr std::size_t kCopyBufferSize = 256 * 1024;

std::string reason(int error) { return std::generic_category().message(error); }

std::string failure(std::string_view what, const fs::path& path, int error) {
    return "can’t " + std::string(what) + " " + path.string() + ": " + reason(error);
}

bool noAttributesHere(int error) { return error == ENOTSUP || error == EOPNOTSUPP; }

struct FdCloser {
    int fd;
    ~FdCloser() {
        if (fd >= 0) ::close(fd);
    }
};

struct DirCloser {
    void operator()(DIR* dir) const { ::closedir(dir); }
};

// The names in a folder, "." and ".." left out; an error text when it cannot be listed.
std::expected<std::vector<std::string>, std::string> folderEntries(const fs::path& folder) {
    std::unique_ptr<DIR, DirCloser> dir(::opendir(folder.c_str()));
    if (!dir) return std::unexpected(failure("read the folder", folder, errno));
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(dir.get());
        if (entry == nullptr) break;
        const std::string_view name(entry->d_name);
        if (name != "." && name != "..") names.emplace_back(name);
    }
    if (errno != 0) return std::unexpected(failure("read the folder", folder, errno));
    return names;
}

// The extended attributes of `from` onto `to`, neither followed if a link. An
// attribute the destination cannot hold is left out: a file system without
// them, a link (Linux keeps user attributes off links), or a namespace only
// the system may write (SELinux labels).
FileError copyAttributes(const fs::path& from, const fs::path& to, bool isLink) {
    std::string names;
    for (int attempt = 0;; ++attempt) {
        const ssize_t size = ::llistxattr(from.c_str(), nullptr, 0);
        if (size < 0) {
            if (noAttributesHere(errno)) return std::nullopt;
            return failure("read the attributes of", from, errno);
        }
        if (size == 0) return std::nullopt;
        names.assign(static_cast<std::size_t>(size), '\0');
        const ssize_t got = ::llistxattr(from.c_str(), names.data(), names.size());
        if (got >= 0) {
            names.resize(static_cast<std::size_t>(got));
            break;
        }
        // The list grew between the two calls: ask again, a few times.
        if (errno != ERANGE || attempt == 3) return failure("read the attributes of", from, errno);
    }
    for (std::size_t start = 0; start < names.size();) {
        const std::size_t end = names.find('\0', start);
        const std::string name = names.substr(start, end - start);
        start = end == std::string::npos ? names.size() : end + 1;
        if (name.empty()) continue;
        std::string value;
        const ssize_t size = ::lgetxattr(from.c_str(), name.c_str(), nullptr, 0);
        if (size < 0) {
            if (errno == ENODATA) continue;  // removed meanwhile
            return failure("read the attribute " + name + " of", from, errno);
        }
        value.assign(static_cast<std::size_t>(size), '\0');
        const ssize_t got = ::lgetxattr(from.c_str(), name.c_str(), value.data(), value.size());
        if (got < 0) return failure("read the attribute " + name + " of", from, errno);
        value.resize(static_cast<std::size_t>(got));
        if (::lsetxattr(to.c_str(), name.c_str(), value.data(), value.size(), 0) == 0) continue;
        const int error = errno;
        if (noAttributesHere(error)) continue;
        if ((error == EPERM || error == EACCES) && (isLink || !name.starts_with("user."))) continue;
        return failure("keep the attribute " + name + " on", to, error);
    }
    return std::nullopt;
}

FileError copyTimes(const fs::path& to, const struct stat& source) {
    const std::array<timespec, 2> times{source.st_atim, source.st_mtim};
    if (::utimensat(AT_FDCWD, to.c_str(), times.data(), AT_SYMLINK_NOFOLLOW) != 0) {
        return failure("keep the times of", to, errno);
    }
    return std::nullopt;
}

FileError copyFileContents(const fs::path& from, const fs::path& to, const struct stat& source) {
    const FdCloser in{::open(from.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW)};
    if (in.fd < 0) return failure("read", from, errno);
    // Private until it is whole; its own permissions come last.
    FdCloser out{::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR)};
    if (out.fd < 0) return failure("create", to, errno);
    std::vector<char> buffer(kCopyBufferSize);
    for (;;) {
        const ssize_t got = ::read(in.fd, buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return failure("read", from, errno);
        if (got == 0) break;
        for (ssize_t written = 0; written < got;) {
            const ssize_t put = ::write(out.fd, buffer.data() + written, static_cast<std::size_t>(got - written));
            if (put < 0 && errno == EINTR) continue;
            if (put < 0) return failure("write", to, errno);
            written += put;
        }
    }
    if (auto error = copyAttributes(from, to, false)) return error;
    if (::fchmod(out.fd, source.st_mode & 07777) != 0) return failure("set the permissions of", to, errno);
    if (::close(std::exchange(out.fd, -1)) != 0) return failure("write", to, errno);
    return std::nullopt;
}

FileError copyItem(const fs::path& from, const fs::path& to) {
    struct stat source {};
    if (::lstat(from.c_str(), &source) != 0) return failure("read", from, errno);
    if (S_ISLNK(source.st_mode)) {
        std::error_code error;
        const fs::path target = fs::read_symlink(from, error);
        if (error) return failure("read the link", from, error.value());
        if (::symlink(target.c_str(), to.c_str()) != 0) return failure("create the link", to, errno);
        if (auto failed = copyAttributes(from, to, true)) return failed;
    } else if (S_ISREG(source.st_mode)) {
        if (auto failed = copyFileContents(from, to, source)) return failed;
    } else if (S_ISDIR(source.st_mode)) {
        // Open to this process until its contents are in.
        if (::mkdir(to.c_str(), S_IRWXU) != 0) return failure("create the folder", to, errno);
        auto names = folderEntries(from);
        if (!names) return names.error();
        for (const auto& name : *names) {
            if (auto failed = copyItem(from / name, to / name)) return failed;
        }
        if (auto failed = copyAttributes(from, to, false)) return failed;
        if (::chmod(to.c_str(), source.st_mode & 07777) != 0) return failure("set the permissions of", to, errno);
    } else {
        return from.string() + " is neither a file, a folder nor a symbolic link";
    }
    return copyTimes(to, source);
}

// Removes one item's attribute. Where the kernel wants write permission for
// that (user attributes) and the owner lacks it, the owner gets it for the
// moment of the removal.
FileError removeAttribute(const fs::path& path, const std::string& name, const struct stat& info) {
    if (::lgetxattr(path.c_str(), name.c_str(), nullptr, 0) < 0) {
        if (errno == ENODATA || noAttributesHere(errno)) return std::nullopt;
        // Links hold no user attributes; the kernel refuses even to look.
        if (S_ISLNK(info.st_mode) && (errno == EPERM || errno == EACCES)) return std::nullopt;
        return failure("read the attribute " + name + " of", path, errno);
    }
    if (::lremovexattr(path.c_str(), name.c_str()) == 0 || errno == ENODATA) return std::nullopt;
    int error = errno;
    if (error == EACCES && !S_ISLNK(info.st_mode) && info.st_uid == ::geteuid() &&
        ::chmod(path.c_str(), (info.st_mode & 07777) | S_IWUSR) == 0) {
        error = ::lremovexattr(path.c_str(), name.c_str()) == 0 || errno == ENODATA ? 0 : errno;
        if (::chmod(path.c_str(), info.st_mode & 07777) != 0 && error == 0) {
            return failure("restore the permissions of", path, errno);
        }
        if (error == 0) return std::nullopt;
    }
    return failure("remove the attribute " + name + " from", path, error);
}

FileError removeAttributeFromTree(const fs::path& path, const std::string& name) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) return failure("read", path, errno);
    if (auto failed = removeAttribute(path, name, info)) return failed;
    if (!S_ISDIR(info.st_mode)) return std::nullopt;
    auto names = folderEntries(path);
    if (!names) return names.error();
    for (const auto& entry : *names) {
        if (auto failed = removeAttributeFromTree(path / entry, name)) return failed;
    }
    return std::nullopt;
}

// Gives the owner write permission on every folder of the tree, so that its
// contents can be deleted; links are not followed.
void openFoldersForDeletion(const fs::path& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) return;
    ::chmod(path.c_str(), (info.st_mode & 07777) | S_IRWXU);
    if (auto names = folderEntries(path)) {
        for (const auto& name : *names) openFoldersForDeletion(path / name);
    }
}

// --- The Trash ---

struct TrashCan {
    fs::path folder;  // holding files/ and info/
    fs::path topdir;  // what relative paths in its info files start from; empty for the home Trash
};

// The folder at the top of the volume holding `path`: the highest folder
// above it on the same device.
fs::path volumeTop(const fs::path& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) return {};
    fs::path top = path;
    for (fs::path folder = path.parent_path(); !folder.empty(); folder = folder.parent_path()) {
        struct stat above {};
        if (::stat(folder.c_str(), &above) != 0 || above.st_dev != info.st_dev) break;
        top = folder;
        if (folder == folder.root_path()) break;
    }
    return top;
}

// Every Trash GIO may put `item` in: the home Trash, and the two a volume of
// its own may have.
std::vector<TrashCan> trashCansFor(const fs::path& item) {
    std::vector<TrashCan> cans{{fs::path(g_get_user_data_dir()) / "Trash", {}}};
    const fs::path top = volumeTop(item);
    if (!top.empty()) {
        const std::string uid = std::to_string(::getuid());
        cans.push_back({top / ".Trash" / uid, top});
        cans.push_back({top / (".Trash-" + uid), top});
    }
    return cans;
}

std::set<std::string> infoFiles(const TrashCan& can) {
    std::set<std::string> names;
    if (auto entries = folderEntries(can.folder / "info")) {
        for (auto& name : *entries) {
            if (name.ends_with(kTrashInfoSuffix)) names.insert(std::move(name));
        }
    }
    return names;
}

// The original path an info file records, unescaped and made absolute.
std::optional<fs::path> recordedPath(const TrashCan& can, const std::string& infoName) {
    const auto text = readSmallFile(can.folder / "info" / infoName, kMaxTrashInfoSize);
    if (!text) return std::nullopt;
    std::string_view rest = *text;
    while (!rest.empty()) {
        const auto end = rest.find('\n');
        const std::string line(rest.substr(0, end));
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
        if (!line.starts_with("Path=")) continue;
        const OwnedText path(g_uri_unescape_string(line.c_str() + 5, nullptr));
        if (!path) return std::nullopt;
        const fs::path recorded(path.get());
        return recorded.is_absolute() ? recorded : can.topdir / recorded;
    }
    return std::nullopt;
}

}  // namespace

std::string linuxAttributeName(std::string_view name) {
    for (std::string_view space : {"user.", "trusted.", "security.", "system."}) {
        if (name.starts_with(space)) return std::string(name);
    }
    return "user." + std::string(name);
}

FileError GioBundleFiles::copyBundle(const fs::path& from, const fs::path& to) { return copyItem(from, to); }

std::expected<fs::path, std::string> GioBundleFiles::moveToTrash(const fs::path& item) {
    std::error_code pathError;
    const fs::path absolute = fs::absolute(item, pathError).lexically_normal();
    if (pathError) return std::unexpected(failure("find", item, pathError.value()));
    const auto cans = trashCansFor(absolute);
    std::vector<std::set<std::string>> before;
    for (const auto& can : cans) before.push_back(infoFiles(can));

    GFile* file = g_file_new_for_path(absolute.c_str());
    GError* error = nullptr;
    const bool trashed = g_file_trash(file, nullptr, &error);
    g_object_unref(file);
    if (!trashed) {
        std::string why = error != nullptr ? error->message : "the system gave no reason";
        if (error != nullptr) g_error_free(error);
        return std::unexpected("can’t move " + absolute.string() + " to the Trash: " + why);
    }
    for (std::size_t i = 0; i < cans.size(); ++i) {
        for (const auto& name : infoFiles(cans[i])) {
            if (before[i].contains(name) || recordedPath(cans[i], name) != absolute) continue;
            return cans[i].folder / "files" / name.substr(0, name.size() - kTrashInfoSuffix.size());
        }
    }
    // Trashed, but under a name no info file tells: the Trash itself is as
    // near as this can say.
    return cans.front().folder / "files";
}

FileError GioBundleFiles::removeAttributeEverywhere(const fs::path& root, std::string_view name) {
    return removeAttributeFromTree(root, linuxAttributeName(name));
}

bool GioBundleFiles::isWritableFolder(const fs::path& folder) const {
    struct stat info {};
    return ::stat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && ::access(folder.c_str(), W_OK | X_OK) == 0;
}

bool GioBundleFiles::exists(const fs::path& path) const {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0;
}

FileError GioBundleFiles::createFolders(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) return failure("create the folder", folder, error.value());
    if (!fs::is_directory(folder, error)) return folder.string() + " is not a folder";
    return std::nullopt;
}

FileError GioBundleFiles::move(const fs::path& from, const fs::path& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return std::nullopt;
    if (errno != EINVAL && errno != ENOSYS) return failure("move " + from.string() + " to", to, errno);
    // A file system without the no-replace flag.
    if (exists(to)) return failure("move " + from.string() + " to", to, EEXIST);
    if (::rename(from.c_str(), to.c_str()) != 0) return failure("move " + from.string() + " to", to, errno);
    return std::nullopt;
}

FileError GioBundleFiles::remove(const fs::path& item) {
    std::error_code error;
    fs::remove_all(item, error);
    if (error && (error == std::errc::permission_denied || error == std::errc::operation_not_permitted)) {
        // A copy of read-only folders: this process made them, so it may open them again.
        openFoldersForDeletion(item);
        error.clear();
        fs::remove_all(item, error);
    }
    if (error) return failure("delete", item, error.value());
    return std::nullopt;
}

}  // namespace pivra
