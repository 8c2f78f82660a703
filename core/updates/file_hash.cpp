#include "core/updates/file_hash.hpp"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#if defined(__APPLE__)
#include <CommonCrypto/CommonDigest.h>
#else
#include <openssl/evp.h>
#endif

namespace pivra {
namespace {

constexpr std::size_t kDigestSize = 32;

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

#if defined(__APPLE__)

std::optional<std::array<unsigned char, kDigestSize>> digestOf(int fd, std::vector<unsigned char>& buffer) {
    CC_SHA256_CTX context;
    CC_SHA256_Init(&context);
    while (const std::size_t count = readSome(fd, buffer.data(), buffer.size())) {
        CC_SHA256_Update(&context, buffer.data(), static_cast<CC_LONG>(count));
    }
    std::array<unsigned char, kDigestSize> digest{};
    CC_SHA256_Final(digest.data(), &context);
    return digest;
}

#else

std::optional<std::array<unsigned char, kDigestSize>> digestOf(int fd, std::vector<unsigned char>& buffer) {
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1) return std::nullopt;
    while (const std::size_t count = readSome(fd, buffer.data(), buffer.size())) {
        if (EVP_DigestUpdate(context.get(), buffer.data(), count) != 1) return std::nullopt;
    }
    std::array<unsigned char, kDigestSize> digest{};
    unsigned int length = 0;
    if (EVP_DigestFinal_ex(context.get(), digest.data(), &length) != 1 || length != kDigestSize) return std::nullopt;
    return digest;
}

#endif

}  // namespace

std::optional<std::string> sha256OfFile(const std::filesystem::path& file) {
    const FileDescriptor fd(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (fd.get() < 0) return std::nullopt;
    struct stat status {};
    if (::fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;

    std::vector<unsigned char> buffer(kHashChunkSize);
    const auto digest = digestOf(fd.get(), buffer);
    if (!digest) return std::nullopt;

    static constexpr char kHex[] = "0123456789abcdef";
    std::string hex;
    hex.reserve(2 * kDigestSize);
    for (unsigned char byte : *digest) {
        hex.push_back(kHex[byte >> 4]);
        hex.push_back(kHex[byte & 0x0F]);
    }
    return hex;
}

}  // namespace pivra
