#include "app/storage/file_io.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <system_error>

namespace pivra {
namespace {

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

// The path the bytes really go to: a symbolic link's final target, so that a
// rules.json linked into a dotfiles folder stays a link.
std::filesystem::path resolvedTarget(const std::filesystem::path& file) {
    std::error_code error;
    std::filesystem::path current = file;
    for (int hops = 0; hops < 40 && std::filesystem::is_symlink(current, error); ++hops) {
        auto target = std::filesystem::read_symlink(current, error);
        if (error) return file;
        current = target.is_absolute() ? target : current.parent_path() / target;
    }
    return current;
}

// Temporary files of earlier writes that a crash left behind: ".<name>." and
// six characters, as mkstemp makes them. They are never read as the file.
// Only those a minute older than the file just written go: a younger one may
// belong to another process (the command line beside the app) still writing.
void removeLeftoverTemporaries(const std::filesystem::path& folder, const std::filesystem::path& written) {
    const std::string prefix = "." + written.filename().string() + ".";
    std::error_code error;
    const auto writtenAt = std::filesystem::last_write_time(written, error);
    if (error) return;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        const std::string candidate = entry.path().filename().string();
        if (candidate.size() != prefix.size() + 6 || !candidate.starts_with(prefix)) continue;
        std::error_code timeError;
        const auto leftAt = std::filesystem::last_write_time(entry.path(), timeError);
        if (!timeError && writtenAt - leftAt >= std::chrono::minutes(1)) {
            std::filesystem::remove(entry.path(), timeError);
        }
    }
}

}  // namespace

bool writeFileAtomically(const std::filesystem::path& file, std::string_view bytes) {
    return writeFileAtomicallyOrError(file, bytes).has_value();
}

std::expected<void, std::error_code> writeFileAtomicallyOrError(const std::filesystem::path& file, std::string_view bytes) {
    const std::filesystem::path target = resolvedTarget(file);
    const std::filesystem::path folder = target.parent_path().empty() ? "." : target.parent_path();
    std::error_code error;
    std::filesystem::create_directories(folder, error);  // a real failure shows at the open below

    std::string temporary = (folder / ("." + target.filename().string() + ".XXXXXX")).string();
    const int descriptor = ::mkstemp(temporary.data());
    if (descriptor < 0) return std::unexpected(std::error_code(errno, std::generic_category()));

    // Keep the permissions of the file being replaced; new files get the usual 0644.
    struct stat existing {};
    const mode_t mode = ::stat(target.c_str(), &existing) == 0 ? (existing.st_mode & 07777) : 0644;
    int failure = 0;
    const auto step = [&failure](bool ok) {
        if (!ok && failure == 0) failure = errno != 0 ? errno : EIO;
        return ok;
    };
    bool ok = step(::fchmod(descriptor, mode) == 0) && step(writeAll(descriptor, bytes)) && step(::fsync(descriptor) == 0);
    ok = step(::close(descriptor) == 0) && ok;
    if (ok) ok = step(::rename(temporary.c_str(), target.c_str()) == 0);
    if (!ok) {
        ::unlink(temporary.c_str());
        return std::unexpected(std::error_code(failure, std::generic_category()));
    }
    removeLeftoverTemporaries(folder, target);
    return {};
}

std::expected<std::uintmax_t, AppendFailure> appendLine(const std::filesystem::path& file, std::string_view line,
                                                        std::uintmax_t maxSize) {
    const int descriptor = ::open(file.c_str(), O_RDWR | O_APPEND | O_CLOEXEC);
    if (descriptor < 0) return std::unexpected(AppendFailure::cannotOpen);
    const auto fail = [descriptor](AppendFailure failure) {
        ::close(descriptor);
        return std::unexpected(failure);
    };
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return fail(AppendFailure::cannotOpen);
    const auto size = static_cast<std::uintmax_t>(status.st_size);
    if (size > maxSize) return fail(AppendFailure::tooLarge);
    char last = '\n';
    if (size > 0 && ::pread(descriptor, &last, 1, static_cast<off_t>(size - 1)) != 1) return fail(AppendFailure::writeFailed);
    if (last != '\n' && !writeAll(descriptor, "\n")) return fail(AppendFailure::writeFailed);
    if (!writeAll(descriptor, line) || ::fstat(descriptor, &status) != 0) return fail(AppendFailure::writeFailed);
    if (::close(descriptor) != 0) return std::unexpected(AppendFailure::writeFailed);
    return static_cast<std::uintmax_t>(status.st_size);
}

}  // namespace pivra
