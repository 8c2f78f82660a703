// The libcurl transport against a real HTTPS server on loopback: what it
// refuses, what it sends, and what a download leaves on disk.

#include "hosts/linux/curl_http.hpp"

#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "core/updates/update_feed.hpp"
#include "tests/support/files.hpp"
#include "tests/support/https_test_server.hpp"
#include "tests/support/manual_time.hpp"
#include "tests/support/poll.hpp"
#include "tests/support/temp_folder.hpp"
#include "tests/support/update_files.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;
using namespace testing_support;
using Route = HttpsTestServer::Route;

const std::string kBase = "https://" + std::string(kReleaseHost);

class CurlHttpTest : public ::testing::Test {
protected:
    CurlHttpOptions options() const {
        return CurlHttpOptions{.connectTo = {server.connectTo()}, .certificateAuthorities = server.caFile(), .timeout = Seconds(10)};
    }

    HttpAnswer get(CurlHttp& http, const std::string& url, std::uint64_t limit = 1 << 20) {
        std::optional<HttpAnswer> answer;
        http.get(url, limit, [&](HttpAnswer result) { answer = std::move(result); });
        EXPECT_TRUE(runUntil(scheduler, [&] { return answer.has_value(); }));
        return answer.value_or(std::unexpected("none"));
    }

    HttpDownload download(const std::string& url, const fs::path& file, std::uint64_t limit = 1 << 20) {
        std::optional<HttpDownload> result;
        http.download(url, file, limit, [&](HttpDownload done) { result = std::move(done); });
        EXPECT_TRUE(runUntil(scheduler, [&] { return result.has_value(); }));
        return result.value_or(std::unexpected("none"));
    }

    TempFolder folder;
    HttpsTestServer server{folder.path(), std::string(kReleaseHost)};
    ManualClock clock;
    ManualScheduler scheduler{clock};
    CurlHttp http{scheduler, options()};
};

TEST_F(CurlHttpTest, SendsOnlyItsUserAgentAndKeepsNoCookies) {
    server.route("/a", Route{200, "first", {{"Set-Cookie", "session=1; Secure"}}});
    server.route("/b", Route{200, "second"});
    EXPECT_EQ(get(http, kBase + "/a"), (HttpResponse{200, "first"}));
    EXPECT_EQ(get(http, kBase + "/b"), (HttpResponse{200, "second"}));
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2u);
    for (const auto& request : requests) {
        EXPECT_EQ(request.headers.at("user-agent"), "Pivra");
        EXPECT_FALSE(request.headers.contains("cookie"));
        EXPECT_FALSE(request.headers.contains("authorization"));
    }
}

TEST_F(CurlHttpTest, HandsRedirectsAndErrorStatusesBackWithoutFollowing) {
    server.route("/moved", Route{302, "", {{"Location", kBase + "/elsewhere"}}});
    server.route("/elsewhere", Route{200, "followed"});
    EXPECT_EQ(get(http, kBase + "/moved").value().status, 302);
    EXPECT_EQ(get(http, kBase + "/missing").value().status, 404);
    EXPECT_EQ(server.paths(), (std::vector<std::string>{"/moved", "/missing"}));
}

struct Refusal {
    const char* name;
    std::string url;
    std::uint64_t limit;
    bool trustTheServer;
    std::string error;
};

class CurlHttpRefusal : public CurlHttpTest, public ::testing::WithParamInterface<Refusal> {};

TEST_P(CurlHttpRefusal, FailsWithItsReason) {
    server.route("/big", Route{200, std::string(100, 'x')});
    const Refusal& refusal = GetParam();
    // Without the test's authority the system's are trusted, and they never issued the server's certificate.
    CurlHttp untrusting{scheduler, CurlHttpOptions{.connectTo = {server.connectTo()}}};
    CurlHttp& client = refusal.trustTheServer ? http : untrusting;
    EXPECT_EQ(get(client, refusal.url, refusal.limit), HttpAnswer(std::unexpected(refusal.error)));
}

INSTANTIATE_TEST_SUITE_P(
    Transfers, CurlHttpRefusal,
    ::testing::Values(Refusal{"plainHttp", "http://" + std::string(kReleaseHost) + "/big", 1000, true,
                              "only HTTPS addresses can be fetched"},
                      Refusal{"credentials", "https://user:secret@" + std::string(kReleaseHost) + "/big", 1000, true,
                              "addresses with a user name or password aren’t fetched"},
                      Refusal{"bodyOverTheLimit", kBase + "/big", 99, true, "the answer is larger than 99 bytes"},
                      Refusal{"untrustedCertificate", kBase + "/big", 1000, false,
                              "the server’s certificate isn’t trusted"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(CurlHttpTest, ADownloadAppearsWholeOnlyOnSuccess) {
    const std::string bytes(300'000, 'z');
    server.route("/ok.zip", Route{200, bytes});
    server.route("/cut.zip", Route{200, bytes, {}, Route::Behaviour::truncate});
    const fs::path target = folder.path() / "Pivra.zip";

    EXPECT_EQ(download(kBase + "/missing.zip", target), HttpDownload(404));
    EXPECT_EQ(download(kBase + "/cut.zip", target), HttpDownload(std::unexpected("the server’s answer ended early")));
    EXPECT_EQ(download(kBase + "/ok.zip", target, 1000), HttpDownload(std::unexpected("the answer is larger than 1000 bytes")));
    EXPECT_FALSE(fs::exists(target));
    EXPECT_EQ(download(kBase + "/ok.zip", target), HttpDownload(200));
    EXPECT_EQ(readFile(target), bytes);
    // Nothing beside it: no part files of the failed transfers.
    EXPECT_EQ(snapshot(folder.path()).size(), 2u) << "the authority's certificate and the download only";
}

TEST_F(CurlHttpTest, DestroyedWithATransferInFlightNeverCallsBack) {
    server.route("/slow", Route{200, "", {}, Route::Behaviour::hang});
    bool called = false;
    {
        CurlHttp doomed{scheduler, options()};
        doomed.get(kBase + "/slow", 1000, [&](HttpAnswer) { called = true; });
        doomed.download(kBase + "/slow", folder.path() / "slow.zip", 1000, [&](HttpDownload) { called = true; });
        ASSERT_TRUE(runUntil(scheduler, [&] { return server.requests().size() == 2; }));
    }
    scheduler.runDue();
    EXPECT_FALSE(called);
    EXPECT_FALSE(fs::exists(folder.path() / "slow.zip"));
}

}  // namespace
}  // namespace pivra
