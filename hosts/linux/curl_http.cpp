#include "hosts/linux/curl_http.hpp"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <algorithm>
#include <expected>
#include <map>
#include <optional>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

#include <curl/curl.h>

namespace pivra {
namespace {

using TransferId = std::uint64_t;

// What one transfer ends with, handed from its thread to the main thread.
struct Outcome {
    CURLcode code = CURLE_OK;
    long status = 0;
    std::string body;        // for get
    std::string errorText;   // libcurl's own words, when it has them
    int writeErrno = 0;      // why the download file could not be written
    bool tooLarge = false;
    bool carriesCredentials = false;
    std::uint64_t limit = 0;
};

std::string failureText(const Outcome& outcome) {
    if (outcome.tooLarge || outcome.code == CURLE_FILESIZE_EXCEEDED) {
        return "the answer is larger than " + std::to_string(outcome.limit) + " bytes";
    }
    if (outcome.carriesCredentials) return "addresses with a user name or password aren’t fetched";
    switch (outcome.code) {
        case CURLE_UNSUPPORTED_PROTOCOL: return "only HTTPS addresses can be fetched";
        case CURLE_URL_MALFORMAT: return "the address isn’t valid";
        case CURLE_COULDNT_RESOLVE_HOST: return "the server couldn’t be found";
        case CURLE_COULDNT_CONNECT: return "the server couldn’t be reached";
        case CURLE_OPERATION_TIMEDOUT: return "the server didn’t answer in time";
        case CURLE_PEER_FAILED_VERIFICATION: return "the server’s certificate isn’t trusted";
        case CURLE_SSL_CONNECT_ERROR: return "a secure connection to the server couldn’t be made";
        case CURLE_PARTIAL_FILE: return "the server’s answer ended early";
        case CURLE_GOT_NOTHING: return "the server closed the connection without answering";
        case CURLE_RECV_ERROR:
        case CURLE_SEND_ERROR: return "the connection to the server was lost";
        case CURLE_WRITE_ERROR:
            return "the download couldn’t be saved: " + std::generic_category().message(outcome.writeErrno);
        default: break;
    }
    std::string text = outcome.errorText.empty() ? curl_easy_strerror(outcome.code) : outcome.errorText;
    return text;
}

// libcurl wants its global set-up once, before any thread uses it, and it is
// never torn down: threads of a destroyed CurlHttp may still be on their way out.
void initializeCurlOnce() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

// Whether the link names a user or a password, which would be sent to the server.
bool carriesCredentials(const std::string& url) {
    CURLU* parsed = curl_url();
    bool carries = false;
    if (parsed && curl_url_set(parsed, CURLUPART_URL, url.c_str(), 0) == CURLUE_OK) {
        for (const CURLUPart part : {CURLUPART_USER, CURLUPART_PASSWORD}) {
            char* value = nullptr;
            if (curl_url_get(parsed, part, &value, 0) == CURLUE_OK && value) carries = true;
            curl_free(value);
        }
    }
    curl_url_cleanup(parsed);
    return carries;
}

void blockSignalsOnThisThread() {
    sigset_t all;
    sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

}  // namespace

struct CurlTransfers {
    CurlTransfers(Scheduler& scheduler, CurlHttpOptions options) : scheduler(scheduler), options(std::move(options)) {}

    // Hands an outcome to the main thread unless this has closed. Under `mutex`.
    void postLocked(const std::shared_ptr<CurlTransfers>& self, TransferId id, Outcome outcome) {
        if (closed) return;
        scheduler.post([self, id, outcome = std::move(outcome)]() mutable {
            {
                std::lock_guard lock(self->mutex);
                if (self->closed) return;
            }
            auto completion = self->completions.extract(id);
            if (completion) completion.mapped()(std::move(outcome));
        });
    }

    Scheduler& scheduler;  // not touched once closed
    const CurlHttpOptions options;
    std::mutex mutex;
    std::condition_variable finished;
    bool closed = false;
    int unfinished = 0;
    std::set<CURLM*> running;  // woken when this closes

