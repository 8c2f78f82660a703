#pragma once
// The one way into JSON for everything Pivra reads: the rules file, its own
// small files (settings, counts, journal lines), browsers' profile lists and
// the update feed. Every reader gets the same limits.

#include <cstddef>
#include <expected>
#include <optional>
#include <string_view>

#include <boost/json/storage_ptr.hpp>
#include <boost/json/value.hpp>

namespace pivra {

// How deep arrays and objects may nest; deeper input is refused, not followed.
inline constexpr std::size_t kMaxJsonDepth = 512;

// Why a text is not one JSON document, and where.
struct JsonSyntaxError {
    // The byte offset where reading stopped: at the fault, or just past a
    // number too large for a double.
    std::size_t offset = 0;
    // The text ended inside the document, or held none: the fault is its end.
    bool endedEarly = false;

    bool operator==(const JsonSyntaxError&) const = default;
};

// The whole of `text` as one JSON document, its values allocated from
// `storage`. Refused: invalid JSON, nesting deeper than kMaxJsonDepth, a
// number beyond the range of a double (it would read as infinite), and
// anything but white space after the document.
std::expected<boost::json::value, JsonSyntaxError> parseJsonDocument(std::string_view text,
                                                                     boost::json::storage_ptr storage = {});

// parseJsonDocument for readers that need no place: absent for whatever it refuses.
std::optional<boost::json::value> parseJson(std::string_view text);

// A JSON number as a double; absent for every other kind of value.
std::optional<double> jsonNumber(const boost::json::value& value);

}  // namespace pivra
