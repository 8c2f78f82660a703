#include "core/text/json_reader.hpp"

#include <charconv>
#include <cmath>
#include <string>
#include <string_view>

#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/value_stack.hpp>

namespace pivra {
namespace {

namespace json = boost::json;

// Boost.JSON before 1.83 may round the last bit of a double with many digits
// the wrong way (one time stamp in eight, written by the shortest exact form,
// reads back off by one); the standard library reads it exactly, where it can
// read doubles at all.
double exactDouble(std::string_view text, double parsed) {
#if defined(__cpp_lib_to_chars)
    double exact = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), exact);
    if (error == std::errc() && end == text.data() + text.size()) return exact;
#endif
    return parsed;
}

// Builds the document as Boost.JSON's own parser does, and stops at the first
// number that overflows a double, so that the fault has a place like any other.
class DocumentBuilder {
public:
    static constexpr std::size_t max_object_size = json::object::max_size();
    static constexpr std::size_t max_array_size = json::array::max_size();
    static constexpr std::size_t max_key_size = json::string::max_size();
    static constexpr std::size_t max_string_size = json::string::max_size();

    DocumentBuilder(unsigned char* buffer, std::size_t size) : stack(json::storage_ptr(), buffer, size) {}

    bool on_document_begin(json::error_code&) { return true; }
    bool on_document_end(json::error_code&) { return true; }
    bool on_object_begin(json::error_code&) { return true; }
    bool on_object_end(std::size_t n, json::error_code&) { stack.push_object(n); return true; }
    bool on_array_begin(json::error_code&) { return true; }
    bool on_array_end(std::size_t n, json::error_code&) { stack.push_array(n); return true; }
    bool on_key_part(json::string_view part, std::size_t, json::error_code&) { stack.push_chars(part); return true; }
    bool on_key(json::string_view rest, std::size_t, json::error_code&) { stack.push_key(rest); return true; }
    bool on_string_part(json::string_view part, std::size_t, json::error_code&) { stack.push_chars(part); return true; }
    bool on_string(json::string_view rest, std::size_t, json::error_code&) { stack.push_string(rest); return true; }
    bool on_number_part(json::string_view part, json::error_code&) {
        number_.append(part.data(), part.size());
        return true;
    }
    bool on_int64(std::int64_t value, json::string_view, json::error_code&) {
        number_.clear();
        stack.push_int64(value);
        return true;
    }
    bool on_uint64(std::uint64_t value, json::string_view, json::error_code&) {
        number_.clear();
        stack.push_uint64(value);
        return true;
    }
    bool on_double(double value, json::string_view rest, json::error_code& ec) {
        number_.append(rest.data(), rest.size());
        value = exactDouble(number_, value);
        number_.clear();
        if (!std::isfinite(value)) {
            ec = json::error::exponent_overflow;
            return false;
        }
        stack.push_double(value);
        return true;
    }
    bool on_bool(bool value, json::error_code&) { stack.push_bool(value); return true; }
    bool on_null(json::error_code&) { stack.push_null(); return true; }
    bool on_comment_part(json::string_view, json::error_code&) { return true; }
    bool on_comment(json::string_view, json::error_code&) { return true; }

    json::value_stack stack;

private:
    std::string number_;  // the text of the number being read, when it comes in parts
};

}  // namespace

std::expected<json::value, JsonSyntaxError> parseJsonDocument(std::string_view text, json::storage_ptr storage) {
    json::parse_options options;
    options.max_depth = kMaxJsonDepth;
    unsigned char buffer[BOOST_JSON_STACK_BUFFER_SIZE];
    json::basic_parser<DocumentBuilder> parser(options, buffer, sizeof buffer);
    parser.handler().stack.reset(std::move(storage));

    // Fed as one piece of a stream, then ended: a fault inside the text is
    // told apart from a text that ends too early.
    json::error_code ec;
    const std::size_t consumed = parser.write_some(true, text.data(), text.size(), ec);
    // Anything but white space after the document is a fault where it starts.
    if (ec || consumed < text.size()) return std::unexpected(JsonSyntaxError{consumed, false});
    parser.write_some(false, nullptr, 0, ec);
    if (ec || !parser.done()) return std::unexpected(JsonSyntaxError{text.size(), true});
    return parser.handler().stack.release();
}

std::optional<json::value> parseJson(std::string_view text) {
    auto document = parseJsonDocument(text);
    if (!document) return std::nullopt;
    return std::move(*document);
}

std::optional<double> jsonNumber(const json::value& value) {
    if (value.is_double()) return value.get_double();
    if (value.is_int64()) return static_cast<double>(value.get_int64());
    if (value.is_uint64()) return static_cast<double>(value.get_uint64());
    return std::nullopt;
}

}  // namespace pivra
