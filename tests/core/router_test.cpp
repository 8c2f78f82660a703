#include "core/router.hpp"

#include <gtest/gtest.h>

#include "tests/core/core_test_support.hpp"

namespace pivra {
namespace {

using testing_support::link;
using testing_support::rule;

const Instant kNow = instantFromReferenceSeconds(800000000.0);

Instant at(double seconds) { return kNow + std::chrono::duration_cast<Instant::duration>(Seconds(seconds)); }

RulesFile exampleRules() {
    RulesFile file;
    file.fallback = Target{"org.mozilla.firefox", "fallback.profile"};
    Rule mail = rule("*", Match::domains({"example.com"}), "com.google.Chrome", "R0");
    mail.open.profile = "Work";
    mail.bringForward = false;
    mail.newWindow = true;
    file.rules = {mail};
    return file;
}

TEST(RouterLoopGuard, SendsALinkBackToTheAppItJustCameFrom) {
    const RulesFile rules = exampleRules();
    const auto chrome = Source::app("com.google.Chrome");
    const std::string text = "https://www.google.com/url?q=https://example.com/?utm_source=x";
    const std::vector<RecentOpen> recent{{"com.apple.Safari", at(-0.5)}, {"com.google.Chrome", at(-1.5)}};

    for (bool paused : {false, true}) {
        const auto decision = Router::decide(link(text), chrome, rules, paused, recent, kNow);
        EXPECT_EQ(decision, (Decision{link(text), Target{"com.google.Chrome", std::nullopt}, Decision::Reason::loopGuard(),
                                      true, false, std::nullopt}));
    }
    const auto routed = [&](double openedAgo, Source source = Source::app("com.google.Chrome")) {
        return Router::decide(link(text), source, rules, false, {{"com.google.Chrome", at(-openedAgo)}}, kNow).reason.kind();
    };
    EXPECT_EQ(routed(0.0), Decision::Reason::Kind::loopGuard);
    EXPECT_EQ(routed(1.999), Decision::Reason::Kind::loopGuard);
    EXPECT_EQ(routed(2.0), Decision::Reason::Kind::rule);
    EXPECT_EQ(routed(-0.1), Decision::Reason::Kind::rule) << "an open dated in the future is passed over";
    EXPECT_EQ(routed(1.0, Source::unknown()), Decision::Reason::Kind::rule);
    EXPECT_EQ(routed(1.0, Source::app("com.google.chrome")), Decision::Reason::Kind::rule) << "exact bundle ids";
    // A stale entry for the same app does not end the walk.
    const std::vector<RecentOpen> staleFirst{{"com.google.Chrome", at(-5.0)}, {"com.google.Chrome", at(-0.2)}};
    EXPECT_EQ(Router::decide(link(text), chrome, rules, false, staleFirst, kNow).reason.kind(),
              Decision::Reason::Kind::loopGuard);
}

TEST(RouterCleaning, UnwrapsAlwaysAndStripsOnlyWhenCleaningIsOn) {
    RulesFile rules = exampleRules();
    const std::string text = "https://www.google.com/url?q=https://example.com/?utm_source=x%26id=1";
    auto decision = Router::decide(link(text), Source::unknown(), rules, false, {}, kNow);
    EXPECT_EQ(decision.url.buffer(), "https://example.com/?id=1");
    EXPECT_EQ(decision.unwrappedFrom, "www.google.com");
    EXPECT_EQ(decision.reason, Decision::Reason::rule(0, "R0"));
    EXPECT_EQ(decision.target, (Target{"com.google.Chrome", "Work"}));
    EXPECT_FALSE(decision.bringForward);
    EXPECT_TRUE(decision.newWindow);

    rules.cleanLinks = false;
    decision = Router::decide(link(text), Source::unknown(), rules, false, {}, kNow);
    EXPECT_EQ(decision.url.buffer(), "https://example.com/?utm_source=x&id=1");
    EXPECT_EQ(decision.unwrappedFrom, "www.google.com");
}

TEST(RouterCleaning, ScannerLinksAreRoutedByTheirDestinationButOpenedWrapped) {
    const std::string text =
        "https://eur01.safelinks.protection.outlook.com/?url=https%3A%2F%2Fdocs.example.com%2Fx%3Futm_source%3Dm&data=1";
    for (bool paused : {false, true}) {
        const auto decision = Router::decide(link(text), Source::unknown(), exampleRules(), paused, {}, kNow);
        EXPECT_EQ(decision.url.buffer(), text);
        EXPECT_EQ(decision.unwrappedFrom, "eur01.safelinks.protection.outlook.com");
        EXPECT_EQ(decision.reason.kind(), paused ? Decision::Reason::Kind::paused : Decision::Reason::Kind::rule);
    }
}

TEST(RouterRules, FirstMatchWinsElseTheFallbackAndPauseOverridesRules) {
    RulesFile rules;
    rules.fallback = Target{"com.apple.Safari", std::nullopt};
    Rule off = rule("*", Match::any(), "com.off", "OFF");
    off.enabled = false;
    rules.rules = {off, off, rule("*", Match::domains({"example.com"}), "com.third", "THIRD"),
                   rule("*", Match::any(), "com.fourth", "FOURTH")};
    rules.rules[2].newWindow = true;

    auto decision = Router::decide(link("https://example.com/"), Source::unknown(), rules, false, {}, kNow);
    EXPECT_EQ(decision.reason, Decision::Reason::rule(2, "THIRD"));
    EXPECT_EQ(decision.target.app, "com.third");

    decision = Router::decide(link("https://example.com/"), Source::unknown(), rules, true, {}, kNow);
    EXPECT_EQ(decision, (Decision{link("https://example.com/"), rules.fallback, Decision::Reason::paused(), true, false,
                                  std::nullopt}));

    rules.rules.pop_back();
    decision = Router::decide(link("https://other.example/"), Source::unknown(), rules, false, {}, kNow);
    EXPECT_EQ(decision, (Decision{link("https://other.example/"), rules.fallback, Decision::Reason::fallback(), true,
                                  false, std::nullopt}));
    decision = Router::decide(link("https://other.example/"), Source::unknown(), RulesFile{}, false, {}, kNow);
    EXPECT_EQ(decision.reason, Decision::Reason::fallback());
    EXPECT_EQ(decision.target, kDefaultFallback);
}

TEST(LinkBatcherTest, OneSourceLessThanASecondApartIsOneBatch) {
    LinkBatcher batcher;
    const auto slack = Source::app("com.tinyspeck.slackmacgap");
    const auto mail = Source::app("com.apple.mail");
    EXPECT_EQ(batcher.add(slack, at(0.0)), 1);
    EXPECT_EQ(batcher.add(slack, at(0.9)), 1);
    EXPECT_EQ(batcher.add(slack, at(1.8)), 1);
    EXPECT_EQ(batcher.add(slack, at(2.7)), 1) << "the gap counts from the previous link";
    EXPECT_EQ(batcher.add(mail, at(2.8)), 2);
    EXPECT_EQ(batcher.add(slack, at(2.9)), 3);
    EXPECT_EQ(batcher.add(slack, at(3.9)), 4) << "a gap of exactly one second starts a new batch";
    EXPECT_EQ(batcher.add(slack, at(3.0)), 4) << "a clock step backwards stays in the batch";
    EXPECT_EQ(batcher.add(Source::unknown(), at(3.1)), 5);
    EXPECT_EQ(batcher.add(Source::unknown(), at(3.2)), 5);
    EXPECT_EQ(batcher.last, (LinkBatcher::Arrival{Source::unknown(), at(3.2)}));
}

}  // namespace
}  // namespace pivra
