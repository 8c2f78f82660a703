#pragma once
// Whole-file reads and writes by absolute path for tests; a failure throws, so
// the test stops at the line that could not set up its files.

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "core/files/small_file.hpp"

namespace pivra::testing_support {

// Larger than any file a test writes.
inline constexpr std::uintmax_t kMaxTestFileSize = std::uintmax_t{64} << 20;

inline void writeFile(const std::filesystem::path& file, std::string_view bytes) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out) throw std::runtime_error("cannot write " + file.string());
}

inline std::string readFile(const std::filesystem::path& file) {
    auto bytes = readSmallFile(file, kMaxTestFileSize);
    if (!bytes) throw std::runtime_error("cannot read " + file.string());
    return std::move(*bytes);
}

}  // namespace pivra::testing_support
