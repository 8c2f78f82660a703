#pragma once
// The Http port on libcurl: each transfer on a thread of its own, its result
// handed to the main thread through the scheduler. Certificates and host
// names are always checked; only HTTPS is spoken; no redirect is followed;
// nothing is kept between transfers (each has a handle of its own, with no
// cookie engine and no credentials).

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "app/ports/http.hpp"
#include "app/ports/scheduler.hpp"

namespace pivra {

struct CurlTransfers;  // the transfers in flight, shared with their threads

struct CurlHttpOptions {
    // Where to connect instead of where a link's host resolves to, in
    // libcurl's "host:port:address:port" form: a test's server on loopback
    // stands in for the release host this way, certificate checks and all.
    std::vector<std::string> connectTo = {};
    // Certificate authorities to trust in place of the system's (a PEM file);
    // empty: the system's.
    std::filesystem::path certificateAuthorities = {};
    // How long connecting may take, and how long a transfer may go without
    // receiving a byte, before it fails.
    Seconds timeout = kHttpTimeout;
};

class CurlHttp final : public Http {
public:
    // `scheduler` must outlive this object; results are posted to it.
    explicit CurlHttp(Scheduler& scheduler, CurlHttpOptions options = {});
    // Ends every transfer in flight and waits for its thread, which stops at
    // once; their completions never run and a download leaves no file.
    ~CurlHttp() override;
    CurlHttp(const CurlHttp&) = delete;
    CurlHttp& operator=(const CurlHttp&) = delete;

    void get(const std::string& url, std::uint64_t maxBodySize, std::function<void(HttpAnswer)> completion) override;
    void download(const std::string& url, const std::filesystem::path& file, std::uint64_t maxSize,
                  std::function<void(HttpDownload)> completion) override;

private:
    std::shared_ptr<CurlTransfers> transfers_;
};

}  // namespace pivra
