#include "core/activity/log_entry.hpp"

#include <gtest/gtest.h>

namespace pivra {
namespace {

// 2026-03-14 12:00:00.25 UTC.
const Instant kTime = instantFromReferenceSeconds(795182400.25);

TEST(LogEntryCoding, WritesOneCompactLineLeavingOutAbsentMembersAndReadsItBack) {
    EXPECT_EQ(LogEntryCoding::encode({kTime, "Picker shown", std::nullopt, std::nullopt}),
              R"({"t":795182400.25,"text":"Picker shown"})");
    EXPECT_EQ(LogEntryCoding::encode({kTime, "Link from “Mail” → rule", "example.com", "/a/b?q=\"x\"\n"}),
              R"({"t":795182400.25,"text":"Link from “Mail” → rule","host":"example.com","path":"/a/b?q=\"x\"\n"})");
    for (const LogEntry& entry : {LogEntry{kTime, "Link from “Mail” → fallback", "example.com", "/path"},
                                  LogEntry{instantFromReferenceSeconds(-5), "before 2001", std::nullopt, ""}}) {
        const auto decoded = LogEntryCoding::decode(LogEntryCoding::encode(entry));
        ASSERT_TRUE(decoded.has_value()) << entry.text;
        EXPECT_EQ(std::tie(decoded->text, decoded->host, decoded->path), std::tie(entry.text, entry.host, entry.path));
        EXPECT_NEAR(referenceSecondsFromInstant(decoded->t), referenceSecondsFromInstant(entry.t), 1e-6);
    }
    // Whole numbers, nulls and unknown members are read.
    const auto entry = LogEntryCoding::decode(R"({"text":"x","t":10,"host":null,"extra":[1]})");
    ASSERT_TRUE(entry.has_value());
    EXPECT_EQ(entry->t, instantFromReferenceSeconds(10));
    EXPECT_FALSE(entry->host.has_value());
}

TEST(LogEntryCoding, BadUtf8IsWrittenAsReplacementCharactersSoTheLineStaysReadable) {
    for (const std::string piece : {"\xFF", "\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80"}) {
        const std::string text = "a" + piece + "b\xC3\xA9";
        const auto decoded = LogEntryCoding::decode(LogEntryCoding::encode({kTime, text, std::nullopt, std::nullopt}));
        ASSERT_TRUE(decoded.has_value()) << text;
        EXPECT_EQ(decoded->text.substr(0, 4), "a\xEF\xBF\xBD") << text;
        EXPECT_TRUE(decoded->text.ends_with("b\xC3\xA9")) << text;
    }
}

TEST(LogEntryCoding, SkipsLinesThatAreNotEntries) {
    for (const char* line : {"", "{", R"({"t":1,"text":"cut off)", "[]", R"({"text":"no time"})",
                             R"({"t":"1","text":"x"})", R"({"t":1})", R"({"t":1,"text":5})",
                             R"({"t":1,"text":"x","host":3})", R"({"t":1e300,"text":"x"})", R"({"t":8.5e9,"text":"x"})",
                             R"({"t":-8.5e9,"text":"x"})", R"({"t":1,"text":"x"} {"t":2,"text":"y"})"}) {
        EXPECT_FALSE(LogEntryCoding::decode(line).has_value()) << line;
    }
}

TEST(LogLine, ShowsTheUtcTimeTextHostAndPathOnlyWhenAsked) {
    const LogEntry entry{kTime, "Link from com.apple.mail", "example.com", "/a?b=1"};
    EXPECT_EQ(formatLogLine(entry, false), "2026-03-14T12:00:00Z Link from com.apple.mail example.com");
    EXPECT_EQ(formatLogLine(entry, true), "2026-03-14T12:00:00Z Link from com.apple.mail example.com/a?b=1");
    EXPECT_EQ(formatLogLine({kTime, "Picker shown", std::nullopt, "/ignored"}, true),
              "2026-03-14T12:00:00Z Picker shown");
    EXPECT_EQ(formatLogLine({instantFromReferenceSeconds(-0.5), "x", std::nullopt, std::nullopt}, false),
              "2000-12-31T23:59:59Z x");
}

}  // namespace
}  // namespace pivra
