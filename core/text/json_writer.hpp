#pragma once
// The JSON layout of the files Pivra writes: members sorted by key in byte
// order, "key" : value, two spaces per level, one member or element per line,
// "/" and non-ASCII written as they are, no newline at the end. Numbers are
// written in their shortest exact form; a double always with a fraction or an
// exponent ("2.0", "1e+300"), so that it reads back as a double.

#include <optional>
#include <string>
#include <string_view>

#include <boost/json/value.hpp>

namespace pivra {

// Absent only when the value holds a number that JSON cannot express (NaN, infinity).
std::optional<std::string> writePrettyJson(const boost::json::value& value);

// Appends `text` as a JSON string literal: quotes, backslashes and control
// characters escaped, bytes that are not well-formed UTF-8 written as U+FFFD,
// everything else byte for byte.
void appendJsonString(std::string& out, std::string_view text);

}  // namespace pivra
