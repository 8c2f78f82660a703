#pragma once
// Preparing a link before routing: unwrapping redirector links and dropping
// tracking parameters. Neither operation fails; a link that cannot be taken
// apart comes back as it came in.

#include <optional>
#include <string>
#include <string_view>

#include <boost/url/url.hpp>
#include <boost/url/url_view.hpp>

namespace pivra::LinkCleaner {

struct Unwrapped {
    boost::urls::url url;                // the destination, or the link itself
    std::optional<std::string> wrapper;  // lower-cased host of the last redirector unwrapped

    // Links compare byte for byte (Boost.URL's own == compares normalized forms).
    bool operator==(const Unwrapped& other) const {
        return url.buffer() == other.url.buffer() && wrapper == other.wrapper;
    }
};

// Follows at most three redirectors nested in each other to the web link they hold.
Unwrapped unwrap(boost::urls::url_view url);

// The link without its tracking parameters; byte for byte the same link when it has none.
boost::urls::url stripTracking(boost::urls::url_view url);

// Whether a redirector host belongs to a scanner, whose links are opened in
// their wrapped form so that its safety check still runs.
bool isScanner(std::string_view host);

// The cheap forms the router uses: absent when nothing changed, so that an
// untouched link is never copied.
std::optional<Unwrapped> unwrapIfWrapped(boost::urls::url_view url);
std::optional<boost::urls::url> stripTrackingIfAny(boost::urls::url_view url);

}  // namespace pivra::LinkCleaner
