#pragma once
// Link intake: turning a link string, as an app sent it, into a parsed URL.

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include <boost/url/url.hpp>
#include <boost/url/url_view.hpp>

namespace pivra {

// Percent-encodes what a URL may not hold (blanks, control characters, raw
// non-ASCII, a "%" not followed by two hex digits, a second "#", the
// characters " < > \ ^ ` { | }", and "[" "]" except around an IP literal
// host); leaves everything else byte for byte.
std::string encodeForIntake(std::string_view text);

// Parses a link the forgiving way: encodes it for intake, then parses it as an
// absolute URI. Absent when the result still does not parse or fails the
// soundness guards below.
std::optional<boost::urls::url> parseLink(std::string_view text);

// Guards against parses that Boost.URL accepts but must not be trusted: a port
// that is not 0-65535 written in digits, and an authority followed by a path
// that does not start with "/".
bool isSoundLink(boost::urls::url_view url);

// The port as written, when the link names one explicitly (an empty port text
// counts as none).
std::optional<std::string_view> explicitPort(boost::urls::url_view url);

// True for "http" and "https" in any letter case.
bool isWebScheme(std::string_view scheme);

// What the app takes as a browser: web links, and the "file" links of local
// pages (the app is the system's viewer of HTML files).
bool isBrowsableScheme(std::string_view scheme);

// One item of a query as written: "name=value", or "name" without a value.
struct QueryItem {
    std::string_view name;                  // percent-encoded, as written
    std::optional<std::string_view> value;  // absent when written without "="
};

// The items of a query string (without "?"), split at "&" and then at the
// first "=". Our own walk: Boost.URL 1.81's parameter iterator reads past the
// end of an empty query that is followed by a fragment.
template <class Visit>
void forEachQueryItem(std::string_view query, Visit&& visit) {
    std::size_t start = 0;
    for (;;) {
        const std::size_t end = std::min(query.find('&', start), query.size());
        const std::string_view item = query.substr(start, end - start);
        const std::size_t equals = item.find('=');
        if (equals == std::string_view::npos) {
            if (!visit(QueryItem{item, std::nullopt})) return;
        } else {
            if (!visit(QueryItem{item.substr(0, equals), item.substr(equals + 1)})) return;
        }
        if (end == query.size()) return;
        start = end + 1;
    }
}

// Decodes "%XX" escapes; "+" stays "+". Malformed escapes are kept as written.
std::string percentDecode(std::string_view text);

}  // namespace pivra
