// Links built to trick the router: each must be refused at intake, or routed
// as the table says, and whatever is opened must be a web link or the link
// exactly as it came in. What a launch makes of such links is tested with the
// launch plans.

#include <gtest/gtest.h>

#include "core/routing/link.hpp"
#include "core/routing/link_cleaner.hpp"
#include "core/routing/router.hpp"
#include "tests/core/core_test_support.hpp"

namespace pivra {
namespace {

using testing_support::encodeComponent;
using testing_support::rule;

const char* kSafari = "com.apple.Safari";
const char* kTrusted = "com.example.Trusted";

RulesFile trustRules() {
    RulesFile rules;
    rules.rules = {rule("*", Match::domains({"example.com"}), kTrusted, "T")};
    return rules;
}

TEST(HostileLinks, DisguisedLinksAndBadPortsAreRefusedAtIntake) {
    for (const char* text : {"java\tscript:alert(1)", " https://example.com/", "\x01https://example.com/",
                             "-https://example.com/", "--new-window", "https://example.com:65536/",
                             "https://example.com:443abc/", "https://example.com:+443/"}) {
        EXPECT_FALSE(parseLink(text).has_value()) << text;
    }
}

// An empty `opened` is the link exactly as it came in.
struct HostileCase { std::string link, opened; const char* app; const char* unwrappedFrom = nullptr; };

TEST(HostileLinks, AreRoutedSafelyAndOpenedAsWebLinksOrAsTheyCame) {
    const std::string safe = "https://eur01.safelinks.protection.outlook.com/?url=";
    std::vector<HostileCase> cases{
        {"javascript:alert(1)", "", kSafari},
        {"https://www.google.com/url?q=https%253A%252F%252Fexample.com", "", kSafari},  // double-encoded
        {"https:\\\\evil.example", "https:%5C%5Cevil.example", kSafari},
        {"https:/evil.example", "", kSafari}, {"https://google.com@evil.example/", "", kSafari},
        {"https://example.com:pw@evil.example/example.com", "", kSafari},
        {"https://2130706433/", "", kSafari}, {"https://[::1]:8080/x", "", kSafari},
        {"https://ex\xD0\xB0mple.com/", "https://ex%D0%B0mple.com/", kSafari},  // look-alike host
        {"https://moc.elpmaxe\xE2\x80\xAE.evil.example/", "https://moc.elpmaxe%E2%80%AE.evil.example/", kSafari},
        {"https://example.com/a b\"c'", "https://example.com/a%20b%22c'", kTrusted},
        {"https://example.com/a\r\nLocation: x", "https://example.com/a%0D%0ALocation:%20x", kTrusted},
        {"https://example.com/%00", "", kTrusted}, {"https://example.com:0/", "", kTrusted},
        {std::string("https://example.com/a\0b", 23), "https://example.com/a%00b", kTrusted},
        {"https://slack-redir.net/link?url=https://example.com/1&url=https://evil.example/2", "https://example.com/1",
         kTrusted, "slack-redir.net"},
        {safe + encodeComponent("https://nam02.safelinks.protection.outlook.com/?url=" +
                                encodeComponent("https://example.com/x")),
         "", kTrusted, "nam02.safelinks.protection.outlook.com"},
    };
    // Script, data and file destinations are never unwrapped, in any redirector.
    for (const char* prefix : {"https://eur01.safelinks.protection.outlook.com/?url=", "https://www.google.com/url?q=",
                               "https://google.com/url?url=", "https://slack-redir.net/link?url=",
                               "https://l.facebook.com/l.php?u=", "https://lm.facebook.com/l.php?u=",
                               "https://l.instagram.com/?u="}) {
        for (const char* destination : {"javascript:alert(document.cookie)", "JavaScript:alert(1)",
                                        "data:text/html;base64,PHNjcmlwdD4=", "file:///etc/passwd",
                                        "java\tscript:alert(1)", " https://example.com/", "\x01https://example.com/",
                                        "https%3A%2F%2Fexample.com%2F", "vbscript:msgbox(1)", "//example.com/"}) {
            cases.push_back({prefix + encodeComponent(destination), "", kSafari});
        }
    }
    const RulesFile rules = trustRules();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.link);
        const auto parsed = parseLink(c.link);
        ASSERT_TRUE(parsed.has_value());
        const auto decision = Router::decide(*parsed, Source::unknown(), rules, false, {}, Instant{});
        EXPECT_EQ(decision.url.buffer(), c.opened.empty() ? c.link : c.opened);
        EXPECT_EQ(decision.target.app, c.app);
        EXPECT_EQ(decision.unwrappedFrom, c.unwrappedFrom ? std::optional<std::string>(c.unwrappedFrom) : std::nullopt);
        const bool asReceived = decision.url.buffer() == parsed->buffer();
        EXPECT_TRUE(asReceived || isWebScheme(decision.url.scheme())) << "opened " << decision.url.buffer();
    }
}

TEST(HostileLinks, HugeLinksAreHandledWhole) {
    const auto big = parseLink("https://example.com/" + std::string(2 << 20, 'a'));
    ASSERT_TRUE(big.has_value());
    EXPECT_EQ(Router::decide(*big, Source::unknown(), trustRules(), false, {}, Instant{}).target.app, kTrusted);

    std::string manyParams = "https://example.com/?";
    std::string expected = manyParams;
    for (int i = 0; i < 100000; ++i) {
        manyParams += (i ? "&" : "") + std::string(i % 2 ? "utm_source=x" : "k=") + std::to_string(i);
        if (i % 2 == 0) expected += (i ? "&k=" : "k=") + std::to_string(i);
    }
    const auto many = parseLink(manyParams);
    ASSERT_TRUE(many.has_value());
    EXPECT_EQ(LinkCleaner::stripTracking(*many).buffer(), expected);
}

// Tracking removal, over links built from pieces that combine in many ways.
TEST(TrackingRemovalProperties, NeverAddsNeverLengthensAndSettlesInOnePass) {
    const std::vector<std::string> items{"utm_source=a", "id=7", "UTM_Medium=b", "fbclid", "a=%2B+b", "", "x=",
                                         "gclid=1&gclid=2", "utm%5Fx=1", "q=utm_source", "=v", "MC_EID=3"};
    for (const auto& a : items) {
        for (const auto& b : items) {
            for (const char* fragment : {"", "#top", "#utm_source=1"}) {
                const std::string text = "https://example.com/p?" + a + "&" + b + fragment;
                const auto link = parseLink(text);
                ASSERT_TRUE(link.has_value()) << text;
                const auto once = LinkCleaner::stripTracking(*link);
                EXPECT_LE(once.buffer().size(), link->buffer().size()) << text;
                EXPECT_EQ(LinkCleaner::stripTracking(once).buffer(), once.buffer()) << text;
                EXPECT_EQ(once.encoded_fragment(), link->encoded_fragment()) << text;
                if (!once.has_query()) continue;
                const std::string original = "&" + std::string(link->encoded_query()) + "&";
                forEachQueryItem(once.encoded_query(), [&](const QueryItem& item) {
                    const std::string written = std::string(item.name) + (item.value ? "=" + std::string(*item.value) : "");
                    EXPECT_NE(original.find("&" + written + "&"), std::string::npos) << text << " gained " << written;
                    return true;
                });
            }
        }
    }
}

}  // namespace
}  // namespace pivra
