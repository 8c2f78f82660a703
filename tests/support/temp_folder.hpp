#pragma once
// A fresh folder under the system's temporary folder, removed with everything in it.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

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
        std::ofstream out(file, std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
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
