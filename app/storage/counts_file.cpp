#include "app/storage/counts_file.hpp"

#include "app/storage/file_io.hpp"

namespace pivra {

LinkCounts CountsFile::load() const {
    const auto bytes = readWholeFile(file_);
    if (!bytes) return {};
    return LinkCountsCoding::decode(*bytes).value_or(LinkCounts{});
}

bool CountsFile::save(const LinkCounts& counts) const {
    return writeFileAtomically(file_, LinkCountsCoding::encode(counts));
}

}  // namespace pivra
