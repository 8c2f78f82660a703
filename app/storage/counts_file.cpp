#include "app/storage/counts_file.hpp"

#include "app/storage/file_io.hpp"
#include "core/files/small_file.hpp"

namespace pivra {

LinkCounts CountsFile::load() const {
    const auto bytes = readSmallFile(file_, kMaxCountsFileSize);
    if (!bytes) return {};
    return LinkCountsCoding::decode(*bytes).value_or(LinkCounts{});
}

std::optional<LinkCounts> CountsFile::addAndSave(const LinkCounts& increments, CalendarDay today) const {
    const auto lock = FileLock::acquire(lockFileFor(file_));
    if (!lock) return std::nullopt;
    LinkCounts counts = load();
    counts.merge(increments, today);
    if (!writeFileAtomically(file_, LinkCountsCoding::encode(counts))) return std::nullopt;
    return counts;
}

bool CountsFile::clear() const {
    const auto lock = FileLock::acquire(lockFileFor(file_));
    return lock && writeFileAtomically(file_, LinkCountsCoding::encode(LinkCounts{}));
}

}  // namespace pivra
