// Any bytes as a journal line, a whole journal and a counts file: reading never crashes, and
// what reads comes back the same after being written and read again.
#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "core/activity/link_counts.hpp"
#include "core/activity/log_entry.hpp"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);

    if (const auto entry = pivra::LogEntryCoding::decode(bytes)) {
        const auto again = pivra::LogEntryCoding::decode(pivra::LogEntryCoding::encode(*entry));
        if (!again || again->text != entry->text || again->host != entry->host || again->path != entry->path) std::abort();
        (void)pivra::formatLogLine(*entry, true);
    }

    // The same bytes as a whole journal: only complete lines come back.
    const auto entries = pivra::LogEntryCoding::decodeJournal(bytes, pivra::Instant{});
    if (entries.size() > static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), '\n')) + 1) std::abort();

    if (const auto counts = pivra::LinkCountsCoding::decode(bytes)) {
        const auto again = pivra::LinkCountsCoding::decode(pivra::LinkCountsCoding::encode(*counts));
        if (!again || *again != *counts) std::abort();
    }
    return 0;
}
