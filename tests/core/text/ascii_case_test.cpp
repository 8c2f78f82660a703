#include "core/text/ascii_case.hpp"

#include <gtest/gtest.h>

namespace pivra {
namespace {

TEST(AsciiCase, OnlyAsciiLettersChangeAndEveryByteIsCompared) {
    EXPECT_EQ(lowerAscii("HTTPS://Ex-AMPLE.com/ÄÖ%2F@[Z]"), "https://ex-ample.com/ÄÖ%2f@[z]");
    const struct {
        std::string_view a, b;
        bool equal;
    } table[] = {
        {"Google.COM", "google.com", true}, {"utm_", "UTM_", true},  {"", "", true},
        {"google.co", "google.com", false}, {"a", "A ", false},      {"@", "`", false},  // the bytes before "A" and after "Z"
        {"[", "{", false},                  {"É", "é", false},       {"Z", "z", true},
    };
    for (const auto& [a, b, equal] : table) {
        EXPECT_EQ(equalsIgnoringAsciiCase(a, b), equal) << a << " / " << b;
        EXPECT_EQ(equalsIgnoringAsciiCase(b, a), equal) << b << " / " << a;
    }
}

}  // namespace
}  // namespace pivra
