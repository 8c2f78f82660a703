#include "core/link.hpp"

#include <gtest/gtest.h>

namespace pivra {
namespace {

struct IntakeCase {
    const char* given;
    const char* parsed;  // nullptr: refused
};

void PrintTo(const IntakeCase& c, std::ostream* os) { *os << c.given; }

class LinkIntake : public testing::TestWithParam<IntakeCase> {};

TEST_P(LinkIntake, EncodesWhatAUrlMayNotHoldThenParses) {
    const auto parsed = parseLink(GetParam().given);
    if (GetParam().parsed == nullptr) {
        EXPECT_FALSE(parsed.has_value()) << GetParam().given << " parsed as " << parsed->buffer();
    } else {
        ASSERT_TRUE(parsed.has_value()) << GetParam().given;
        EXPECT_EQ(parsed->buffer(), GetParam().parsed);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, LinkIntake,
    testing::Values(IntakeCase{"https://example.com/a?b=c#d", "https://example.com/a?b=c#d"},
                    IntakeCase{"https://example.com/a b", "https://example.com/a%20b"},
                    IntakeCase{"https://example.com/caf\xC3\xA9", "https://example.com/caf%C3%A9"},
                    IntakeCase{"https://example.com/100%", "https://example.com/100%25"},
                    IntakeCase{"https://example.com/%zz%4", "https://example.com/%25zz%254"},
                    IntakeCase{"https://example.com/%41", "https://example.com/%41"},
                    IntakeCase{"https://example.com/#a#b", "https://example.com/#a%23b"},
                    IntakeCase{"https://example.com/{x}|\"<>^`\\", "https://example.com/%7Bx%7D%7C%22%3C%3E%5E%60%5C"},
                    IntakeCase{"https://example.com/\r\n\t", "https://example.com/%0D%0A%09"},
                    IntakeCase{"https://example.com:8080/", "https://example.com:8080/"},
                    IntakeCase{"https://example.com:65535/", "https://example.com:65535/"},
                    IntakeCase{"https://example.com:/", "https://example.com:/"},
                    IntakeCase{"https://example.com:0000000080/", "https://example.com:0000000080/"},
                    IntakeCase{"mailto:a@example.com", "mailto:a@example.com"},
                    IntakeCase{"https://example.com/search?filter[status]=open&ids[]=1#[x]",
                               "https://example.com/search?filter%5Bstatus%5D=open&ids%5B%5D=1#%5Bx%5D"},
                    IntakeCase{"https://[::1]:8080/x[1]", "https://[::1]:8080/x%5B1%5D"},
                    IntakeCase{"https://user[1]@[2001:db8::1]/", "https://user%5B1%5D@[2001:db8::1]/"},
                    IntakeCase{"https://a[b].example/", "https://a%5Bb%5D.example/"},
                    IntakeCase{"https://example.com:65536/", nullptr},
                    IntakeCase{"https://example.com:443abc/", nullptr},
                    IntakeCase{"https://example.com:99999999999999999999/", nullptr},
                    IntakeCase{"https://h:abc/", nullptr},
                    IntakeCase{"example.com", nullptr},
                    IntakeCase{"", nullptr},
                    IntakeCase{" https://example.com", nullptr},
                    IntakeCase{"://example.com", nullptr}));

TEST(LinkHelpers, WebSchemesAndPorts) {
    EXPECT_TRUE(isWebScheme("HTTPS"));
    EXPECT_TRUE(isWebScheme("http"));
    EXPECT_FALSE(isWebScheme("javascript"));
    EXPECT_FALSE(isWebScheme("httpss"));
    EXPECT_EQ(explicitPort(*parseLink("https://a.example:0/")), "0");
    EXPECT_EQ(explicitPort(*parseLink("https://a.example:/")), std::nullopt);
    EXPECT_EQ(explicitPort(*parseLink("https://a.example/")), std::nullopt);
}

}  // namespace
}  // namespace pivra
