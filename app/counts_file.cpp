#include "app/counts_file.hpp"

#include "app/file_io.hpp"

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
