#pragma once
// The update feed: what a release announces, whether it can be trusted, and
// whether it is an update for this copy on this system.

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace pivra {

// The one place that names where releases come from. Downloads are trusted
// only from the host of the feed URL itself.
inline constexpr std::string_view kReleaseHost = "releases.omra.app";
inline constexpr std::string_view kUpdateFeedUrl = "https://releases.omra.app/updates.json";

static_assert(kUpdateFeedUrl.starts_with("https://") && kUpdateFeedUrl.substr(8).starts_with(kReleaseHost) &&
                  kUpdateFeedUrl.substr(8 + kReleaseHost.size()) == "/updates.json",
              "the feed must be served over HTTPS from the release host, at /updates.json");

// A macOS version; missing parts of a written version are 0.
struct SystemVersion {
    int major = 0;
    int minor = 0;
    int patch = 0;

    auto operator<=>(const SystemVersion&) const = default;
};

// "14", "13.5" or "15.0.1": one to three non-negative decimal integers joined
// by "."; anything else (signs, blanks, empty parts, a fourth part) is absent.
// A part beyond the range of int reads as the largest int.
std::optional<SystemVersion> parseSystemVersion(std::string_view text);

struct UpdateFeed {
    enum class Verdict { update, current, needsNewerSystem, untrusted };

    std::string version;  // marketing version, for people only
    std::int64_t build = 0;  // the only thing compared with the running build
    std::string url;  // the release's zip archive
    std::string sha256;  // of the zip archive, 64 hex digits in either case
    std::string minimumSystemVersion;
    std::optional<std::string> notes;

    bool operator==(const UpdateFeed&) const = default;

    // Strict: the document must be one JSON object holding every key but
    // "notes", each with its exact type ("build" an integer, the others
    // strings; "notes" a string or null). Unknown keys are ignored.
    static std::optional<UpdateFeed> decode(std::string_view json);

    // The download is an HTTPS zip on the release host (default port, no user
    // info) and the hash is well formed. Fails closed on anything unusual.
    bool isTrusted() const;

    // Never offers an equal or older build, not even as a downgrade; an
    // untrusted feed or an unreadable minimum system wins over everything.
    Verdict verdict(std::int64_t currentBuild, SystemVersion system) const;

    bool isUpdate(std::int64_t currentBuild, SystemVersion system) const {
        return verdict(currentBuild, system) == Verdict::update;
    }
};

}  // namespace pivra
