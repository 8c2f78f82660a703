#pragma once
// Reading a file whole: every file Pivra reads, its own and other programs',
// comes in here, each with a size beyond which it is not the file it should be
// and is not read into memory.

#include <cstdint>
#include <expected>
#include <filesystem>
#include <string>

namespace pivra {

enum class FileReadError {
    unreadable,  // missing, not a regular file (a folder, a pipe), no permission, a read error
    tooLarge,    // more than the caller's limit, however the file grew while it was read
};

std::expected<std::string, FileReadError> readSmallFile(const std::filesystem::path& path, std::uintmax_t maxBytes);

}  // namespace pivra
