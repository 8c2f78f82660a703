#include "hosts/linux/libzip_unarchiver.hpp"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <zip.h>

namespace pivra {

struct ZipJobs {
    explicit ZipJobs(Scheduler& scheduler) : scheduler(scheduler) {}

    Scheduler& scheduler;  // not touched once closed
    std::mutex mutex;
    std::condition_variable finished;
    std::atomic<bool> closed = false;  // read between entries without the lock
    int unfinished = 0;

    // Main thread only.
    std::map<std::uint64_t, Unarchiver::Completion> completions;
    std::uint64_t nextId = 1;
};

namespace {

namespace fs = std::filesystem;
using Shared = std::shared_ptr<ZipJobs>;
using Result = std::expected<void, std::string>;

// The longest link target taken; app bundles' links are short relative paths.
constexpr std::uint64_t kMaxLinkTarget = 4096;

struct Entry {
    enum class Kind { file, folder, link };
    zip_uint64_t index = 0;
    std::string name;
    std::vector<std::string> parts;  // the name's components, all plain
    Kind kind = Kind::file;
    mode_t mode = 0;
};

std::string inQuotes(std::string_view name) { return "“" + std::string(name) + "”"; }

// The components of an entry's name, or absent when it is absolute, empty,
// or has a component that is empty (but a folder's last), ".", ".." or holds
// a backslash (a Windows separator).
std::optional<std::vector<std::string>> plainParts(std::string_view name) {
    if (name.empty() || name.front() == '/') return std::nullopt;
    if (name.back() == '/') name.remove_suffix(1);
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (start <= name.size()) {
        const auto end = std::min(name.find('/', start), name.size());
        const auto part = name.substr(start, end - start);
        if (part.empty() || part == "." || part == ".." || part.find('\\') != std::string_view::npos) return std::nullopt;
        parts.emplace_back(part);
        start = end + 1;
    }
    return parts;
}

// Whether `target`, read from the folder of `linkParts`, stays inside the root.
bool staysInside(const std::vector<std::string>& linkParts, std::string_view target) {
    std::vector<std::string_view> at;
    for (std::size_t i = 0; i + 1 < linkParts.size(); ++i) at.push_back(linkParts[i]);
    std::size_t start = 0;
    while (start <= target.size()) {
        const auto end = std::min(target.find('/', start), target.size());
        const auto part = target.substr(start, end - start);
        if (part == "..") {
            if (at.empty()) return false;
            at.pop_back();
        } else if (!part.empty() && part != ".") {
            at.push_back(part);
        }
        start = end + 1;
    }
    return true;
}

class Archive {
public:
    explicit Archive(zip_t* zip) : zip_(zip) {}
    ~Archive() {
        if (zip_) zip_discard(zip_);
    }
    Archive(const Archive&) = delete;
    Archive& operator=(const Archive&) = delete;
    zip_t* get() const { return zip_; }

private:
    zip_t* zip_;
};

class ZipFile {
public:
    explicit ZipFile(zip_file_t* file) : file_(file) {}
    ~ZipFile() {
        if (file_) zip_fclose(file_);
    }
    ZipFile(const ZipFile&) = delete;
    ZipFile& operator=(const ZipFile&) = delete;
    zip_file_t* get() const { return file_; }

private:
    zip_file_t* file_;
};

// Reads the whole list and checks it before anything is written.
std::expected<std::vector<Entry>, std::string> listEntries(zip_t* zip, const ZipLimits& limits) {
    const zip_int64_t count = zip_get_num_entries(zip, 0);
    if (count < 0) return std::unexpected("the archive’s entries can’t be read");
    if (static_cast<std::uint64_t>(count) > limits.maxEntries) {
        return std::unexpected("the archive has more than " + std::to_string(limits.maxEntries) + " entries");
    }
    std::vector<Entry> entries;
    std::uint64_t total = 0;
    for (zip_uint64_t index = 0; index < static_cast<zip_uint64_t>(count); ++index) {
        Entry entry;
        entry.index = index;
        const char* name = zip_get_name(zip, index, ZIP_FL_ENC_RAW);
        if (!name) return std::unexpected("entry " + std::to_string(index) + " has no name");
        entry.name = name;
        auto parts = plainParts(entry.name);
        if (!parts) return std::unexpected("entry " + inQuotes(entry.name) + " isn’t inside the folder");
        entry.parts = std::move(*parts);
        zip_uint8_t system = 0;
        zip_uint32_t attributes = 0;
        if (zip_file_get_external_attributes(zip, index, 0, &system, &attributes) != 0) {
            return std::unexpected("entry " + inQuotes(entry.name) + " can’t be read");
        }
        const mode_t unixMode = system == ZIP_OPSYS_UNIX ? static_cast<mode_t>(attributes >> 16) : 0;
        const bool isFolder = entry.name.back() == '/' || S_ISDIR(unixMode);
        if (S_ISLNK(unixMode)) {
            entry.kind = Entry::Kind::link;
        } else if (isFolder) {
            entry.kind = Entry::Kind::folder;
        } else if (unixMode != 0 && !S_ISREG(unixMode)) {
            return std::unexpected("entry " + inQuotes(entry.name) + " is neither a file, a folder nor a link");
        }
        // Permission bits only (no set-user-ID and the like), and never unreadable by the owner.
        const mode_t fallback = entry.kind == Entry::Kind::file ? 0644 : 0755;
        entry.mode = (unixMode & 0777) != 0 ? ((unixMode & 0777) | S_IRUSR | S_IWUSR) : fallback;
        if (entry.kind == Entry::Kind::folder) entry.mode |= S_IXUSR;
        zip_stat_t stat;
        zip_stat_init(&stat);
        if (zip_stat_index(zip, index, 0, &stat) != 0 || !(stat.valid & ZIP_STAT_SIZE)) {
            return std::unexpected("entry " + inQuotes(entry.name) + " can’t be read");
        }
        total += stat.size;
        if (stat.size > limits.maxTotalSize || total > limits.maxTotalSize) {
            return std::unexpected("the archive unpacks to more than " + std::to_string(limits.maxTotalSize) + " bytes");
        }
        if (entry.kind == Entry::Kind::link && stat.size > kMaxLinkTarget) {
            return std::unexpected("entry " + inQuotes(entry.name) + " is a link with a target too long");
        }
        entries.push_back(std::move(entry));
    }
    return entries;
}

fs::path pathOf(const fs::path& root, const Entry& entry) {
    fs::path path = root;
    for (const auto& part : entry.parts) path /= part;
    return path;
}

// Folders on the way are made plainly (0755); a name already taken by a file fails.
Result makeParents(const fs::path& root, const Entry& entry) {
    fs::path path = root;
    for (std::size_t i = 0; i + 1 < entry.parts.size(); ++i) {
        path /= entry.parts[i];
        if (::mkdir(path.c_str(), 0755) != 0 && errno != EEXIST) {
            return std::unexpected("entry " + inQuotes(entry.name) + " can’t be made: " + std::generic_category().message(errno));
        }
        struct stat info;
        if (::lstat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
            return std::unexpected("entry " + inQuotes(entry.name) + " is inside something that isn’t a folder");
        }
    }
    return {};
}

std::expected<std::string, std::string> readEntry(zip_t* zip, const Entry& entry, std::uint64_t limit,
                                                  int fd = -1) {
    ZipFile file(zip_fopen_index(zip, entry.index, 0));
    if (!file.get()) return std::unexpected("entry " + inQuotes(entry.name) + " can’t be read");
    std::string bytes;
    std::uint64_t total = 0;
    char buffer[65536];
    for (;;) {
        const zip_int64_t got = zip_fread(file.get(), buffer, sizeof buffer);
        if (got < 0) return std::unexpected("entry " + inQuotes(entry.name) + " is damaged");
        if (got == 0) break;
        total += static_cast<std::uint64_t>(got);
        if (total > limit) return std::unexpected("entry " + inQuotes(entry.name) + " is larger than it says");
        if (fd < 0) {
            bytes.append(buffer, static_cast<std::size_t>(got));
            continue;
        }
        for (zip_int64_t done = 0; done < got;) {
            const ssize_t wrote = ::write(fd, buffer + done, static_cast<std::size_t>(got - done));
            if (wrote < 0 && errno == EINTR) continue;
            if (wrote <= 0) {
                return std::unexpected("entry " + inQuotes(entry.name) + " can’t be written: " +
                                       std::generic_category().message(wrote < 0 ? errno : EIO));
            }
            done += wrote;
        }
    }
    return bytes;
}

Result writeFile(zip_t* zip, const fs::path& root, const Entry& entry, std::uint64_t limit) {
    if (auto made = makeParents(root, entry); !made) return made;
    const fs::path path = pathOf(root, entry);
    // O_EXCL: a name given twice fails instead of overwriting; O_NOFOLLOW: never through a link.
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0) {
        return std::unexpected("entry " + inQuotes(entry.name) + " can’t be made: " + std::generic_category().message(errno));
    }
    auto read = readEntry(zip, entry, limit, fd);
    const bool finished = read && ::fchmod(fd, entry.mode) == 0;
    const int error = errno;
    ::close(fd);
    if (!read) return std::unexpected(read.error());
    if (!finished) return std::unexpected("entry " + inQuotes(entry.name) + " can’t be made: " + std::generic_category().message(error));
    return {};
}

Result makeFolder(const fs::path& root, const Entry& entry) {
    if (auto made = makeParents(root, entry); !made) return made;
    const fs::path path = pathOf(root, entry);
    if (::mkdir(path.c_str(), entry.mode) != 0 && errno != EEXIST) {
        return std::unexpected("entry " + inQuotes(entry.name) + " can’t be made: " + std::generic_category().message(errno));
    }
    struct stat info;
    if (::lstat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
        return std::unexpected("entry " + inQuotes(entry.name) + " is both a folder and something else");
    }
    ::chmod(path.c_str(), entry.mode);
    return {};
}

Result makeLink(zip_t* zip, const fs::path& root, const Entry& entry) {
    auto target = readEntry(zip, entry, kMaxLinkTarget);
    if (!target) return std::unexpected(target.error());
    if (target->empty() || target->find('\0') != std::string::npos) {
        return std::unexpected("entry " + inQuotes(entry.name) + " is a link to nothing");
    }
    if (target->front() == '/') return std::unexpected("entry " + inQuotes(entry.name) + " is a link to an absolute path");
    if (!staysInside(entry.parts, *target)) return std::unexpected("entry " + inQuotes(entry.name) + " links out of the folder");
    if (auto made = makeParents(root, entry); !made) return made;
    if (::symlink(target->c_str(), pathOf(root, entry).c_str()) != 0) {
        return std::unexpected("entry " + inQuotes(entry.name) + " can’t be made: " + std::generic_category().message(errno));
    }
    return {};
}

// Links that each look inside may still lead out through one another ("a" →
// "b/..", "b" → "c/d"): once all are there, each is resolved for real.
Result checkLinksResolved(const fs::path& root, const std::vector<const Entry*>& links) {
    std::error_code error;
    const fs::path canonicalRoot = fs::canonical(root, error);
    if (error) return std::unexpected("the unpacked folder can’t be read");
    for (const Entry* link : links) {
        const fs::path resolved = fs::weakly_canonical(pathOf(root, *link), error);
        const auto relative = resolved.lexically_relative(canonicalRoot);
        if (error || relative.empty() || *relative.begin() == "..") {
            return std::unexpected("entry " + inQuotes(link->name) + " links out of the folder");
        }
    }
    return {};
}

Result unpackInto(const Shared& shared, const fs::path& archive, const fs::path& root, const ZipLimits& limits) {
    int openError = 0;
    Archive zip(zip_open(archive.c_str(), ZIP_RDONLY | ZIP_CHECKCONS, &openError));
    if (!zip.get()) {
        zip_error_t error;
        zip_error_init_with_code(&error, openError);
        std::string text = std::string("not a zip archive: ") + zip_error_strerror(&error);
        zip_error_fini(&error);
        return std::unexpected(std::move(text));
    }
    auto entries = listEntries(zip.get(), limits);
    if (!entries) return std::unexpected(entries.error());
    std::vector<const Entry*> links;
    for (const Entry& entry : *entries) {
        if (shared->closed) return std::unexpected("stopped");
        Result made;
        switch (entry.kind) {
            case Entry::Kind::folder: made = makeFolder(root, entry); break;
            case Entry::Kind::file: made = writeFile(zip.get(), root, entry, limits.maxTotalSize); break;
            case Entry::Kind::link: links.push_back(&entry); break;
        }
        if (!made) return made;
    }
    for (const Entry* link : links) {
        if (auto made = makeLink(zip.get(), root, *link); !made) return made;
    }
    return checkLinksResolved(root, links);
}

Result unpack(const Shared& shared, const fs::path& archive, const fs::path& folder, const ZipLimits& limits) {
    std::string pattern = (folder.parent_path() / ("." + folder.filename().string() + ".partial-XXXXXX")).string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        return std::unexpected("can’t make a folder beside " + folder.string() + ": " +
                               std::generic_category().message(errno));
    }
    const fs::path partial = pattern;
    auto result = unpackInto(shared, archive, partial, limits);
    if (result) {
        ::chmod(partial.c_str(), 0755);
        // Never over something already there, even an empty folder.
        if (::renameat2(AT_FDCWD, partial.c_str(), AT_FDCWD, folder.c_str(), RENAME_NOREPLACE) != 0) {
            result = std::unexpected("can’t move the unpacked files to " + folder.string() + ": " +
                                     std::generic_category().message(errno));
        }
    }
    if (!result) {
        std::error_code ignored;
        fs::remove_all(partial, ignored);
    }
    return result;
}

