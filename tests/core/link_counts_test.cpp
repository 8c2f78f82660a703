#include "core/link_counts.hpp"

#include <gtest/gtest.h>

namespace pivra {
namespace {

constexpr CalendarDay kDay{2026, 3, 14};

TEST(LinkCounts, FirstLinkOfADayCreatesItsMapAndASecondMakesTwo) {
    LinkCounts counts;
    counts.add("RULE-A", kDay);
    EXPECT_EQ(counts.days.at("2026-03-14").at("RULE-A"), 1);
    counts.add("RULE-A", kDay);
    counts.add(kFallbackCountKey, kDay);
    EXPECT_EQ(counts.days.at("2026-03-14").at("RULE-A"), 2);
    EXPECT_EQ(counts.days.at("2026-03-14").at("fallback"), 1);
}

TEST(LinkCounts, KeepsTheDayAndThe29BeforeItDropsOlder) {
    LinkCounts counts;
    counts.add("A", kDay.addingDays(-30));
    counts.add("A", kDay.addingDays(-29));
    counts.add("A", kDay.addingDays(-1));
    counts.add("B", kDay);
    ASSERT_EQ(counts.days.size(), 3u);
    EXPECT_FALSE(counts.days.contains(kDay.addingDays(-30).key()));
    EXPECT_TRUE(counts.days.contains(kDay.addingDays(-29).key()));
}

TEST(LinkCounts, PruningAlsoDropsStrayOldKeysReadFromAFile) {
    LinkCounts counts;
    counts.days["1999-01-01"]["A"] = 5;
    counts.days["2026-03-01"]["A"] = 1;
    counts.add("A", kDay);
    EXPECT_FALSE(counts.days.contains("1999-01-01"));
    EXPECT_TRUE(counts.days.contains("2026-03-01"));
}

TEST(LinkCounts, TotalsSumTheLastNDaysOnly) {
    LinkCounts counts;
    for (int back : {0, 0, 3, 6, 7, 20}) counts.days[kDay.addingDays(-back).key()]["A"] += 1;
    counts.days[kDay.key()]["fallback"] = 4;
    counts.days[kDay.addingDays(1).key()]["A"] = 100;  // a day after "today" is not in range

    const struct {
        int days;
        std::int64_t a;
    } cases[] = {{1, 2}, {7, 4}, {8, 5}, {30, 6}, {0, 0}};
    for (const auto& c : cases) {
        EXPECT_EQ(counts.total("A", kDay, c.days), c.a) << c.days << " days";
    }
    EXPECT_EQ(counts.totals(kDay, 7).at("fallback"), 4);
    EXPECT_EQ(counts.total("missing", kDay, 30), 0);
}

TEST(LinkCountsCoding, RoundTripsAndWritesTheSortedLayout) {
    LinkCounts counts;
    counts.days["2026-03-14"]["5D1C2E8A"] = 12;
    counts.days["2026-03-14"]["fallback"] = 3;
    const std::string text = LinkCountsCoding::encode(counts);
    EXPECT_EQ(text,
              "{\n"
              "  \"days\" : {\n"
              "    \"2026-03-14\" : {\n"
              "      \"5D1C2E8A\" : 12,\n"
              "      \"fallback\" : 3\n"
              "    }\n"
              "  }\n"
              "}");
    EXPECT_EQ(LinkCountsCoding::decode(text), counts);
    EXPECT_EQ(LinkCountsCoding::encode(LinkCounts{}), "{\n  \"days\" : {}\n}");
}

TEST(LinkCountsCoding, RefusesAnythingButTheExactShape) {
    for (const char* text : {"", "[]", "{}", "{\"days\":[]}", "{\"days\":{\"d\":[]}}",
                             "{\"days\":{\"d\":{\"k\":1.5}}}", "{\"days\":{\"d\":{\"k\":\"1\"}}}",
                             "{\"days\":{}} trailing", "{\"days\":{\"d\":{\"k\":1e999}}}"}) {
        EXPECT_FALSE(LinkCountsCoding::decode(text).has_value()) << text;
    }
    EXPECT_TRUE(LinkCountsCoding::decode("{\"days\":{},\"other\":true}").has_value());
}

TEST(LinkCountsCoding, HandEditedCountsStayWithinBounds) {
    auto counts = LinkCountsCoding::decode(
        R"({"days":{"2026-03-14":{"a":9223372036854775807,"b":-5},"2026-03-13":{"a":9223372036854775807}}})");
    ASSERT_TRUE(counts.has_value());
    EXPECT_EQ(counts->days["2026-03-14"]["a"], kMaxDayCount);
    EXPECT_EQ(counts->days["2026-03-14"]["b"], 0);
    const CalendarDay day{2026, 3, 14};
    counts->add("a", day);
    EXPECT_EQ(counts->days["2026-03-14"]["a"], kMaxDayCount) << "a full count stays full";
    EXPECT_EQ(counts->total("a", day, 30), 2 * kMaxDayCount);
}

}  // namespace
}  // namespace pivra
