#pragma once
// The journal: one JSON line per event of a link, appended to
// pivra-log.jsonl and kept between 256 and 512 KiB. File errors are
// swallowed; a failed write loses that line only.

#include <cstdint>
#include <filesystem>
#include <vector>

#include "core/activity/log_entry.hpp"

namespace pivra {

// A file of this size or more is trimmed after an append...
inline constexpr std::uintmax_t kJournalTrimSize = 524289;
// ...to at most its last this many bytes, starting at a whole line.
inline constexpr std::uintmax_t kJournalKeptSize = 262144;
// A journal larger than this was not kept by Pivra: it is not read, and the
// next append starts it over.
inline constexpr std::uintmax_t kMaxJournalFileSize = 8 * kJournalTrimSize;
// How far back the log views read.
inline constexpr std::chrono::seconds kJournalReadWindow{604800};

class Journal {
public:
    explicit Journal(std::filesystem::path file) : file_(std::move(file)) {}

    const std::filesystem::path& file() const { return file_; }

    // Adds one line at the end; creates the file (atomically) when missing or
    // over kMaxJournalFileSize. Appends of several processes take turns
    // (through the lock file beside the journal): lines stay whole.
    void append(const LogEntry& entry);

    // The entries with `t` at or after `since`, in file order. Lines that do
    // not decode (one cut off by a crash, say) are skipped; no file reads as none.
    std::vector<LogEntry> entries(Instant since) const;

    // Deletes the file.
    void clear();

private:
    void trim();

    std::filesystem::path file_;
};

}  // namespace pivra
