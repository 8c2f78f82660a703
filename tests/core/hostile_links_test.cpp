// Links built to trick the router: each must be refused at intake, or routed
// as the table says, and whatever is opened must be a web link or the link
// exactly as it came in.

#include <gtest/gtest.h>

#include "core/link.hpp"
#include "core/link_cleaner.hpp"
#include "core/profile_launch.hpp"
#include "core/router.hpp"
#include "tests/core/core_test_support.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

using testing_support::rule;

struct HostileCase {
    const char* name;
    std::string link;
    bool refused;                // intake refuses it: it never reaches the router
    std::string opened;          // the address the decision opens
    std::string app;             // the browser that opens it
    const char* unwrappedFrom;   // the redirector unwrapped, if any
};

HostileCase refused(const char* name, std::string link) { return {name, std::move(link), true, "", "", nullptr}; }

HostileCase routed(const char* name, std::string link, std::string opened, std::string app,
                   const char* unwrappedFrom = nullptr) {
    return {name, std::move(link), false, std::move(opened), std::move(app), unwrappedFrom};
}

RulesFile trustRules() {
    RulesFile rules;
    rules.rules = {rule("*", Match::domains({"example.com"}), "com.example.Trusted", "T")};
    return rules;
}

const char* kSafari = "com.apple.Safari";
const char* kTrusted = "com.example.Trusted";

std::string encodeComponent(std::string_view text) {
    std::string out;
    for (unsigned char c : text) {
        if (std::isalnum(c) || c == '-' || c == '.' || c == '_' || c == '~') {
            out.push_back(static_cast<char>(c));
        } else {
            char buffer[4];
            std::snprintf(buffer, sizeof buffer, "%%%02X", c);
            out += buffer;
        }
    }
    return out;
}

std::vector<HostileCase> hostileCases() {
    std::vector<HostileCase> cases;
    // Script, data and file destinations are never unwrapped, in any redirector.
    const std::vector<std::string> redirectors{
        "https://eur01.safelinks.protection.outlook.com/?url=", "https://www.google.com/url?q=",
        "https://google.com/url?url=", "https://slack-redir.net/link?url=", "https://l.facebook.com/l.php?u=",
        "https://lm.facebook.com/l.php?u=", "https://l.instagram.com/?u="};
    for (const auto& prefix : redirectors) {
        for (const char* destination : {"javascript:alert(document.cookie)", "JavaScript:alert(1)",
                                        "data:text/html;base64,PHNjcmlwdD4=", "file:///etc/passwd",
                                        "java\tscript:alert(1)", " https://example.com/", "\x01https://example.com/",
                                        "https%3A%2F%2Fexample.com%2F", "vbscript:msgbox(1)", "//example.com/"}) {
            const std::string link = prefix + encodeComponent(destination);
            cases.push_back(routed("non-web destination", link, link, kSafari));
        }
    }
    const std::string safe = "https://eur01.safelinks.protection.outlook.com/?url=";
    const std::string inner = "https://nam02.safelinks.protection.outlook.com/?url=" + encodeComponent("https://example.com/x");
    const std::vector<HostileCase> singles{
        routed("script link", "javascript:alert(1)", "javascript:alert(1)", kSafari),
        refused("tab inside the scheme", "java\tscript:alert(1)"),
        refused("leading blank", " https://example.com/"),
        refused("leading control character", "\x01https://example.com/"),
        refused("dash option", "-https://example.com/"),
        refused("double dash option", "--new-window"),
        routed("double-encoded destination", "https://www.google.com/url?q=https%253A%252F%252Fexample.com", "https://www.google.com/url?q=https%253A%252F%252Fexample.com", kSafari),
        routed("backslashes", "https:\\\\evil.example", "https:%5C%5Cevil.example", kSafari),
        routed("one slash", "https:/evil.example", "https:/evil.example", kSafari),
        routed("user info that looks like a host", "https://google.com@evil.example/", "https://google.com@evil.example/", kSafari),
        routed("user info with a trusted-looking path", "https://example.com:pw@evil.example/example.com", "https://example.com:pw@evil.example/example.com", kSafari),
        routed("numeric host", "https://2130706433/", "https://2130706433/", kSafari),
        routed("IPv6 host", "https://[::1]:8080/x", "https://[::1]:8080/x", kSafari),
        routed("look-alike host", "https://ex\xD0\xB0mple.com/", "https://ex%D0%B0mple.com/", kSafari),
        routed("right-to-left override", "https://moc.elpmaxe\xE2\x80\xAE.evil.example/", "https://moc.elpmaxe%E2%80%AE.evil.example/", kSafari),
        routed("spaces and quotes", "https://example.com/a b\"c'", "https://example.com/a%20b%22c'", kTrusted),
        routed("CR and LF", "https://example.com/a\r\nLocation: x", "https://example.com/a%0D%0ALocation:%20x", kTrusted),
        routed("encoded NUL", "https://example.com/%00", "https://example.com/%00", kTrusted),
        routed("raw NUL", std::string("https://example.com/a\0b", 23), "https://example.com/a%00b", kTrusted),
        routed("repeated url parameter", "https://slack-redir.net/link?url=https://example.com/1&url=https://evil.example/2", "https://example.com/1", kTrusted, "slack-redir.net"),
        routed("Safe Links inside Safe Links", safe + encodeComponent(inner), safe + encodeComponent(inner), kTrusted,
         "nam02.safelinks.protection.outlook.com"),
        routed("port 0", "https://example.com:0/", "https://example.com:0/", kTrusted),
        refused("port 65536", "https://example.com:65536/"),
        refused("port with letters", "https://example.com:443abc/"),
        refused("port with a sign", "https://example.com:+443/"),
    };
    cases.insert(cases.end(), singles.begin(), singles.end());
    return cases;
}

