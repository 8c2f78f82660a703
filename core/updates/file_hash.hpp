#pragma once
// The SHA-256 of a file, the one hashing facility of the core.

#include <filesystem>
#include <optional>
#include <string>

namespace pivra {

// Read size of each step of the hash, in bytes; memory use stays flat
// whatever the file's size.
inline constexpr std::size_t kHashChunkSize = 1 << 20;

// 64 lower-case hex digits. Absent when the file can't be opened or isn't a
// regular file (a folder, a pipe). A read error ends the reading early: the
// digest then covers what was read, so it can only fail to match.
std::optional<std::string> sha256OfFile(const std::filesystem::path& file);

}  // namespace pivra
