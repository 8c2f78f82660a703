#pragma once
// A fresh folder under the system's temporary folder, removed with everything in it.

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>

namespace pivra::testing_support {

class TempFolder {
public:
    TempFolder() {
        std::random_device random;
        path_ = std::filesystem::temp_directory_path() / ("pivra-test-" + std::to_string(random()) + std::to_string(random()));
        std::filesystem::create_directories(path_);
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

    // Writes `bytes` to a file under the folder, creating folders on the way.
    std::filesystem::path write(const std::filesystem::path& relative, std::string_view bytes) const {
        const auto file = path_ / relative;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << bytes;
        return file;
    }

    std::string read(const std::filesystem::path& relative) const {
        std::ifstream in(path_ / relative, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

private:
    std::filesystem::path path_;
};

}  // namespace pivra::testing_support
