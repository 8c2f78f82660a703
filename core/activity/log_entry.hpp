#pragma once
// One line of the journal: what happened to a link, in words for the user.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/time/time.hpp"

namespace pivra {

struct LogEntry {
    Instant t;
    std::string text;
    std::optional<std::string> host;  // set when the entry is about a link
    std::optional<std::string> path;  // with "?" and the query only while the detailed log is on

    bool operator==(const LogEntry&) const = default;
};

namespace LogEntryCoding {

// One JSON object on one line, without the line feed: "t" is seconds since
// 2001-01-01 UTC; "host" and "path" are left out when absent.
std::string encode(const LogEntry& entry);

// Absent when the line is not such an object: invalid or cut-off JSON, a
// missing or mistyped "t" or "text", a "host" or "path" that is not a string
// (null counts as absent). Other members are ignored.
std::optional<LogEntry> decode(std::string_view line);

// The entries of a whole journal with `t` at or after `since`, in file order.
// Lines that do not decode (one cut off by a crash, say) are skipped.
std::vector<LogEntry> decodeJournal(std::string_view bytes, Instant since);

}  // namespace LogEntryCoding

// A log line as the diagnostic report and `pivra log` print it: the time in
// ISO 8601 UTC with "Z", a space, the text, then " " + host (+ path when
// `withPath`) when the entry has a host.
std::string formatLogLine(const LogEntry& entry, bool withPath);

}  // namespace pivra
