#include "tests/support/https_test_server.hpp"

#include <arpa/inet.h>
#include <fcntl.h>
#include <signal.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <stdexcept>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

namespace pivra::testing_support {
namespace {

struct KeyFree {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct CertFree {
    void operator()(X509* cert) const { X509_free(cert); }
};
using Key = std::unique_ptr<EVP_PKEY, KeyFree>;
using Cert = std::unique_ptr<X509, CertFree>;

void require(bool ok, const char* what) {
    if (!ok) throw std::runtime_error(std::string("test certificates: ") + what);
}

void addExtension(X509* cert, X509* issuer, int nid, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, cert, nullptr, nullptr, 0);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, nid, value);
    require(extension != nullptr, value);
    X509_add_ext(cert, extension, -1);
    X509_EXTENSION_free(extension);
}

// A certificate for `key` named `commonName`, valid from an hour ago for a
// day, signed by `issuerKey` (the issuer's certificate, or none: self-signed).
Cert makeCertificate(EVP_PKEY* key, const std::string& commonName, X509* issuer, EVP_PKEY* issuerKey, long serial) {
    Cert cert(X509_new());
    require(cert != nullptr, "X509_new");
    X509_set_version(cert.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(cert.get()), serial);
    X509_gmtime_adj(X509_getm_notBefore(cert.get()), -3600);
    X509_gmtime_adj(X509_getm_notAfter(cert.get()), 24 * 3600);
    X509_set_pubkey(cert.get(), key);
    X509_NAME* name = X509_get_subject_name(cert.get());
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, reinterpret_cast<const unsigned char*>(commonName.c_str()),
                               -1, -1, 0);
    X509_set_issuer_name(cert.get(), issuer ? X509_get_subject_name(issuer) : name);
    X509* signer = issuer ? issuer : cert.get();
    addExtension(cert.get(), signer, NID_subject_key_identifier, "hash");
    addExtension(cert.get(), signer, NID_authority_key_identifier, "keyid:always");
    if (!issuer) {
        addExtension(cert.get(), signer, NID_basic_constraints, "critical,CA:TRUE");
        addExtension(cert.get(), signer, NID_key_usage, "critical,keyCertSign,cRLSign");
    } else {
        addExtension(cert.get(), signer, NID_basic_constraints, "critical,CA:FALSE");
        addExtension(cert.get(), signer, NID_key_usage, "critical,digitalSignature");
        addExtension(cert.get(), signer, NID_ext_key_usage, "serverAuth");
        addExtension(cert.get(), signer, NID_subject_alt_name, ("DNS:" + commonName).c_str());
    }
    require(X509_sign(cert.get(), issuerKey, EVP_sha256()) > 0, "X509_sign");
    return cert;
}

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

std::string reason(int status) {
    switch (status) {
        case 200: return "OK";
        case 302: return "Found";
        case 404: return "Not Found";
        case 500: return "Internal Server Error";
        default: return "Status";
    }
}

bool writeAll(SSL* ssl, std::string_view bytes) {
    while (!bytes.empty()) {
        const int wrote = SSL_write(ssl, bytes.data(), static_cast<int>(std::min<std::size_t>(bytes.size(), 1 << 20)));
        if (wrote <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(wrote));
    }
    return true;
}

}  // namespace

struct HttpsTestServer::Tls {
    SSL_CTX* context = nullptr;
    ~Tls() { SSL_CTX_free(context); }
};

HttpsTestServer::HttpsTestServer(const std::filesystem::path& folder, const std::string& hostName)
    : hostName_(hostName), caFile_(folder / "test-ca.pem"), tls_(std::make_unique<Tls>()) {
    // A client that hangs up mid-answer must not end the test program.
    ::signal(SIGPIPE, SIG_IGN);
    Key caKey(EVP_EC_gen("P-256"));
    Key serverKey(EVP_EC_gen("P-256"));
    require(caKey && serverKey, "EVP_EC_gen");
    Cert ca = makeCertificate(caKey.get(), "Pivra Test Authority", nullptr, caKey.get(), 1);
    Cert server = makeCertificate(serverKey.get(), hostName, ca.get(), caKey.get(), 2);
    FILE* out = std::fopen(caFile_.c_str(), "w");
    require(out != nullptr, "writing the authority's certificate");
    const bool written = PEM_write_X509(out, ca.get()) == 1;
    require(std::fclose(out) == 0 && written, "writing the authority's certificate");

    tls_->context = SSL_CTX_new(TLS_server_method());
    require(tls_->context != nullptr, "SSL_CTX_new");
    require(SSL_CTX_use_certificate(tls_->context, server.get()) == 1, "SSL_CTX_use_certificate");
    require(SSL_CTX_use_PrivateKey(tls_->context, serverKey.get()) == 1, "SSL_CTX_use_PrivateKey");

    listenFd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    require(listenFd_ >= 0, "socket");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0;
    require(::bind(listenFd_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0, "bind");
    require(::listen(listenFd_, 16) == 0, "listen");
    socklen_t length = sizeof address;
    require(::getsockname(listenFd_, reinterpret_cast<sockaddr*>(&address), &length) == 0, "getsockname");
    port_ = ntohs(address.sin_port);
    require(::pipe2(wakePipe_, O_CLOEXEC) == 0, "pipe2");
    acceptor_ = std::thread([this] { acceptLoop(); });
}

HttpsTestServer::~HttpsTestServer() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
        // Wakes connections blocked in a read: a hanging route, say.
        for (int fd : openFds_) ::shutdown(fd, SHUT_RDWR);
    }
    const char wake = 1;
    [[maybe_unused]] const auto ignored = ::write(wakePipe_[1], &wake, 1);
    acceptor_.join();
    for (auto& connection : connections_) connection.join();
    ::close(listenFd_);
    ::close(wakePipe_[0]);
    ::close(wakePipe_[1]);
}