TEST(HostileLinks, AreRefusedOrRoutedSafely) {
    const testing_support::TempFolder home;
    const RulesFile rules = trustRules();
    for (const auto& c : hostileCases()) {
        SCOPED_TRACE(std::string(c.name) + ": " + c.link);
        const auto parsed = parseLink(c.link);
        if (c.refused) {
            EXPECT_FALSE(parsed.has_value());
            continue;
        }
        ASSERT_TRUE(parsed.has_value());
        const auto decision = Router::decide(*parsed, Source::unknown(), rules, false, {}, Instant{});
        EXPECT_EQ(decision.url.buffer(), c.opened);
        EXPECT_EQ(decision.target.app, c.app);
        EXPECT_EQ(decision.unwrappedFrom, c.unwrappedFrom ? std::optional<std::string>(c.unwrappedFrom) : std::nullopt);
        const bool asReceived = decision.url.buffer() == parsed->buffer();
        EXPECT_TRUE(asReceived || isWebScheme(decision.url.scheme())) << "opened " << decision.url.buffer();

        // Whatever the decision, a launch command only ever ends in a web link.
        for (const char* browser : {"com.google.Chrome", "org.mozilla.firefox"}) {
            const auto plan = ProfileLaunch::plan(decision.url, browser, std::nullopt, "/Applications/B.app", true,
                                                  true, home.path());
            ASSERT_TRUE(plan.has_value());
            if (plan->kind() != ProfileLaunch::Plan::Kind::open) {
                EXPECT_EQ(plan->reason(), "the link isn’t a web link");
                continue;
            }
            const auto argument = parseLink(plan->arguments().back());
            ASSERT_TRUE(argument.has_value()) << plan->arguments().back();
            EXPECT_TRUE(isWebScheme(argument->scheme())) << plan->arguments().back();
        }
    }
}

TEST(HostileLinks, HugeLinksAreHandledWhole) {
    const std::string longPath = "https://example.com/" + std::string(2 << 20, 'a');
    const auto big = parseLink(longPath);
    ASSERT_TRUE(big.has_value());
    EXPECT_EQ(Router::decide(*big, Source::unknown(), trustRules(), false, {}, Instant{}).target.app, kTrusted);

    std::string manyParams = "https://example.com/?";
    std::string expected = "https://example.com/?";
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
    int checked = 0;
    for (std::size_t a = 0; a < items.size(); ++a) {
        for (std::size_t b = 0; b < items.size(); ++b) {
            for (const char* fragment : {"", "#top", "#utm_source=1"}) {
                const std::string text = "https://example.com/p?" + items[a] + "&" + items[b] + fragment;
                const auto link = parseLink(text);
                ASSERT_TRUE(link.has_value()) << text;
                ++checked;
                const auto once = LinkCleaner::stripTracking(*link);
                const auto twice = LinkCleaner::stripTracking(once);
                EXPECT_LE(once.buffer().size(), link->buffer().size()) << text;
                EXPECT_EQ(twice.buffer(), once.buffer()) << text;
                EXPECT_EQ(once.encoded_fragment(), link->encoded_fragment()) << text;
                if (!once.has_query()) continue;
                const std::string_view kept = once.encoded_query();
                const std::string_view original = link->encoded_query();
                forEachQueryItem(kept, [&](const QueryItem& item) {
                    const std::string written = std::string(item.name) + (item.value ? "=" + std::string(*item.value) : "");
                    EXPECT_NE(("&" + std::string(original) + "&").find("&" + written + "&"), std::string::npos)
                        << text << " gained " << written;
                    return true;
                });
            }
        }
    }
    EXPECT_EQ(checked, 432);
}

}  // namespace
}  // namespace pivra
