// Any bytes as an update feed: decoding and the trust check never crash, a
// trusted feed's download is an https link on the release host, and a feed
// that is not trusted is never offered as an update.
#include <cstdlib>
#include <string_view>

#include "core/routing/link.hpp"
#include "core/text/ascii_case.hpp"
#include "core/updates/update_feed.hpp"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto feed = pivra::UpdateFeed::decode(bytes);
    if (!feed) return 0;
    const bool trusted = feed->isTrusted();
    if (trusted) {
        const auto url = pivra::parseLink(feed->url);
        if (!url || !pivra::equalsIgnoringAsciiCase(url->scheme(), "https") ||
            !pivra::equalsIgnoringAsciiCase(url->encoded_host(), pivra::kReleaseHost)) {
            std::abort();
        }
    }
    const auto verdict = feed->verdict(0, pivra::SystemVersion{99, 0, 0});
    if (!trusted && verdict == pivra::UpdateFeed::Verdict::update) std::abort();
    return 0;
}
