#pragma once
// Reading and atomically replacing whole files, for the command line.

#include <expected>
#include <filesystem>
#include <string>
#include <string_view>

namespace pivra::cli {

// The file's bytes, or why it could not be read.
std::expected<std::string, std::string> readWholeFile(const std::filesystem::path& path);

// Writes a temporary file beside `path`, flushes it to disk, then renames it
// over `path`: a reader sees the old file or the new one, never a part.
std::expected<void, std::string> replaceFileAtomically(const std::filesystem::path& path, std::string_view bytes);

}  // namespace pivra::cli
