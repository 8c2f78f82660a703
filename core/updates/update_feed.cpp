#include "core/updates/update_feed.hpp"

#include <charconv>
#include <limits>
#include <new>

#include <boost/json/value.hpp>
#include <boost/url/grammar/hexdig_chars.hpp>
#include <boost/url/parse.hpp>

#include "core/routing/link.hpp"
#include "core/text/ascii_case.hpp"
#include "core/text/json_reader.hpp"

namespace pivra {
namespace {

namespace json = boost::json;

const json::value* member(const json::object& object, std::string_view key) {
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &found->value();
}

std::optional<std::string> requiredString(const json::object& object, std::string_view key) {
    const json::value* value = member(object, key);
    if (value == nullptr || !value->is_string()) return std::nullopt;
    return std::string(value->get_string());
}

bool isTrustedDownload(std::string_view text) {
    // Strict: the text must already be a URI. The forgiving intake that links
    // get would check an encoded form of the text rather than the text itself.
    const auto parsed = boost::urls::parse_uri(text);
    if (!parsed || !isSoundLink(*parsed)) return false;
    const boost::urls::url_view url = *parsed;
    if (!equalsIgnoringAsciiCase(url.scheme(), "https")) return false;
    if (url.host_type() != boost::urls::host_type::name) return false;
    if (!equalsIgnoringAsciiCase(url.encoded_host(), kReleaseHost)) return false;
    // isSoundLink has already refused port texts that are not 0-65535 in digits.
    if (explicitPort(url) && url.port_number() != 443) return false;
    if (url.has_userinfo()) return false;
    // The encoded path, so that "%2Ezip" does not pass for ".zip".
    return url.encoded_path().ends_with(".zip");
}

bool isWellFormedSha256(std::string_view text) {
    if (text.size() != 64) return false;
    for (char c : text) {
        if (!boost::urls::grammar::hexdig_chars(c)) return false;
    }
    return true;
}

}  // namespace

std::optional<SystemVersion> parseSystemVersion(std::string_view text) {
    int parts[3] = {0, 0, 0};
    std::size_t count = 0;
    std::size_t start = 0;
    while (true) {
        const std::size_t dot = text.find('.', start);
        const std::string_view piece = text.substr(start, dot == std::string_view::npos ? std::string_view::npos : dot - start);
        if (count == 3 || piece.empty()) return std::nullopt;
        for (char c : piece) {
            if (c < '0' || c > '9') return std::nullopt;
        }
        // A piece too large for an int is still a valid number: it saturates,
        // which orders it correctly against any real system version.
        const auto [end, error] = std::from_chars(piece.data(), piece.data() + piece.size(), parts[count]);
        if (error == std::errc::result_out_of_range) {
            parts[count] = std::numeric_limits<int>::max();
        } else if (error != std::errc() || end != piece.data() + piece.size()) {
            return std::nullopt;
        }
        ++count;
        if (dot == std::string_view::npos) break;
        start = dot + 1;
    }
    return SystemVersion{parts[0], parts[1], parts[2]};
}

std::optional<UpdateFeed> UpdateFeed::decode(std::string_view text) try {
    const auto document = parseJson(text);
    if (!document || !document->is_object()) return std::nullopt;
    const json::object& object = document->get_object();

    UpdateFeed feed;
    auto version = requiredString(object, "version");
    auto url = requiredString(object, "url");
    auto sha256 = requiredString(object, "sha256");
    auto minimumSystemVersion = requiredString(object, "minimumSystemVersion");
    if (!version || !url || !sha256 || !minimumSystemVersion) return std::nullopt;

    // Integers only: 1204.0 or a number beyond 64-bit range is not a build.
    const json::value* build = member(object, "build");
    if (build == nullptr || !build->is_int64()) return std::nullopt;

    if (const json::value* notes = member(object, "notes"); notes != nullptr && !notes->is_null()) {
        if (!notes->is_string()) return std::nullopt;
        feed.notes = std::string(notes->get_string());
    }
    feed.version = std::move(*version);
    feed.build = build->get_int64();
    feed.url = std::move(*url);
    feed.sha256 = std::move(*sha256);
    feed.minimumSystemVersion = std::move(*minimumSystemVersion);
    return feed;
} catch (const std::bad_alloc&) {
    return std::nullopt;
}

bool UpdateFeed::isTrusted() const {
    return isTrustedDownload(url) && isWellFormedSha256(sha256);
}

UpdateFeed::Verdict UpdateFeed::verdict(std::int64_t currentBuild, SystemVersion system) const {
    if (!isTrusted()) return Verdict::untrusted;
    const auto minimum = parseSystemVersion(minimumSystemVersion);
    if (!minimum) return Verdict::untrusted;
    if (currentBuild >= build) return Verdict::current;
    if (system < *minimum) return Verdict::needsNewerSystem;
    return Verdict::update;
}

}  // namespace pivra
