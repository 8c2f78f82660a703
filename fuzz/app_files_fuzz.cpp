// Any bytes as a journal line and as a counts file: reading never crashes, and
// what reads comes back the same after being written and read again.
#include <cstdlib>
#include <string_view>

#include "core/link_counts.hpp"
#include "core/log_entry.hpp"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);

    if (const auto entry = pivra::LogEntryCoding::decode(bytes)) {
        const auto again = pivra::LogEntryCoding::decode(pivra::LogEntryCoding::encode(*entry));
        if (!again || again->text != entry->text || again->host != entry->host || again->path != entry->path) std::abort();
        (void)pivra::formatLogLine(*entry, true);
    }

    if (const auto counts = pivra::LinkCountsCoding::decode(bytes)) {
        const auto again = pivra::LinkCountsCoding::decode(pivra::LinkCountsCoding::encode(*counts));
        if (!again || *again != *counts) std::abort();
    }
    return 0;
}
