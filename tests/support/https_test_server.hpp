#pragma once
// An HTTPS server on loopback for the updater's tests, on OpenSSL, with a
// certificate authority and a certificate for the release host made afresh
// for each server. A client reaches it by connecting the release host's name
// to 127.0.0.1:port() and trusting caFile(). Each path answers as scripted;
// every request is recorded.

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace pivra::testing_support {

class HttpsTestServer {
public:
    struct Route {
        enum class Behaviour {
            answer,     // the status, headers and body
            truncate,   // announces the whole body but sends half of it, then closes
            hang,       // reads the request and never answers
        };
        int status = 200;
        std::string body;
        std::vector<std::pair<std::string, std::string>> headers = {};
        Behaviour behaviour = Behaviour::answer;
    };

    struct Request {
        std::string path;
        std::map<std::string, std::string> headers;  // names in lower case
    };

    // Serves with a certificate for `hostName`, issued by a fresh authority
    // whose certificate is written into `folder`.
    HttpsTestServer(const std::filesystem::path& folder, const std::string& hostName);
    ~HttpsTestServer();
    HttpsTestServer(const HttpsTestServer&) = delete;
    HttpsTestServer& operator=(const HttpsTestServer&) = delete;

    int port() const { return port_; }
    const std::filesystem::path& caFile() const { return caFile_; }
    // libcurl's "host:443:127.0.0.1:port" for the host the certificate names.
    std::string connectTo() const;

    // A path not routed answers 404.
    void route(const std::string& path, Route route);
    std::vector<Request> requests() const;
    // The paths asked for, in order.
    std::vector<std::string> paths() const;

private:
    struct Tls;
    void acceptLoop();
    void serve(int fd);

    std::string hostName_;
    std::filesystem::path caFile_;
    std::unique_ptr<Tls> tls_;
    int listenFd_ = -1;
    int wakePipe_[2] = {-1, -1};
    int port_ = 0;
    mutable std::mutex mutex_;
    bool stopping_ = false;
    std::map<std::string, Route> routes_;
    std::vector<Request> requests_;
    std::vector<int> openFds_;
    std::vector<std::thread> connections_;
    std::thread acceptor_;
};

}  // namespace pivra::testing_support
