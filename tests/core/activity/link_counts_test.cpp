#include "core/activity/link_counts.hpp"

#include <gtest/gtest.h>

namespace pivra {
namespace {

constexpr CalendarDay kDay{2026, 3, 14};

TEST(LinkCounts, AddsPerDayAndKeepsOnlyTheDayAndThe29BeforeIt) {
    LinkCounts counts;
    counts.days["1999-01-01"]["A"] = 5;  // a stray old key read from a file
    counts.add("A", kDay.addingDays(-30));
    counts.add("A", kDay.addingDays(-29));
    counts.add("RULE-A", kDay);
    counts.add("RULE-A", kDay);
    counts.add(kFallbackCountKey, kDay);
    EXPECT_EQ(counts.days, (std::map<std::string, std::map<std::string, std::int64_t>>{
                               {"2026-02-13", {{"A", 1}}}, {"2026-03-14", {{"RULE-A", 2}, {"fallback", 1}}}}));
}

TEST(LinkCounts, MergeAddsEveryCountCapsEachDayAndKeepsThe30DaysEndingToday) {
    using Days = std::map<std::string, std::map<std::string, std::int64_t>>;
    const std::string today = kDay.key();
    const std::string oldest = kDay.addingDays(-29).key();
    const std::string tooOld = kDay.addingDays(-30).key();
    const struct {
        const char* what;
        Days onDisk;
        Days increments;
        Days merged;
    } cases[] = {
        {"into nothing", {}, {{today, {{"A", 2}}}}, {{today, {{"A", 2}}}}},
        {"same key and day add up", {{today, {{"A", 3}}}}, {{today, {{"A", 2}}}}, {{today, {{"A", 5}}}}},
        {"other keys and days are kept", {{oldest, {{"B", 1}}}, {today, {{"A", 1}}}}, {{today, {{"C", 4}}}},
         {{oldest, {{"B", 1}}}, {today, {{"A", 1}, {"C", 4}}}}},
        {"days before the 30 go, on either side", {{tooOld, {{"A", 9}}}}, {{tooOld, {{"B", 1}}}, {today, {{"A", 1}}}},
         {{today, {{"A", 1}}}}},
        {"a day's count stops at the maximum", {{today, {{"A", kMaxDayCount - 1}}}}, {{today, {{"A", 5}}}},
         {{today, {{"A", kMaxDayCount}}}}},
        {"nothing to add", {{today, {{"A", 1}}}}, {}, {{today, {{"A", 1}}}}},
    };
    for (const auto& c : cases) {
        LinkCounts counts{c.onDisk};
        counts.merge(LinkCounts{c.increments}, kDay);
        EXPECT_EQ(counts.days, c.merged) << c.what;
    }
}

TEST(LinkCounts, TotalsSumTheLastNDaysOnly) {
    LinkCounts counts;
    for (int back : {0, 0, 3, 6, 7, 20}) counts.days[kDay.addingDays(-back).key()]["A"] += 1;
    counts.days[kDay.key()]["fallback"] = 4;
    counts.days[kDay.addingDays(1).key()]["A"] = 100;  // a day after "today" is not in range
    for (const auto& [days, total] : {std::pair{1, 2}, {7, 4}, {8, 5}, {30, 6}, {0, 0}}) {
        EXPECT_EQ(counts.total("A", kDay, days), total) << days << " days";
    }
    EXPECT_EQ(counts.totals(kDay, 7).at("fallback"), 4);
    EXPECT_EQ(counts.total("missing", kDay, 30), 0);
}

TEST(LinkCountsCoding, RoundTripsAndWritesTheSortedLayout) {
    LinkCounts counts;
    counts.days["2026-03-14"]["fallback"] = 3;
    counts.days["2026-03-14"]["5D1C2E8A"] = 12;
    const std::string text = LinkCountsCoding::encode(counts);
    EXPECT_EQ(text,
              "{\n  \"days\" : {\n    \"2026-03-14\" : {\n      \"5D1C2E8A\" : 12,\n      \"fallback\" : 3\n    }\n  }\n}");
    EXPECT_EQ(LinkCountsCoding::decode(text), counts);
    EXPECT_EQ(LinkCountsCoding::encode(LinkCounts{}), "{\n  \"days\" : {}\n}");
}

TEST(LinkCountsCoding, RefusesAnythingButTheExactShapeAndBoundsHandEditedCounts) {
    for (const char* text : {"", "[]", "{}", "{\"days\":[]}", "{\"days\":{\"d\":[]}}",
                             "{\"days\":{\"d\":{\"k\":1.5}}}", "{\"days\":{\"d\":{\"k\":\"1\"}}}",
                             "{\"days\":{}} trailing", "{\"days\":{\"d\":{\"k\":1e999}}}"}) {
        EXPECT_FALSE(LinkCountsCoding::decode(text).has_value()) << text;
    }
    EXPECT_TRUE(LinkCountsCoding::decode("{\"days\":{},\"other\":true}").has_value());

    auto counts = LinkCountsCoding::decode(
        R"({"days":{"2026-03-14":{"a":9223372036854775807,"b":-5},"2026-03-13":{"a":9223372036854775807}}})");
    ASSERT_TRUE(counts.has_value());
    EXPECT_EQ(counts->days["2026-03-14"]["a"], kMaxDayCount);
    EXPECT_EQ(counts->days["2026-03-14"]["b"], 0);
    counts->add("a", kDay);
    EXPECT_EQ(counts->days["2026-03-14"]["a"], kMaxDayCount) << "a full count stays full";
    EXPECT_EQ(counts->total("a", kDay, 30), 2 * kMaxDayCount);
}

}  // namespace
}  // namespace pivra
