#include "app/storage/counts_file.hpp"

#include "app/storage/file_io.hpp"
#include "core/files/small_file.hpp"

namespace pivra {

LinkCounts CountsFile::load() const {
    const auto bytes = readSmallFile(file_, kMaxCountsFileSize);
    if (!bytes) return {};
    return LinkCountsCoding::decode(*bytes).value_or(LinkCounts{});
}

bool CountsFile::save(const LinkCounts& counts) const {
    return writeFileAtomically(file_, LinkCountsCoding::encode(counts));
}

}  // namespace pivra