std::string HttpsTestServer::connectTo() const { return hostName_ + ":443:127.0.0.1:" + std::to_string(port_); }

void HttpsTestServer::route(const std::string& path, Route route) {
    std::lock_guard lock(mutex_);
    routes_[path] = std::move(route);
}

std::vector<HttpsTestServer::Request> HttpsTestServer::requests() const {
    std::lock_guard lock(mutex_);
    return requests_;
}

std::vector<std::string> HttpsTestServer::paths() const {
    std::vector<std::string> paths;
    for (const auto& request : requests()) paths.push_back(request.path);
    return paths;
}

void HttpsTestServer::acceptLoop() {
    for (;;) {
        pollfd waits[2] = {{listenFd_, POLLIN, 0}, {wakePipe_[0], POLLIN, 0}};
        if (::poll(waits, 2, -1) < 0) continue;
        if (waits[1].revents) return;
        const int fd = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) continue;
        std::lock_guard lock(mutex_);
        if (stopping_) {
            ::close(fd);
            return;
        }
        openFds_.push_back(fd);
        connections_.emplace_back([this, fd] { serve(fd); });
    }
}

void HttpsTestServer::serve(int fd) {
    SSL* ssl = SSL_new(tls_->context);
    SSL_set_fd(ssl, fd);
    std::string received;
    bool clean = false;
    if (SSL_accept(ssl) == 1) {
        char buffer[4096];
        while (received.find("\r\n\r\n") == std::string::npos && received.size() < 65536) {
            const int got = SSL_read(ssl, buffer, sizeof buffer);
            if (got <= 0) break;
            received.append(buffer, static_cast<std::size_t>(got));
        }
    }
    const auto headerEnd = received.find("\r\n\r\n");
    if (headerEnd != std::string::npos) {
        Request request;
        const auto lineEnd = received.find("\r\n");
        const std::string line = received.substr(0, lineEnd);
        const auto firstSpace = line.find(' ');
        const auto secondSpace = line.find(' ', firstSpace + 1);
        request.path = line.substr(firstSpace + 1, secondSpace - firstSpace - 1);
        for (auto at = lineEnd + 2; at < headerEnd;) {
            const auto end = received.find("\r\n", at);
            const std::string header = received.substr(at, end - at);
            const auto colon = header.find(':');
            if (colon != std::string::npos) {
                const auto value = header.find_first_not_of(' ', colon + 1);
                request.headers[lowered(header.substr(0, colon))] =
                    value == std::string::npos ? std::string() : header.substr(value);
            }
            at = end + 2;
        }
        Route route{404, "not found", {}, Route::Behaviour::answer};
        {
            std::lock_guard lock(mutex_);
            requests_.push_back(request);
            if (const auto found = routes_.find(request.path); found != routes_.end()) route = found->second;
        }
        if (route.behaviour == Route::Behaviour::hang) {
            // Until the client gives up (or the server stops): a read that never gets a request's worth.
            char buffer[256];
            while (SSL_read(ssl, buffer, sizeof buffer) > 0) {
            }
        } else {
            std::string head = "HTTP/1.1 " + std::to_string(route.status) + " " + reason(route.status) + "\r\n";
            head += "Content-Length: " + std::to_string(route.body.size()) + "\r\nConnection: close\r\n";
            for (const auto& [name, value] : route.headers) head += name + ": " + value + "\r\n";
            head += "\r\n";
            std::string_view body = route.body;
            if (route.behaviour == Route::Behaviour::truncate) body = body.substr(0, body.size() / 2);
            clean = writeAll(ssl, head) && writeAll(ssl, body);
        }
    }
    if (clean) SSL_shutdown(ssl);
    SSL_free(ssl);
    std::lock_guard lock(mutex_);
    openFds_.erase(std::remove(openFds_.begin(), openFds_.end(), fd), openFds_.end());
    ::close(fd);
}

}  // namespace pivra::testing_support
