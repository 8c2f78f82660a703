#pragma once
// Fetching over HTTPS for the updater: a small document into memory, or a
// large one into a file. One session for both, with nothing remembered
// between requests: no cache, no cookies, no credentials; the only header
// added is "User-Agent: Pivra"; a request that gets no data for 30 seconds
// fails. Redirects are never followed: a 3xx answer is handed back as it is.

#include <cstdint>
#include <expected>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "core/time/time.hpp"

namespace pivra {

// The user agent of every request, the session's one added header.
inline constexpr std::string_view kHttpUserAgent = "Pivra";
// How long a request may go without receiving anything before it fails.
inline constexpr Seconds kHttpTimeout{30};

struct HttpResponse {
    int status = 0;    // the HTTP status code, whatever it is
    std::string body;  // the whole body, for any status

    bool operator==(const HttpResponse&) const = default;
};

// Either the answer (its status code) or why no answer came, as a short
// lower-case text to follow "Couldn’t check: " ("the server didn’t answer in time").
using HttpAnswer = std::expected<HttpResponse, std::string>;
using HttpDownload = std::expected<int, std::string>;

class Http {
public:
    virtual ~Http() = default;

    // GETs `url` (https only; anything else fails without a request) into
    // memory. A body longer than `maxBodySize` bytes fails the request.
    // `completion` runs once on the main thread, never before this returns,
    // and never after the Http object is gone. Where there is no network,
    // the request fails with the system's reason.
    virtual void get(const std::string& url, std::uint64_t maxBodySize, std::function<void(HttpAnswer)> completion) = 0;

    // GETs `url` into `file`, whose folder must exist. The file appears, whole
    // and at once, only for an answer of 200–299 that arrived complete and
    // within `maxSize` bytes; otherwise nothing is left at `file` (an older
    // file there is kept only on failure). The completion carries the status
    // code, or the reason the transfer failed; it runs as for get. Where
    // files cannot be written, it fails with that reason.
    virtual void download(const std::string& url, const std::filesystem::path& file, std::uint64_t maxSize,
                          std::function<void(HttpDownload)> completion) = 0;
};

}  // namespace pivra
