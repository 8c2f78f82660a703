#pragma once
// counts.json: the link counts between launches.

#include <cstdint>
#include <filesystem>

#include "core/activity/link_counts.hpp"
#include "core/time/time.hpp"

namespace pivra {

// How long after the last counted link the counts are written: a burst of
// links causes one write.
inline constexpr Seconds kCountsSaveDelay{2.0};

// Far beyond the counts of thirty days of thousands of rules; a larger file
// is not read, and the counts start afresh as from a broken one.
inline constexpr std::uintmax_t kMaxCountsFileSize = 16u << 20;

class CountsFile {
public:
    explicit CountsFile(std::filesystem::path file) : file_(std::move(file)) {}

    const std::filesystem::path& file() const { return file_; }

    // The stored counts; empty when the file is missing, too large or does not decode.
    LinkCounts load() const;

    // Writes the counts atomically; false when that failed (the next save retries).
    bool save(const LinkCounts& counts) const;

private:
    std::filesystem::path file_;
};

}  // namespace pivra
