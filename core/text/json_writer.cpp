#include "core/text/json_writer.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>
#include <vector>

#include "core/text/unicode_text.hpp"

namespace pivra {
namespace {

void newline(std::string& out, int level) {
    out.push_back('\n');
    out.append(static_cast<std::size_t>(level) * 2, ' ');
}

bool write(std::string& out, const boost::json::value& value, int level) {
    switch (value.kind()) {
        case boost::json::kind::null:
            out += "null";
            return true;
        case boost::json::kind::bool_:
            out += value.get_bool() ? "true" : "false";
            return true;
        case boost::json::kind::int64:
        case boost::json::kind::uint64:
        case boost::json::kind::double_: {
            char buffer[32];
            std::to_chars_result result{};
            if (value.is_int64()) {
                result = std::to_chars(buffer, buffer + sizeof buffer, value.get_int64());
            } else if (value.is_uint64()) {
                result = std::to_chars(buffer, buffer + sizeof buffer, value.get_uint64());
            } else {
                if (!std::isfinite(value.get_double())) return false;
                result = std::to_chars(buffer, buffer + sizeof buffer, value.get_double());
            }
            const std::string_view number(buffer, static_cast<std::size_t>(result.ptr - buffer));
            out += number;
            // A whole double keeps a fraction, so that it reads back as a double, not an integer.
            if (value.is_double() && number.find_first_of(".e") == std::string_view::npos) out += ".0";
            return true;
        }
        case boost::json::kind::string:
            appendJsonString(out, value.get_string());
            return true;
        case boost::json::kind::array: {
            const auto& array = value.get_array();
            if (array.empty()) {
                out += "[]";
                return true;
            }
            out.push_back('[');
            for (std::size_t i = 0; i < array.size(); ++i) {
                if (i > 0) out.push_back(',');
                newline(out, level + 1);
                if (!write(out, array[i], level + 1)) return false;
            }
            newline(out, level);
            out.push_back(']');
            return true;
        }
        case boost::json::kind::object: {
            const auto& object = value.get_object();
            if (object.empty()) {
                out += "{}";
                return true;
            }
            std::vector<const boost::json::key_value_pair*> members;
            members.reserve(object.size());
            for (const auto& member : object) members.push_back(&member);
            std::sort(members.begin(), members.end(), [](const auto* a, const auto* b) {
                return a->key() < b->key();  // string_view comparison: byte order
            });
            out.push_back('{');
            for (std::size_t i = 0; i < members.size(); ++i) {
                if (i > 0) out.push_back(',');
                newline(out, level + 1);
                appendJsonString(out, members[i]->key());
                out += " : ";
                if (!write(out, members[i]->value(), level + 1)) return false;
            }
            newline(out, level);
            out.push_back('}');
            return true;
        }
    }
    return false;
}

}  // namespace

void appendJsonString(std::string& out, std::string_view text) {
    // Readers refuse a document with invalid UTF-8 as a whole; a replacement
    // character keeps the rest of the text readable.
    if (!isValidUtf8(text)) {
        appendJsonString(out, withInvalidUtf8Replaced(text));
        return;
    }
    static constexpr char kHex[] = "0123456789abcdef";
    out.push_back('"');
    std::size_t plainStart = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c >= 0x20 && c != '"' && c != '\\') continue;
        out.append(text.data() + plainStart, i - plainStart);
        plainStart = i + 1;
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            case '\b': out += "\\b"; break;
            case '\f': out += "\\f"; break;
            default:
                out += "\\u00";
                out.push_back(kHex[c >> 4]);
                out.push_back(kHex[c & 0x0F]);
        }
    }
    out.append(text.data() + plainStart, text.size() - plainStart);
    out.push_back('"');
}

std::optional<std::string> writePrettyJson(const boost::json::value& value) {
    std::string out;
    if (!write(out, value, 0)) return std::nullopt;
    return out;
}

}  // namespace pivra
