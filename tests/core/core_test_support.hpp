#pragma once
// Small builders shared by the core's tests.

#include <cctype>
#include <cstdio>
#include <string>
#include <string_view>

#include <boost/url/url.hpp>
#include <gtest/gtest.h>

#include "core/routing/link.hpp"
#include "core/rules/rules_file.hpp"

namespace pivra::testing_support {

inline boost::urls::url link(std::string_view text) {
    auto parsed = parseLink(text);
    EXPECT_TRUE(parsed.has_value()) << "not a link: " << text;
    return parsed.value_or(boost::urls::url("https://invalid.invalid/"));
}

inline Rule rule(std::string from, Match match, std::string app = "com.google.Chrome", std::string id = "") {
    Rule result;
    result.id = std::move(id);
    result.from = std::move(from);
    result.match = std::move(match);
    result.open = Target{std::move(app), std::nullopt};
    return result;
}

// Percent-encodes every byte but the unreserved ones, as a query value.
inline std::string encodeComponent(std::string_view text) {
    std::string out;
    for (unsigned char c : text) {
        char buffer[4];
        std::snprintf(buffer, sizeof buffer, "%%%02X", c);
        out += std::isalnum(c) || c == '-' || c == '.' || c == '_' || c == '~' ? std::string(1, char(c)) : buffer;
    }
    return out;
}

}  // namespace pivra::testing_support
