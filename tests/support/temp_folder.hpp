#pragma once
// A fresh folder under the system's temporary folder, removed with everything in it.

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include "core/files/small_file.hpp"
#include "tests/support/files.hpp"

namespace pivra::testing_support {

class TempFolder {
public:
    TempFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "pivra-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
        path_ = pattern;
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& path() const { return path_; }

    // Writes `bytes` to a file at `relative`, creating the folders on the way.
    std::filesystem::path write(const std::filesystem::path& relative, std::string_view bytes) const {
        const auto file = path_ / relative;
        std::filesystem::create_directories(file.parent_path());
        writeFile(file, bytes);
        return file;
    }

    // The file's bytes; empty when it cannot be read.
    std::string read(const std::filesystem::path& relative) const {
        return readSmallFile(path_ / relative, kMaxTestFileSize).value_or("");
    }

private:
    std::filesystem::path path_;
};

}  // namespace pivra::testing_support