void run(const Shared& shared, std::uint64_t id, fs::path archive, fs::path folder, ZipLimits limits) {
    Result result = unpack(shared, archive, folder, limits);
    std::lock_guard lock(shared->mutex);
    if (!shared->closed) {
        shared->scheduler.post([shared, id, result = std::move(result)] {
            if (shared->closed) return;
            auto completion = shared->completions.extract(id);
            if (completion) completion.mapped()(result);
        });
    }
    --shared->unfinished;
    shared->finished.notify_all();
}

}  // namespace

LibzipUnarchiver::LibzipUnarchiver(Scheduler& scheduler, ZipLimits limits)
    : jobs_(std::make_shared<ZipJobs>(scheduler)), limits_(limits) {}

LibzipUnarchiver::~LibzipUnarchiver() {
    {
        std::unique_lock lock(jobs_->mutex);
        jobs_->closed = true;
        jobs_->finished.wait(lock, [&] { return jobs_->unfinished == 0; });
    }
    jobs_->completions.clear();
}

void LibzipUnarchiver::unpack(const std::filesystem::path& archive, const std::filesystem::path& folder,
                              Completion completion) {
    const std::uint64_t id = jobs_->nextId++;
    jobs_->completions.emplace(id, std::move(completion));
    std::lock_guard lock(jobs_->mutex);
    ++jobs_->unfinished;
    try {
        std::thread(run, jobs_, id, archive, folder, limits_).detach();
    } catch (const std::system_error& error) {
        --jobs_->unfinished;
        jobs_->scheduler.post([jobs = jobs_, id, why = std::string(error.what())] {
            if (jobs->closed) return;
            auto completion = jobs->completions.extract(id);
            if (completion) completion.mapped()(std::unexpected("can’t start unpacking: " + why));
        });
    }
}

}  // namespace pivra
