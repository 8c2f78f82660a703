#include "core/link_cleaner.hpp"

#include <gtest/gtest.h>

#include "tests/core/core_test_support.hpp"

namespace pivra {
namespace {

using testing_support::link;

struct StripCase {
    const char* given;
    const char* expected;
};

void PrintTo(const StripCase& c, std::ostream* os) { *os << c.given; }

class LinkCleanerStrip : public testing::TestWithParam<StripCase> {};

TEST_P(LinkCleanerStrip, DropsOnlyTrackingParameters) {
    EXPECT_EQ(LinkCleaner::stripTracking(link(GetParam().given)).buffer(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table, LinkCleanerStrip,
    testing::Values(StripCase{"https://example.com/?utm_source=a&id=7&UTM_Medium=b#top", "https://example.com/?id=7#top"},
                    StripCase{"https://example.com/?fbclid=x", "https://example.com/"},
                    StripCase{"https://example.com/?fbclid=x#frag", "https://example.com/#frag"},
                    StripCase{"https://example.com/?a=1&b=2", "https://example.com/?a=1&b=2"},
                    StripCase{"https://example.com/?b=2&a=1&&c", "https://example.com/?b=2&a=1&&c"},
                    StripCase{"https://example.com/", "https://example.com/"},
                    StripCase{"https://example.com/?", "https://example.com/?"},
                    StripCase{"https://example.com/?#gclid=1", "https://example.com/?#gclid=1"},
                    StripCase{"https://example.com/?&gclid=1#f", "https://example.com/?#f"},
                    StripCase{"https://example.com/?utm%5Fsource=x", "https://example.com/?utm%5Fsource=x"},
                    StripCase{"https://example.com/?a=%2B+b&gclid=1&c", "https://example.com/?a=%2B+b&c"},
                    StripCase{"https://example.com/?GCLID&MSCLKID=1&Vero_Id=2&x=utm_source", "https://example.com/?x=utm_source"},
                    StripCase{"https://example.com/?utm_=1&utm=2", "https://example.com/?utm=2"},
                    StripCase{"https://example.com/?mc_cid=1&mc_eid=2&_hsenc=3&_hsmi=4&mkt_tok=5&oly_anon_id=6"
                              "&oly_enc_id=7&dclid=8&gbraid=9&wbraid=10&yclid=11&twclid=12&igshid=13&keep",
                              "https://example.com/?keep"}));

struct UnwrapCase {
    const char* given;
    const char* expected;
    const char* wrapper;  // nullptr: nothing unwrapped
};

void PrintTo(const UnwrapCase& c, std::ostream* os) { *os << c.given; }

class LinkCleanerUnwrap : public testing::TestWithParam<UnwrapCase> {};

TEST_P(LinkCleanerUnwrap, FollowsRedirectorsToWebLinksOnly) {
    const auto result = LinkCleaner::unwrap(link(GetParam().given));
    EXPECT_EQ(result.url.buffer(), GetParam().expected);
    EXPECT_EQ(result.wrapper, GetParam().wrapper ? std::optional<std::string>(GetParam().wrapper) : std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    Table, LinkCleanerUnwrap,
    testing::Values(
        UnwrapCase{"https://www.google.com/url?q=https://example.com/a&sa=D", "https://example.com/a", "www.google.com"},
        UnwrapCase{"https://WWW.Google.com/url?q=https%3A%2F%2Fexample.com%2Fa%3Fb%3D1", "https://example.com/a?b=1", "www.google.com"},
        UnwrapCase{"https://google.com/url?url=https://example.com/", "https://example.com/", "google.com"},
        UnwrapCase{"https://google.com/url?q&url=https://example.com/", "https://example.com/", "google.com"},
        UnwrapCase{"https://www.google.com/search?q=https://example.com/", "https://www.google.com/search?q=https://example.com/", nullptr},
        UnwrapCase{"https://www.google.de/url?q=https://example.com/", "https://www.google.de/url?q=https://example.com/", nullptr},
        UnwrapCase{"https://www.google.com/url?Q=https://example.com/", "https://www.google.com/url?Q=https://example.com/", nullptr},
        UnwrapCase{"https://www.google.com/%75rl?q=https://example.com/", "https://example.com/", "www.google.com"},
        UnwrapCase{"https://l.facebook.com/l.php?u=javascript%3Aalert(1)", "https://l.facebook.com/l.php?u=javascript%3Aalert(1)", nullptr},
        UnwrapCase{"https://lm.facebook.com/l.php?u=http%3A%2F%2Fexample.com%2F", "http://example.com/", "lm.facebook.com"},
        UnwrapCase{"https://slack-redir.net/LINK?url=https://example.com/", "https://slack-redir.net/LINK?url=https://example.com/", nullptr},
        UnwrapCase{"https://slack-redir.net/link?url=https%3A%2F%2Fexample.com%2F", "https://example.com/", "slack-redir.net"},
        UnwrapCase{"https://l.instagram.com/anything?u=https%3A%2F%2Fexample.com", "https://example.com", "l.instagram.com"},
        UnwrapCase{"https://eur01.safelinks.protection.outlook.com/?url=https%3A%2F%2Fexample.com%2Fx&data=1",
                   "https://example.com/x", "eur01.safelinks.protection.outlook.com"},
        UnwrapCase{"https://safelinks.protection.outlook.com/?url=https%3A%2F%2Fexample.com",
                   "https://safelinks.protection.outlook.com/?url=https%3A%2F%2Fexample.com", nullptr},
        UnwrapCase{"https://www.google.com/url?q=", "https://www.google.com/url?q=", nullptr},
        // An empty "q=" is the destination, and it is no link: "url" is not tried.
        UnwrapCase{"https://www.google.com/url?q=&url=https://example.com/", "https://www.google.com/url?q=&url=https://example.com/", nullptr},
        UnwrapCase{"https://www.google.com/url?q=https://example.com/a+b%2Bc", "https://example.com/a+b+c", "www.google.com"},
        UnwrapCase{"https://www.google.com/url?q=HTTPS://example.com/", "HTTPS://example.com/", "www.google.com"},
        UnwrapCase{"https://l.facebook.com/l.php?#u=https://example.com/", "https://l.facebook.com/l.php?#u=https://example.com/", nullptr},
        UnwrapCase{"https://www.google.com/url?%71=https://example.com/", "https://example.com/", "www.google.com"},
        UnwrapCase{"https://www.google.com/url?q=data:text/html,x", "https://www.google.com/url?q=data:text/html,x", nullptr},
        UnwrapCase{"https://www.google.com/url?q=file:///etc/passwd", "https://www.google.com/url?q=file:///etc/passwd", nullptr},
        UnwrapCase{"https://www.google.com/url?q=https://a b.example/", "https://a%20b.example/", "www.google.com"}));

TEST(LinkCleanerUnwrap, ChainsStopAtThreeAndKeepTheLastWrapper) {
    const std::string inner = "https://example.com/end";
    const std::string google = "https://www.google.com/url?q=" + std::string("https%3A%2F%2Fexample.com%2Fend");
    // Safe Links around Google around the destination.
    const std::string safe = "https://nam02.safelinks.protection.outlook.com/?url=https%3A%2F%2Fwww.google.com%2Furl%3Fq%3Dhttps%253A%252F%252Fexample.com%252Fend";
    auto result = LinkCleaner::unwrap(link(safe));
    EXPECT_EQ(result.url.buffer(), inner);
    EXPECT_EQ(result.wrapper, "www.google.com");

    // Four nested redirectors: three are unwrapped, the fourth stays.
    const std::string level4 = "https://slack-redir.net/link?url=https%3A%2F%2Fexample.com%2F";
    const std::string level3 = "https://l.instagram.com/?u=" + std::string("https%3A%2F%2Fslack-redir.net%2Flink%3Furl%3Dhttps%253A%252F%252Fexample.com%252F");
    auto encode = [](const std::string& text) {
        std::string out;
        for (char c : text) {
            if (std::isalnum(static_cast<unsigned char>(c)) || c == '.' || c == '-' || c == '_') {
                out.push_back(c);
            } else {
                char buffer[4];
                std::snprintf(buffer, sizeof buffer, "%%%02X", static_cast<unsigned char>(c));
                out += buffer;
            }
        }
        return out;
    };
    const std::string level2 = "https://l.facebook.com/l.php?u=" + encode(level3);
    const std::string level1 = "https://www.google.com/url?q=" + encode(level2);
    result = LinkCleaner::unwrap(link(level1));
    EXPECT_EQ(result.url.buffer(), level4);
    EXPECT_EQ(result.wrapper, "l.instagram.com");

    const std::string selfLoop = "https://www.google.com/url?q=" + encode("https://www.google.com/url?q=" + encode(google));
    EXPECT_EQ(LinkCleaner::unwrap(link(selfLoop)).url.buffer(), inner);
}

TEST(LinkCleanerUnwrap, ScannersAreOutlookSafeLinksOnly) {
    EXPECT_TRUE(LinkCleaner::isScanner("eur01.safelinks.protection.outlook.com"));
    EXPECT_TRUE(LinkCleaner::isScanner("EUR01.SafeLinks.Protection.Outlook.com"));
    EXPECT_FALSE(LinkCleaner::isScanner("safelinks.protection.outlook.com"));
    EXPECT_FALSE(LinkCleaner::isScanner("www.google.com"));
    EXPECT_FALSE(LinkCleaner::isScanner("evil.safelinks.protection.outlook.com.example"));
}

}  // namespace
}  // namespace pivra
