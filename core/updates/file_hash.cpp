#include "core/updates/file_hash.hpp"

#include <cerrno>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace pivra {
namespace {

class FileDescriptor {
public:
    explicit FileDescriptor(int fd) : fd_(fd) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    int get() const { return fd_; }

private:
    int fd_;
};

// Reads up to `size` bytes; 0 at the end of the file and after a read error.
std::size_t readSome(int fd, unsigned char* buffer, std::size_t size) {
    while (true) {
        const ssize_t count = ::read(fd, buffer, size);
        if (count >= 0) return static_cast<std::size_t>(count);
        if (errno != EINTR) return 0;
    }
}

}  // namespace

std::optional<std::string> sha256OfFile(const std::filesystem::path& file) {
    const FileDescriptor fd(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (fd.get() < 0) return std::nullopt;
    struct stat status {};
    if (::fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;

    Sha256 hash;
    std::vector<unsigned char> buffer(kHashChunkSize);
    while (const std::size_t count = readSome(fd.get(), buffer.data(), buffer.size())) {
        if (!hash.add(std::span(buffer.data(), count))) return std::nullopt;
    }
    const auto digest = hash.finish();
    if (!digest) return std::nullopt;

    static constexpr char kHex[] = "0123456789abcdef";
    std::string hex;
    hex.reserve(2 * digest->size());
    for (unsigned char byte : *digest) {
        hex.push_back(kHex[byte >> 4]);
        hex.push_back(kHex[byte & 0x0F]);
    }
    return hex;
}

}  // namespace pivra
