#include "core/routing/link.hpp"

#include <algorithm>
#include <utility>

#include <boost/url/grammar/alpha_chars.hpp>
#include <boost/url/grammar/hexdig_chars.hpp>
#include <boost/url/parse.hpp>

#include "core/text/ascii_case.hpp"

namespace pivra {
namespace {

using boost::urls::grammar::hexdig_chars;

bool mustEncode(unsigned char c) {
    if (c <= 0x20 || c >= 0x7F) return true;
    switch (c) {
        case '"': case '<': case '>': case '\\': case '^': case '`': case '{': case '|': case '}':
            return true;
        default:
            return false;
    }
}

bool isSchemeChar(char c, bool first) {
    const bool alpha = boost::urls::grammar::alpha_chars(c);
    return first ? alpha : alpha || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

// Where the brackets of an IP literal host sit ("https://[::1]/"), as offsets
// into the text; npos when the link has none. Brackets anywhere else ("?a[]=1")
// are not allowed in a URL and are percent-encoded.
std::pair<std::size_t, std::size_t> ipLiteralBrackets(std::string_view text) {
    constexpr auto none = std::pair{std::string_view::npos, std::string_view::npos};
    std::size_t colon = 0;
    while (colon < text.size() && isSchemeChar(text[colon], colon == 0)) ++colon;
    if (colon == 0 || colon >= text.size() || text[colon] != ':') return none;
    if (text.substr(colon + 1, 2) != "//") return none;
    const std::size_t start = colon + 3;
    const std::size_t end = std::min(text.find_first_of("/?#", start), text.size());
    const std::size_t at = text.substr(start, end - start).rfind('@');
    const std::size_t host = at == std::string_view::npos ? start : start + at + 1;
    if (host >= end || text[host] != '[') return none;
    const std::size_t close = text.find(']', host);
    if (close == std::string_view::npos || close >= end) return none;
    return {host, close};
}

}  // namespace

std::string encodeForIntake(std::string_view text) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(text.size());
    bool seenHash = false;
    const auto [open, close] = ipLiteralBrackets(text);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        bool encode = mustEncode(c);
        if (c == '[' || c == ']') encode = i != open && i != close;
        if (c == '%') encode = !(i + 2 < text.size() && hexdig_chars(text[i + 1]) && hexdig_chars(text[i + 2]));
        if (c == '#') {
            encode = seenHash;  // a fragment may not hold another "#"
            seenHash = true;
        }
        if (encode) {
            out.push_back('%');
            out.push_back(kHex[c >> 4]);
            out.push_back(kHex[c & 0x0F]);
        } else {
            out.push_back(static_cast<char>(c));
        }
    }
    return out;
}

std::string percentDecode(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && hexdig_chars(text[i + 1]) && hexdig_chars(text[i + 2])) {
            out.push_back(static_cast<char>(boost::urls::grammar::hexdig_value(text[i + 1]) * 16 +
                                            boost::urls::grammar::hexdig_value(text[i + 2])));
            i += 2;
        } else {
            out.push_back(text[i]);
        }
    }
    return out;
}

std::optional<boost::urls::url> parseLink(std::string_view text) {
    const std::string encoded = encodeForIntake(text);
    auto parsed = boost::urls::parse_uri(encoded);
    if (!parsed || !isSoundLink(*parsed)) return std::nullopt;
    return boost::urls::url(*parsed);
}

bool isSoundLink(boost::urls::url_view url) {
    if (url.has_port()) {
        // Leading zeros are allowed ("000080" is port 80); the value is
        // checked digit by digit so that no length of text can wrap it.
        unsigned value = 0;
        for (char c : url.port()) {
            if (c < '0' || c > '9') return false;
            value = value * 10 + static_cast<unsigned>(c - '0');
            if (value > 65535) return false;
        }
    }
    if (url.has_authority()) {
        const auto path = url.encoded_path();
        if (!path.empty() && path.front() != '/') return false;
    }
    return true;
}

std::optional<std::string_view> explicitPort(boost::urls::url_view url) {
    if (!url.has_port() || url.port().empty()) return std::nullopt;
    return std::string_view(url.port().data(), url.port().size());
}

bool isWebScheme(std::string_view scheme) {
    return equalsIgnoringAsciiCase(scheme, "http") || equalsIgnoringAsciiCase(scheme, "https");
}

bool isBrowsableScheme(std::string_view scheme) { return isWebScheme(scheme) || equalsIgnoringAsciiCase(scheme, "file"); }

}  // namespace pivra
