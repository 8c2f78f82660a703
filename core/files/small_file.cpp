#include "core/files/small_file.hpp"

#include <fstream>
#include <system_error>

namespace pivra {

std::expected<std::string, FileReadError> readSmallFile(const std::filesystem::path& path, std::uintmax_t maxBytes) {
    std::error_code ec;
    // Only regular files: a pipe or a device could block the reader or never end.
    if (!std::filesystem::is_regular_file(path, ec)) return std::unexpected(FileReadError::unreadable);
    const auto size = std::filesystem::file_size(path, ec);
    if (ec) return std::unexpected(FileReadError::unreadable);
    if (size > maxBytes) return std::unexpected(FileReadError::tooLarge);
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::unexpected(FileReadError::unreadable);

    // The limit holds for what is read, too: the file may grow after its size was taken.
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(size));
    char chunk[1 << 16];
    while (in.read(chunk, sizeof chunk) || in.gcount() > 0) {
        bytes.append(chunk, static_cast<std::size_t>(in.gcount()));
        if (bytes.size() > maxBytes) return std::unexpected(FileReadError::tooLarge);
    }
    if (in.bad()) return std::unexpected(FileReadError::unreadable);
    return bytes;
}

}  // namespace pivra
