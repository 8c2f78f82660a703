#pragma once
// A fresh folder under the system's temporary directory, removed with its contents afterwards.

#include <filesystem>
#include <string>
#include <string_view>

namespace pivra::test {

class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

// Test helpers for plain file access; they fail the test on error.
void writeFile(const std::filesystem::path& file, std::string_view bytes);
std::string readFile(const std::filesystem::path& file);

}  // namespace pivra::test
