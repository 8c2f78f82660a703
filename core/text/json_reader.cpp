#include "core/text/json_reader.hpp"

#include <cmath>

#include <boost/json/parser.hpp>

#include "core/rules/rules_coding.hpp"

namespace pivra {

namespace json = boost::json;

bool allNumbersFinite(const json::value& value) {
    switch (value.kind()) {
        case json::kind::double_: return std::isfinite(value.get_double());
        case json::kind::array:
            for (const auto& element : value.get_array()) {
                if (!allNumbersFinite(element)) return false;
            }
            return true;
        case json::kind::object:
            for (const auto& member : value.get_object()) {
                if (!allNumbersFinite(member.value())) return false;
            }
            return true;
        default: return true;
    }
}

std::optional<json::value> parseJson(std::string_view text) {
    json::parse_options options;
    options.max_depth = kMaxJsonDepth;
    json::parser parser(json::storage_ptr(), options);
    json::error_code ec;
    parser.write(text.data(), text.size(), ec);
    if (ec) return std::nullopt;
    // The result must outlive the parser, so it gets the default storage.
    json::value document = parser.release();
    if (!allNumbersFinite(document)) return std::nullopt;
    return document;
}

std::optional<double> jsonNumber(const json::value& value) {
    if (value.is_double()) return value.get_double();
    if (value.is_int64()) return static_cast<double>(value.get_int64());
    if (value.is_uint64()) return static_cast<double>(value.get_uint64());
    return std::nullopt;
}

}  // namespace pivra
