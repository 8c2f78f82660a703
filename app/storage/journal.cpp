#include "app/storage/journal.hpp"

#include <system_error>

#include "app/storage/file_io.hpp"
#include "core/files/small_file.hpp"

namespace pivra {
void Journal::append(const LogEntry& entry) {
    std::string line = LogEntryCoding::encode(entry);
    line += '\n';
    // Other processes append too (the app, `pivra open` routing links
    // itself): one at a time, so that a line is never split by another's,
    // and a trim never drops a line appended to the file it replaces. Without
    // the lock the line is appended all the same.
    const auto lock = FileLock::acquire(lockFileFor(file_));
    // One descriptor for the whole append: every link writes a line.
    const auto appended = appendLine(file_, line, kMaxJournalFileSize);
    std::uintmax_t size = 0;
    if (appended) {
        size = *appended;
    } else if (appended.error() == AppendFailure::writeFailed) {
        return;
    } else {
        // Missing, or over the limit and so not a file Pivra kept: the journal starts over with this line.
        if (!writeFileAtomically(file_, line)) return;
        size = line.size();
    }
    // Checked after the first line too: one entry can be over the limit by itself.
    if (size >= kJournalTrimSize) trim();
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
