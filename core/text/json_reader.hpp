#pragma once
// Parsing the small JSON files Pivra keeps besides the rules (settings,
// counts, journal lines), with the same limits as the rules file.

#include <optional>
#include <string_view>

#include <boost/json/value.hpp>

namespace pivra {

// The whole of `text` as one JSON document. Absent when it is not valid JSON,
// nests deeper than kMaxJsonDepth, holds a number that is not finite, or has
// anything but white space after the document.
std::optional<boost::json::value> parseJson(std::string_view text);

// False when any number in `value` is infinite or not a number.
bool allNumbersFinite(const boost::json::value& value);

// A JSON number as a double; absent for every other kind of value.
std::optional<double> jsonNumber(const boost::json::value& value);

}  // namespace pivra
