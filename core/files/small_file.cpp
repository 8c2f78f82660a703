#include "core/files/small_file.hpp"

#include <fstream>
#include <iterator>
#include <system_error>

namespace pivra {

std::optional<std::string> readSmallFile(const std::filesystem::path& path, std::uintmax_t maxBytes) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec)) return std::nullopt;
    const auto size = std::filesystem::file_size(path, ec);
    if (ec || size > maxBytes) return std::nullopt;
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) return std::nullopt;
    return bytes;
}

}  // namespace pivra
