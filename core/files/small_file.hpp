#pragma once
// Reading the small files of other programs (browsers' profile lists, app
// bundles' Info.plist) whole, with a size beyond which a file is not one of them.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace pivra {

inline constexpr std::uintmax_t kMaxSmallFileSize = 64u << 20;

// The whole file, or absent when it cannot be read (missing, a folder, a
// pipe, unreadable) or is larger than `maxBytes`.
std::optional<std::string> readSmallFile(const std::filesystem::path& path,
                                         std::uintmax_t maxBytes = kMaxSmallFileSize);

}  // namespace pivra
