#pragma once
// Reading and writing the rules file, and the one error that reading reports.

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>

#include "core/rules/rules_file.hpp"

namespace pivra {

// Why a rules file could not be read, in words for the person editing it.
struct RulesFileError {
    std::optional<int> line;  // 1-based; only syntax errors have one
    std::string message;

    bool operator==(const RulesFileError&) const = default;
};

// A rules file larger than this is refused unread: at some 400 bytes a
// rule, it would hold tens of thousands of rules.
inline constexpr std::uintmax_t kMaxRulesFileSize = 16u << 20;

namespace RulesCoding {

// The file's bytes in Pivra's exact layout. Never fails: should writing fail,
// the result is "{}".
std::string encode(const RulesFile& file);

// Reads a rules file strictly: wrong types are errors, unknown members are
// ignored, missing members take their defaults. The first error rejects the
// whole file.
std::expected<RulesFile, RulesFileError> decode(std::string_view bytes);

}  // namespace RulesCoding
}  // namespace pivra
