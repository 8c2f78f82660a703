#include "core/routing/link_cleaner.hpp"

#include <algorithm>
#include <array>

#include "core/routing/link.hpp"
#include "core/text/ascii_case.hpp"

namespace pivra::LinkCleaner {
namespace {

constexpr std::string_view kScannerSuffix = ".safelinks.protection.outlook.com";
constexpr int kMaxUnwraps = 3;

bool endsWithIgnoringAsciiCase(std::string_view text, std::string_view loweredSuffix) {
    return text.size() >= loweredSuffix.size() &&
           equalsIgnoringAsciiCase(text.substr(text.size() - loweredSuffix.size()), loweredSuffix);
}

struct Redirector {
    bool (*hostTest)(std::string_view host);
    std::optional<std::string_view> path;  // compared exactly with the decoded path; absent: any path
    std::array<std::string_view, 2> names;  // query parameters that hold the destination, preferred first
};

const std::array<Redirector, 5>& redirectors() {
    static const std::array<Redirector, 5> table{{
        {[](std::string_view host) { return isScanner(host); }, std::nullopt, {"url", ""}},
        {[](std::string_view host) {
             return equalsIgnoringAsciiCase(host, "google.com") || equalsIgnoringAsciiCase(host, "www.google.com");
         },
         "/url", {"q", "url"}},
        {[](std::string_view host) { return equalsIgnoringAsciiCase(host, "slack-redir.net"); }, "/link", {"url", ""}},
        {[](std::string_view host) {
             return equalsIgnoringAsciiCase(host, "l.facebook.com") || equalsIgnoringAsciiCase(host, "lm.facebook.com");
         },
         "/l.php", {"u", ""}},
        {[](std::string_view host) { return equalsIgnoringAsciiCase(host, "l.instagram.com"); }, std::nullopt, {"u", ""}},
    }};
    return table;
}

// The destination a redirector link holds, when it holds a web link.
std::optional<boost::urls::url> destination(boost::urls::url_view url, const Redirector& redirector) {
    if (!url.has_query()) return std::nullopt;
    const std::string_view query(url.encoded_query().data(), url.encoded_query().size());
    for (const auto name : redirector.names) {
        if (name.empty()) break;
        std::optional<std::string_view> value;
        bool found = false;
        forEachQueryItem(query, [&](const QueryItem& item) {
            if (percentDecode(item.name) != name) return true;
            found = true;
            value = item.value;
            return false;
        });
        if (!found || !value) continue;  // an item written without "=" gives no candidate
        auto candidate = parseLink(percentDecode(*value));
        if (!candidate || !isWebScheme(candidate->scheme())) return std::nullopt;
        return candidate;
    }
    return std::nullopt;
}

// Few and short: a scan that compares lengths first beats hashing each name.
constexpr std::array<std::string_view, 17> kTrackingNames{
    "fbclid", "gclid", "dclid",   "gbraid",      "wbraid",     "msclkid", "yclid",   "twclid",  "igshid",
    "mc_cid", "mc_eid", "_hsenc", "_hsmi", "mkt_tok", "oly_anon_id", "oly_enc_id", "vero_id",
};

bool isTrackingName(std::string_view encodedName) {
    if (encodedName.size() >= 4 && equalsIgnoringAsciiCase(encodedName.substr(0, 4), "utm_")) return true;
    return std::any_of(kTrackingNames.begin(), kTrackingNames.end(),
                       [&](std::string_view name) { return equalsIgnoringAsciiCase(encodedName, name); });
}

}  // namespace

bool isScanner(std::string_view host) { return endsWithIgnoringAsciiCase(host, kScannerSuffix); }

std::optional<Unwrapped> unwrapIfWrapped(boost::urls::url_view url) {
    std::optional<Unwrapped> result;
    for (int depth = 0; depth < kMaxUnwraps; ++depth) {
        const boost::urls::url_view current = result ? boost::urls::url_view(result->url) : url;
        const auto host = current.encoded_host();
        if (!current.has_authority() || host.empty()) break;
        const std::string_view hostText(host.data(), host.size());
        const Redirector* match = nullptr;
        for (const auto& redirector : redirectors()) {
            if (redirector.hostTest(hostText) && (!redirector.path || percentDecode(std::string_view(current.encoded_path().data(), current.encoded_path().size())) == *redirector.path)) {
                match = &redirector;
                break;
            }
        }
        if (!match) break;
        auto next = destination(current, *match);
        if (!next) break;
        std::string wrapper = lowerAscii(hostText);
        result = Unwrapped{std::move(*next), std::move(wrapper)};
    }
    return result;
}

Unwrapped unwrap(boost::urls::url_view url) {
    if (auto unwrapped = unwrapIfWrapped(url)) return std::move(*unwrapped);
    return Unwrapped{boost::urls::url(url), std::nullopt};
}

std::optional<boost::urls::url> stripTrackingIfAny(boost::urls::url_view url) {
    if (!url.has_query()) return std::nullopt;
    const std::string_view query(url.encoded_query().data(), url.encoded_query().size());
    bool anyTracking = false;
    forEachQueryItem(query, [&](const QueryItem& item) {
        anyTracking = isTrackingName(item.name);
        return !anyTracking;
    });
    if (!anyTracking) return std::nullopt;

    std::string kept;
    bool anyKept = false;
    forEachQueryItem(query, [&](const QueryItem& item) {
        if (isTrackingName(item.name)) return true;
        if (anyKept) kept.push_back('&');
        anyKept = true;
        kept.append(item.name);
        if (item.value) {
            kept.push_back('=');
            kept.append(*item.value);
        }
        return true;
    });
    boost::urls::url rebuilt(url);
    if (anyKept) {
        rebuilt.set_encoded_query(kept);
    } else {
        rebuilt.remove_query();
    }
    return rebuilt;
}

boost::urls::url stripTracking(boost::urls::url_view url) {
    if (auto stripped = stripTrackingIfAny(url)) return std::move(*stripped);
    return boost::urls::url(url);
}

}  // namespace pivra::LinkCleaner
