#pragma once
// counts.json: the link counts between launches, shared by every process
// that counts links (the app, and `pivra open` routing links itself).

#include <cstdint>
#include <filesystem>
#include <optional>

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

    // Adds `increments` (the links counted since the last save) to the counts
    // on disk as they are now, whoever wrote them, drops the days before the
    // 30 that end on `today`, and writes the result atomically. Other
    // processes' saves wait meanwhile, so none is lost. The counts now on
    // disk, or absent when nothing was written (the caller keeps its
    // increments for the next save). A file that does not decode counts as empty.
    std::optional<LinkCounts> addAndSave(const LinkCounts& increments, CalendarDay today) const;

    // Writes empty counts, for everyone; false when that failed.
    bool clear() const;

private:
    std::filesystem::path file_;
};

}  // namespace pivra
