#include "core/routing/link_cleaner.hpp"

#include <gtest/gtest.h>

#include "tests/core/core_test_support.hpp"

namespace pivra {
namespace {

using testing_support::encodeComponent;
using testing_support::link;

TEST(LinkCleanerStrip, DropsOnlyTrackingParameters) {
    const std::pair<const char*, const char*> cases[] = {
        {"https://example.com/?utm_source=a&id=7&UTM_Medium=b#top", "https://example.com/?id=7#top"},
        {"https://example.com/?fbclid=x#frag", "https://example.com/#frag"},
        {"https://example.com/?b=2&a=1&&c", "https://example.com/?b=2&a=1&&c"},
        {"https://example.com/", "https://example.com/"}, {"https://example.com/?", "https://example.com/?"},
        {"https://example.com/?#gclid=1", "https://example.com/?#gclid=1"},
        {"https://example.com/?&gclid=1#f", "https://example.com/?#f"},
        {"https://example.com/?utm%5Fsource=x", "https://example.com/?utm%5Fsource=x"},  // an encoded name is not read
        {"https://example.com/?a=%2B+b&gclid=1&c", "https://example.com/?a=%2B+b&c"},
        {"https://example.com/?GCLID&MSCLKID=1&Vero_Id=2&x=utm_source", "https://example.com/?x=utm_source"},
        {"https://example.com/?utm_=1&utm=2", "https://example.com/?utm=2"},
        {"https://example.com/?mc_cid=1&_hsenc=3&oly_anon_id=6&twclid=12&keep", "https://example.com/?keep"},
    };
    for (const auto& [given, expected] : cases) EXPECT_EQ(LinkCleaner::stripTracking(link(given)).buffer(), expected);
}

TEST(LinkCleanerUnwrap, FollowsRedirectorsToWebLinksOnly) {
    // expected nullptr: the link is left as it is.
    const struct { const char* given; const char* expected; const char* wrapper; } cases[] = {
        {"https://www.google.com/url?q=https://example.com/a&sa=D", "https://example.com/a", "www.google.com"},
        {"https://WWW.Google.com/url?q=https%3A%2F%2Fexample.com%2Fa%3Fb%3D1", "https://example.com/a?b=1", "www.google.com"},
        {"https://google.com/url?q&url=https://example.com/", "https://example.com/", "google.com"},
        {"https://www.google.com/search?q=https://example.com/", nullptr, nullptr},
        {"https://www.google.de/url?q=https://example.com/", nullptr, nullptr},
        {"https://www.google.com/url?Q=https://example.com/", nullptr, nullptr},
        {"https://www.google.com/%75rl?q=https://example.com/", "https://example.com/", "www.google.com"},
        {"https://www.google.com/url?%71=https://example.com/", "https://example.com/", "www.google.com"},
        {"https://lm.facebook.com/l.php?u=http%3A%2F%2Fexample.com%2F", "http://example.com/", "lm.facebook.com"},
        {"https://l.facebook.com/l.php?#u=https://example.com/", nullptr, nullptr},
        {"https://slack-redir.net/LINK?url=https://example.com/", nullptr, nullptr},
        {"https://slack-redir.net/link?url=https%3A%2F%2Fexample.com%2F", "https://example.com/", "slack-redir.net"},
        {"https://l.instagram.com/anything?u=https%3A%2F%2Fexample.com", "https://example.com", "l.instagram.com"},
        {"https://eur01.safelinks.protection.outlook.com/?url=https%3A%2F%2Fexample.com%2Fx&data=1",
         "https://example.com/x", "eur01.safelinks.protection.outlook.com"},
        {"https://safelinks.protection.outlook.com/?url=https%3A%2F%2Fexample.com", nullptr, nullptr},
        // An empty "q=" is the destination, and it is no link: "url" is not tried.
        {"https://www.google.com/url?q=&url=https://example.com/", nullptr, nullptr},
        {"https://www.google.com/url?q=https://example.com/a+b%2Bc", "https://example.com/a+b+c", "www.google.com"},
        {"https://www.google.com/url?q=HTTPS://example.com/", "HTTPS://example.com/", "www.google.com"},
        {"https://www.google.com/url?q=https://a b.example/", "https://a%20b.example/", "www.google.com"},
    };
    for (const auto& c : cases) {
        const auto result = LinkCleaner::unwrap(link(c.given));
        EXPECT_EQ(result.url.buffer(), c.expected ? c.expected : c.given);
        EXPECT_EQ(result.wrapper, c.wrapper ? std::optional<std::string>(c.wrapper) : std::nullopt) << c.given;
    }
}

TEST(LinkCleanerUnwrap, ChainsStopAtThreeAndKeepTheLastWrapper) {
    const std::string google = "https://www.google.com/url?q=" + encodeComponent("https://example.com/end");
    auto result = LinkCleaner::unwrap(
        link("https://nam02.safelinks.protection.outlook.com/?url=" + encodeComponent(google)));
    EXPECT_EQ(result.url.buffer(), "https://example.com/end");
    EXPECT_EQ(result.wrapper, "www.google.com");

    // Four nested redirectors: three are unwrapped, the fourth stays.
    const std::string level4 = "https://slack-redir.net/link?url=https%3A%2F%2Fexample.com%2F";
    const std::string level3 = "https://l.instagram.com/?u=" + encodeComponent(level4);
    const std::string level2 = "https://l.facebook.com/l.php?u=" + encodeComponent(level3);
    result = LinkCleaner::unwrap(link("https://www.google.com/url?q=" + encodeComponent(level2)));
    EXPECT_EQ(result.url.buffer(), level4);
    EXPECT_EQ(result.wrapper, "l.instagram.com");

    const std::string twice = "https://www.google.com/url?q=" + encodeComponent(google);
    EXPECT_EQ(LinkCleaner::unwrap(link("https://www.google.com/url?q=" + encodeComponent(twice))).url.buffer(),
              "https://example.com/end");
}

TEST(LinkCleanerUnwrap, ScannersAreOutlookSafeLinksOnly) {
    EXPECT_TRUE(LinkCleaner::isScanner("EUR01.SafeLinks.Protection.Outlook.com"));
    EXPECT_FALSE(LinkCleaner::isScanner("safelinks.protection.outlook.com"));
    EXPECT_FALSE(LinkCleaner::isScanner("evil.safelinks.protection.outlook.com.example"));
}

}  // namespace
}  // namespace pivra
