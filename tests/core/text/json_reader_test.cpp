#include "core/text/json_reader.hpp"

#include <charconv>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace pivra {
namespace {

TEST(JsonReader, RefusesWhatIsNotExactlyOneFiniteDocumentAndSaysWhere) {
    const struct {
        std::string text;
        std::optional<JsonSyntaxError> error;
    } table[] = {
        {"{\"a\" : [1, 2.5, -3, 1e-999]}\n", std::nullopt},
        {" 42 ", std::nullopt},
        {std::string(512, '[') + std::string(512, ']'), std::nullopt},
        {std::string(513, '[') + std::string(513, ']'), JsonSyntaxError{512, false}},
        {"{\"a\" : 1e999}", JsonSyntaxError{12, false}},  // just past the number
        {"[-1E+400, 1]", JsonSyntaxError{8, false}},
        {"{} {}", JsonSyntaxError{3, false}},
        {"[1,]", JsonSyntaxError{3, false}},
        {"{\"a\" : tru}", JsonSyntaxError{7, false}},
        {"", JsonSyntaxError{0, true}},
        {"  \n", JsonSyntaxError{3, true}},
        {"{\"a\" : [1,", JsonSyntaxError{10, true}},
        {"\"open", JsonSyntaxError{5, true}},
    };
    for (const auto& [text, error] : table) {
        const auto document = parseJsonDocument(text);
        if (error) {
            ASSERT_FALSE(document.has_value()) << text;
            EXPECT_EQ(document.error(), *error) << text;
            EXPECT_EQ(parseJson(text), std::nullopt) << text;
        } else {
            EXPECT_TRUE(document.has_value()) << text;
            EXPECT_TRUE(parseJson(text).has_value()) << text;
        }
    }
}

TEST(JsonReader, NumbersOfEveryKindReadAsDoubles) {
    const auto document = parseJson("[1, -2, 18446744073709551615, 0.5, \"1\", null]");
    ASSERT_TRUE(document.has_value());
    const std::optional<double> numbers[] = {1.0, -2.0, 18446744073709551615.0, 0.5, std::nullopt, std::nullopt};
    for (std::size_t i = 0; i < std::size(numbers); ++i) EXPECT_EQ(jsonNumber(document->get_array()[i]), numbers[i]) << i;
}

TEST(JsonReader, DoublesReadBackExactlyAsTheirShortestFormWasWritten) {
    for (const double value : {1702102422.8416727, 1708945319.3644655, 2.5e-300, 0.1, -1e300, 5e-324}) {
        char text[32];
        const auto written = std::to_chars(text, text + sizeof text, value);
        const auto document = parseJson(std::string_view(text, static_cast<std::size_t>(written.ptr - text)));
        ASSERT_TRUE(document && document->is_double()) << text;
        EXPECT_EQ(document->get_double(), value) << std::string_view(text, static_cast<std::size_t>(written.ptr - text));
    }
}

}  // namespace
}  // namespace pivra
