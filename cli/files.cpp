#include "cli/files.hpp"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace pivra::cli {

std::expected<std::string, std::string> readWholeFile(const std::filesystem::path& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return std::unexpected(std::string(std::strerror(errno)));
    std::string bytes;
    char buffer[65536];
    for (;;) {
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got < 0) {
            if (errno == EINTR) continue;
            const std::string reason = std::strerror(errno);
            ::close(fd);
            return std::unexpected(reason);
        }
        if (got == 0) break;
        bytes.append(buffer, static_cast<std::size_t>(got));
    }
    ::close(fd);
    return bytes;
}

std::expected<void, std::string> replaceFileAtomically(const std::filesystem::path& path, std::string_view bytes) {
    std::string temporary = (path.parent_path() / ("." + path.filename().string() + ".XXXXXX")).string();
    const int fd = ::mkstemp(temporary.data());
    if (fd < 0) return std::unexpected(std::string(std::strerror(errno)));
    const auto failWith = [&](int error) {
        ::close(fd);
        ::unlink(temporary.c_str());
        return std::unexpected(std::string(std::strerror(error)));
    };
    // Keep the permissions of the file being replaced.
    struct stat existing {};
    if (::stat(path.c_str(), &existing) == 0) ::fchmod(fd, existing.st_mode & 07777);
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t put = ::write(fd, bytes.data() + written, bytes.size() - written);
        if (put < 0) {
            if (errno == EINTR) continue;
            return failWith(errno);
        }
        written += static_cast<std::size_t>(put);
    }
    if (::fsync(fd) != 0) return failWith(errno);
    if (::close(fd) != 0) {
        const int error = errno;
        ::unlink(temporary.c_str());
        return std::unexpected(std::string(std::strerror(error)));
    }
    if (::rename(temporary.c_str(), path.c_str()) != 0) {
        const int error = errno;
        ::unlink(temporary.c_str());
        return std::unexpected(std::string(std::strerror(error)));
    }
    return {};
}

}  // namespace pivra::cli
