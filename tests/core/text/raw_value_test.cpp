#include "core/text/raw_value.hpp"

#include <gtest/gtest.h>

namespace pivra {
namespace {

BOOST_DEFINE_ENUM_CLASS(Sample, first, second, notFrom)

TEST(RawValue, EveryCaseRoundTripsAndNothingElseReads) {
    static_assert(enumCases<Sample>() == std::array{Sample::first, Sample::second, Sample::notFrom});
    static_assert(rawValue(Sample::notFrom) == "notFrom");
    for (const Sample value : enumCases<Sample>()) EXPECT_EQ(fromRawValue<Sample>(rawValue(value)), value);
    using namespace std::string_view_literals;
    for (const std::string_view raw : {""sv, "First"sv, "first "sv, "firs"sv, "firstt"sv, "notfrom"sv, "first\0"sv}) {
        EXPECT_EQ(fromRawValue<Sample>(raw), std::nullopt) << raw;
    }
    EXPECT_EQ(rawValue(static_cast<Sample>(7)), "");
}

}  // namespace
}  // namespace pivra