    // Main thread only.
    std::map<TransferId, std::function<void(Outcome)>> completions;
    TransferId nextId = 1;
};

namespace {

using Shared = std::shared_ptr<CurlTransfers>;

struct Sink {
    std::string* body = nullptr;  // into memory, or
    int fd = -1;                  // into a file
    std::uint64_t limit = 0;
    std::uint64_t received = 0;
    bool tooLarge = false;
    int writeErrno = 0;
};

std::size_t receive(char* data, std::size_t size, std::size_t count, void* user) {
    auto& sink = *static_cast<Sink*>(user);
    const std::size_t bytes = size * count;
    if (sink.received + bytes > sink.limit) {
        sink.tooLarge = true;
        return 0;  // a short count ends the transfer with CURLE_WRITE_ERROR
    }
    sink.received += bytes;
    if (sink.body) {
        sink.body->append(data, bytes);
        return bytes;
    }
    std::size_t done = 0;
    while (done < bytes) {
        const ssize_t wrote = ::write(sink.fd, data + done, bytes - done);
        if (wrote < 0 && errno == EINTR) continue;
        if (wrote <= 0) {
            sink.writeErrno = wrote < 0 ? errno : EIO;
            return 0;
        }
        done += static_cast<std::size_t>(wrote);
    }
    return bytes;
}

// Runs one transfer to its end, or until the owner closes (then absent).
std::optional<Outcome> perform(const Shared& shared, const std::string& url, Sink& sink) {
    Outcome outcome;
    outcome.limit = sink.limit;
    if (carriesCredentials(url)) {
        outcome.code = CURLE_LOGIN_DENIED;
        outcome.carriesCredentials = true;
        return outcome;
    }
    CURL* easy = curl_easy_init();
    CURLM* multi = curl_multi_init();
    if (!easy || !multi) {
        if (easy) curl_easy_cleanup(easy);
        if (multi) curl_multi_cleanup(multi);
        outcome.code = CURLE_OUT_OF_MEMORY;
        return outcome;
    }
    const auto& options = shared->options;
    char errorBuffer[CURL_ERROR_SIZE] = {};
    curl_slist* connectTo = nullptr;
    for (const auto& entry : options.connectTo) connectTo = curl_slist_append(connectTo, entry.c_str());
    const long timeoutMs = std::max(1L, static_cast<long>(std::ceil(options.timeout.count() * 1000)));

    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
    if (!options.certificateAuthorities.empty()) {
        curl_easy_setopt(easy, CURLOPT_CAINFO, options.certificateAuthorities.c_str());
    }
    if (connectTo) curl_easy_setopt(easy, CURLOPT_CONNECT_TO, connectTo);
    curl_easy_setopt(easy, CURLOPT_USERAGENT, std::string(kHttpUserAgent).c_str());
    curl_easy_setopt(easy, CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, timeoutMs);
    // Less than a byte a second for the whole time-out: the server has stopped answering.
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, std::max(1L, (timeoutMs + 999) / 1000));
    curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(sink.limit));
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, receive);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &sink);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, errorBuffer);
    curl_multi_add_handle(multi, easy);

    bool abandoned = false;
    {
        std::lock_guard lock(shared->mutex);
        if (shared->closed) abandoned = true;
        else shared->running.insert(multi);
    }
    int active = 1;
    while (!abandoned && active > 0) {
        if (curl_multi_perform(multi, &active) != CURLM_OK) break;
        if (active == 0) break;
        curl_multi_poll(multi, nullptr, 0, 1000, nullptr);
        std::lock_guard lock(shared->mutex);
        abandoned = shared->closed;
    }
    {
        std::lock_guard lock(shared->mutex);
        shared->running.erase(multi);
    }
    outcome.code = CURLE_RECV_ERROR;
    int left = 0;
    while (CURLMsg* message = curl_multi_info_read(multi, &left)) {
        if (message->msg == CURLMSG_DONE) outcome.code = message->data.result;
    }
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &outcome.status);
    outcome.errorText = errorBuffer;
    outcome.tooLarge = sink.tooLarge;
    outcome.writeErrno = sink.writeErrno;
    curl_multi_remove_handle(multi, easy);
    curl_easy_cleanup(easy);
    curl_multi_cleanup(multi);
    curl_slist_free_all(connectTo);
    if (abandoned) return std::nullopt;
    return outcome;
}

