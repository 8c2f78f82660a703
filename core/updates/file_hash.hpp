#pragma once
// The SHA-256 of a file, the one hashing facility of the core. The digest
// itself comes from the system: CommonCrypto on a Mac, OpenSSL 3 elsewhere,
// one source file each, chosen by the build.

#include <array>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace pivra {

// Read size of each step of the hash, in bytes; memory use stays flat
// whatever the file's size.
inline constexpr std::size_t kHashChunkSize = 1 << 20;

// 64 lower-case hex digits. Absent when the file can't be opened or isn't a
// regular file (a folder, a pipe). A read error ends the reading early: the
// digest then covers what was read, so it can only fail to match.
std::optional<std::string> sha256OfFile(const std::filesystem::path& file);

// A SHA-256 digest of bytes given piece by piece.
class Sha256 {
public:
    using Digest = std::array<unsigned char, 32>;

    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    // False once the system's digest has failed; what follows is not counted.
    bool add(std::span<const unsigned char> bytes);
    // The digest of all that was added; absent when the system's digest
    // failed. Called once, last.
    std::optional<Digest> finish();

private:
    struct State;  // the back end's own
    std::unique_ptr<State> state_;
};

}  // namespace pivra
