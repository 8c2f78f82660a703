#include "core/routing/router.hpp"

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
    file.rules = {rule("*", Match::domains({"example.com"}), "com.google.Chrome", "R0")};
    file.rules[0].open.profile = "Work";
    file.rules[0].bringForward = false;
    file.rules[0].newWindow = true;
    return file;
}

TEST(RouterLoopGuard, SendsALinkBackToTheAppItJustCameFrom) {
    const RulesFile rules = exampleRules();
    const auto chrome = Source::app("com.google.Chrome");
    const std::string text = "https://www.google.com/url?q=https://example.com/?utm_source=x";
    const std::vector<RecentOpen> recent{{"com.apple.Safari", at(-0.5)}, {"com.google.Chrome", at(-1.5)}};
    for (bool paused : {false, true}) {
        EXPECT_EQ(Router::decide(link(text), chrome, rules, paused, recent, kNow),
                  (Decision{link(text), Target{"com.google.Chrome", std::nullopt}, Decision::Reason::loopGuard(), true,
                            false, std::nullopt}));
    }
    // The window is [0, 2) seconds; an open dated in the future is passed over; bundle ids compare exactly.
    for (const auto& [openedAgo, source, guarded] : std::vector<std::tuple<double, Source, bool>>{
             {0.0, chrome, true}, {1.999, chrome, true}, {2.0, chrome, false}, {-0.1, chrome, false},
             {1.0, Source::unknown(), false}, {1.0, Source::app("com.google.chrome"), false}}) {
        const auto kind = Router::decide(link(text), source, rules, false, {{"com.google.Chrome", at(-openedAgo)}}, kNow)
                              .reason.kind();
        EXPECT_EQ(kind, guarded ? Decision::Reason::Kind::loopGuard : Decision::Reason::Kind::rule) << openedAgo;
    }
    // A stale entry for the same app does not end the walk.
    const std::vector<RecentOpen> staleFirst{{"com.google.Chrome", at(-5.0)}, {"com.google.Chrome", at(-0.2)}};
    EXPECT_EQ(Router::decide(link(text), chrome, rules, false, staleFirst, kNow).reason.kind(),
              Decision::Reason::Kind::loopGuard);
}

TEST(RouterCleaning, UnwrapsAlwaysAndStripsOnlyWhenCleaningIsOn) {
    RulesFile rules = exampleRules();
    const std::string text = "https://www.google.com/url?q=https://example.com/?utm_source=x%26id=1";
    EXPECT_EQ(Router::decide(link(text), Source::unknown(), rules, false, {}, kNow),
              (Decision{link("https://example.com/?id=1"), Target{"com.google.Chrome", "Work"},
                        Decision::Reason::rule(0, "R0"), false, true, "www.google.com"}));
    rules.cleanLinks = false;
    const auto decision = Router::decide(link(text), Source::unknown(), rules, false, {}, kNow);
    EXPECT_EQ(decision.url.buffer(), "https://example.com/?utm_source=x&id=1");
    EXPECT_EQ(decision.unwrappedFrom, "www.google.com");

    // A scanner's link is routed by its destination but opened wrapped, paused or not.
    const std::string scanned =
        "https://eur01.safelinks.protection.outlook.com/?url=https%3A%2F%2Fdocs.example.com%2Fx%3Futm_source%3Dm&data=1";
    for (bool paused : {false, true}) {
        const auto wrapped = Router::decide(link(scanned), Source::unknown(), exampleRules(), paused, {}, kNow);
        EXPECT_EQ(wrapped.url.buffer(), scanned);
        EXPECT_EQ(wrapped.unwrappedFrom, "eur01.safelinks.protection.outlook.com");
        EXPECT_EQ(wrapped.reason.kind(), paused ? Decision::Reason::Kind::paused : Decision::Reason::Kind::rule);
    }
}

TEST(RouterRules, FirstMatchWinsElseTheFallbackAndPauseOverridesRules) {
    RulesFile rules;
    rules.fallback = Target{"com.apple.Safari", std::nullopt};
    Rule off = rule("*", Match::any(), "com.off", "OFF");
    off.enabled = false;
    rules.rules = {off, off, rule("*", Match::domains({"example.com"}), "com.third", "THIRD"),
                   rule("*", Match::any(), "com.fourth", "FOURTH")};
    rules.rules[2].newWindow = true;  // a paused or fallback decision takes none of a rule's settings
    const auto decide = [&](const char* text, bool paused = false) {
        return Router::decide(link(text), Source::unknown(), rules, paused, {}, kNow);
    };
    EXPECT_EQ(decide("https://example.com/").reason, Decision::Reason::rule(2, "THIRD"));
    EXPECT_EQ(decide("https://example.com/").target.app, "com.third");
    EXPECT_EQ(decide("https://example.com/", true), (Decision{link("https://example.com/"), rules.fallback,
                                                              Decision::Reason::paused(), true, false, std::nullopt}));
    rules.rules.pop_back();
    EXPECT_EQ(decide("https://other.example/"), (Decision{link("https://other.example/"), rules.fallback,
                                                          Decision::Reason::fallback(), true, false, std::nullopt}));
    rules = RulesFile{};
    EXPECT_EQ(decide("https://other.example/"), (Decision{link("https://other.example/"), kDefaultFallback,
                                                          Decision::Reason::fallback(), true, false, std::nullopt}));
}

TEST(LinkBatcherTest, OneSourceLessThanASecondApartIsOneBatch) {
    LinkBatcher batcher;
    const auto slack = Source::app("com.tinyspeck.slackmacgap");
    // The gap counts from the previous link; a gap of exactly one second starts a new batch; a clock step
    // backwards stays in the batch.
    const std::tuple<Source, double, int> arrivals[] = {
        {slack, 0.0, 1}, {slack, 0.9, 1}, {slack, 1.8, 1}, {slack, 2.7, 1}, {Source::app("com.apple.mail"), 2.8, 2},
        {slack, 2.9, 3}, {slack, 3.9, 4}, {slack, 3.0, 4}, {Source::unknown(), 3.1, 5}, {Source::unknown(), 3.2, 5}};
    for (const auto& [source, time, batch] : arrivals) EXPECT_EQ(batcher.add(source, at(time)), batch) << time;
    EXPECT_EQ(batcher.last, (LinkBatcher::Arrival{Source::unknown(), at(3.2)}));
}

}  // namespace
}  // namespace pivra
