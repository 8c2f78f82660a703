#include "app/storage/journal.hpp"

#include <fstream>
#include <system_error>

#include "app/storage/file_io.hpp"
#include "core/files/small_file.hpp"

namespace pivra {
namespace {

// True when the file is empty or ends with a line feed; a crash can leave a
// last line without one, and appending to it would spoil the new line too.
bool endsAtLineBoundary(const std::filesystem::path& file, std::uintmax_t size) {
    if (size == 0) return true;
    std::ifstream in(file, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(size - 1));
    char last = 0;
    return in.get(last) && last == '\n';
}

}  // namespace

void Journal::append(const LogEntry& entry) {
    std::string line = LogEntryCoding::encode(entry);
    line += '\n';
    std::error_code error;
    const auto size = std::filesystem::file_size(file_, error);
    // A file over the limit is not one Pivra kept: the journal starts over with this line.
    if (error || size > kMaxJournalFileSize) {
        if (!writeFileAtomically(file_, line)) return;
    } else {
        if (!endsAtLineBoundary(file_, size)) line.insert(line.begin(), '\n');
        if (!appendToFile(file_, line)) return;
    }
    // Checked after the first line too: one entry can be over the limit by itself.
    if (std::filesystem::file_size(file_, error) >= kJournalTrimSize && !error) trim();
}

void Journal::trim() {
    const auto bytes = readSmallFile(file_, kMaxJournalFileSize);
    if (!bytes) {
        // The journal grows past the limit only by a line longer than what a
        // trim keeps: a trim would keep nothing of it anyway.
        if (bytes.error() == FileReadError::tooLarge) writeFileAtomically(file_, "");
        return;
    }
    std::string_view tail = *bytes;
    if (tail.size() > kJournalKeptSize) tail.remove_prefix(tail.size() - kJournalKeptSize);
    // The cut lands inside a line: start after its end. A tail without any
    // line feed is one oversized line, and nothing of it is kept.
    const auto firstBreak = tail.find('\n');
    tail = firstBreak == std::string_view::npos ? std::string_view() : tail.substr(firstBreak + 1);
    writeFileAtomically(file_, tail);
}

std::vector<LogEntry> Journal::entries(Instant since) const {
    const auto bytes = readSmallFile(file_, kMaxJournalFileSize);
    if (!bytes) return {};
    return LogEntryCoding::decodeJournal(*bytes, since);
}

void Journal::clear() {
    std::error_code error;
    std::filesystem::remove(file_, error);
}

}  // namespace pivra
