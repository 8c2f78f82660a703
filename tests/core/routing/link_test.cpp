#include "core/routing/link.hpp"

#include <gtest/gtest.h>

namespace pivra {
namespace {

TEST(LinkIntake, EncodesWhatAUrlMayNotHoldThenParses) {
    const std::pair<const char*, const char*> cases[] = {
        {"https://example.com/caf\xC3\xA9", "https://example.com/caf%C3%A9"},
        {"https://example.com/100%", "https://example.com/100%25"}, {"https://example.com/%41", "https://example.com/%41"},
        {"https://example.com/%zz%4", "https://example.com/%25zz%254"},
        {"https://example.com/#a#b", "https://example.com/#a%23b"},
        {"https://example.com/{x}|\"<>^`\\", "https://example.com/%7Bx%7D%7C%22%3C%3E%5E%60%5C"},
        {"https://example.com/\r\n\t", "https://example.com/%0D%0A%09"},
        {"https://example.com:65535/", "https://example.com:65535/"}, {"https://example.com:/", "https://example.com:/"},
        {"https://example.com:0000000080/", "https://example.com:0000000080/"},
        {"mailto:a@example.com", "mailto:a@example.com"},
        {"https://example.com/search?filter[status]=open&ids[]=1#[x]",
         "https://example.com/search?filter%5Bstatus%5D=open&ids%5B%5D=1#%5Bx%5D"},
        {"https://[::1]:8080/x[1]", "https://[::1]:8080/x%5B1%5D"},
        {"https://user[1]@[2001:db8::1]/", "https://user%5B1%5D@[2001:db8::1]/"},
        {"https://a[b].example/", "https://a%5Bb%5D.example/"},
    };
    for (const auto& [given, expected] : cases) {
        const auto parsed = parseLink(given);
        ASSERT_TRUE(parsed.has_value()) << given;
        EXPECT_EQ(parsed->buffer(), expected);
    }
    // Bad ports and a leading blank are refused with the hostile links.
    for (const char* text : {"https://example.com:99999999999999999999/", "https://h:abc/", "example.com", "",
                             "://example.com"}) {
        EXPECT_FALSE(parseLink(text).has_value()) << text;
    }
}

TEST(LinkHelpers, WebSchemesAndPorts) {
    EXPECT_TRUE(isWebScheme("HTTPS") && isWebScheme("http"));
    EXPECT_FALSE(isWebScheme("javascript") || isWebScheme("httpss") || isWebScheme("file"));
    EXPECT_TRUE(isBrowsableScheme("FILE") && isBrowsableScheme("https"));
    EXPECT_FALSE(isBrowsableScheme("mailto") || isBrowsableScheme("javascript") || isBrowsableScheme("files"));
    EXPECT_EQ(explicitPort(*parseLink("https://a.example:0/")), "0");
    EXPECT_EQ(explicitPort(*parseLink("https://a.example:/")), std::nullopt);
    EXPECT_EQ(explicitPort(*parseLink("https://a.example/")), std::nullopt);
}

}  // namespace
}  // namespace pivra