// A file beside `file` for the bytes while they arrive; its path, or the errno.
std::expected<std::pair<int, std::filesystem::path>, int> openPartFile(const std::filesystem::path& file) {
    std::string pattern = (file.parent_path() / ("." + file.filename().string() + ".part-XXXXXX")).string();
    const int fd = ::mkostemp(pattern.data(), O_CLOEXEC);
    if (fd < 0) return std::unexpected(errno);
    return std::pair{fd, std::filesystem::path(pattern)};
}

void finishDownload(Outcome& outcome, int fd, const std::filesystem::path& part, const std::filesystem::path& file) {
    const bool whole = outcome.code == CURLE_OK && outcome.status >= 200 && outcome.status <= 299;
    bool kept = false;
    if (whole) {
        if (::fsync(fd) != 0 || ::close(fd) != 0) {
            outcome.code = CURLE_WRITE_ERROR;
            outcome.writeErrno = errno;
        } else if (::rename(part.c_str(), file.c_str()) != 0) {
            outcome.code = CURLE_WRITE_ERROR;
            outcome.writeErrno = errno;
        } else {
            kept = true;
        }
    } else {
        ::close(fd);
    }
    if (!kept) ::unlink(part.c_str());
}

void runTransfer(const Shared& shared, TransferId id, const std::string& url, std::uint64_t limit,
                 std::optional<std::filesystem::path> file) {
    blockSignalsOnThisThread();
    std::optional<Outcome> outcome;
    Sink sink;
    sink.limit = limit;
    if (file) {
        const auto part = openPartFile(*file);
        if (!part) {
            outcome = Outcome{};
            outcome->code = CURLE_WRITE_ERROR;
            outcome->writeErrno = part.error();
        } else {
            sink.fd = part->first;
            outcome = perform(shared, url, sink);
            if (outcome) {
                finishDownload(*outcome, part->first, part->second, *file);
            } else {
                ::close(part->first);
                ::unlink(part->second.c_str());
            }
        }
    } else {
        std::string body;
        sink.body = &body;
        outcome = perform(shared, url, sink);
        if (outcome) outcome->body = std::move(body);
    }
    std::lock_guard lock(shared->mutex);
    if (outcome) shared->postLocked(shared, id, std::move(*outcome));
    --shared->unfinished;
    shared->finished.notify_all();
}

void start(const Shared& shared, std::string url, std::uint64_t limit, std::optional<std::filesystem::path> file,
           std::function<void(Outcome)> completion) {
    const TransferId id = shared->nextId++;
    shared->completions.emplace(id, std::move(completion));
    std::lock_guard lock(shared->mutex);
    ++shared->unfinished;
    try {
        std::thread(runTransfer, shared, id, std::move(url), limit, std::move(file)).detach();
    } catch (const std::system_error& error) {
        --shared->unfinished;
        Outcome outcome;
        outcome.code = CURLE_FAILED_INIT;
        outcome.errorText = std::string("can’t start a transfer: ") + error.what();
        shared->postLocked(shared, id, std::move(outcome));
    }
}

}  // namespace

CurlHttp::CurlHttp(Scheduler& scheduler, CurlHttpOptions options)
    : transfers_(std::make_shared<CurlTransfers>(scheduler, std::move(options))) {
    initializeCurlOnce();
}

CurlHttp::~CurlHttp() {
    {
        std::unique_lock lock(transfers_->mutex);
        transfers_->closed = true;
        for (CURLM* multi : transfers_->running) curl_multi_wakeup(multi);
        transfers_->finished.wait(lock, [&] { return transfers_->unfinished == 0; });
    }
    transfers_->completions.clear();  // here, on the main thread, whatever they hold
}

void CurlHttp::get(const std::string& url, std::uint64_t maxBodySize, std::function<void(HttpAnswer)> completion) {
    start(transfers_, url, maxBodySize, std::nullopt, [completion = std::move(completion)](Outcome outcome) {
        if (outcome.code != CURLE_OK) return completion(std::unexpected(failureText(outcome)));
        completion(HttpResponse{static_cast<int>(outcome.status), std::move(outcome.body)});
    });
}

void CurlHttp::download(const std::string& url, const std::filesystem::path& file, std::uint64_t maxSize,
                        std::function<void(HttpDownload)> completion) {
    start(transfers_, url, maxSize, file, [completion = std::move(completion)](Outcome outcome) {
        if (outcome.code != CURLE_OK) return completion(std::unexpected(failureText(outcome)));
        completion(static_cast<int>(outcome.status));
    });
}

}  // namespace pivra
