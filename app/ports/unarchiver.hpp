#pragma once
// Unpacking a downloaded zip archive.

#include <expected>
#include <filesystem>
#include <functional>
#include <string>

namespace pivra {

class Unarchiver {
public:
    using Completion = std::function<void(std::expected<void, std::string>)>;

    virtual ~Unarchiver() = default;

    // Unpacks the zip archive at `archive` into `folder`, which must not
    // exist yet and whose parent must. Entries keep their folders, their
    // permission bits and their symbolic links; an entry that would land
    // outside `folder` (a "../" or absolute name, a link pointing out of the
    // folder or to an absolute path) fails the whole unpacking. On failure
    // `folder` does not exist afterwards. `completion` runs once on the main
    // thread, never before this returns, with nothing or the reason (for
    // logs). Where nothing can unpack zips, every request fails.
    virtual void unpack(const std::filesystem::path& archive, const std::filesystem::path& folder,
                        Completion completion) = 0;
};

}  // namespace pivra
