#include "core/rules/rules_file.hpp"

#include <algorithm>
#include <array>
#include <random>

#include "core/text/ascii_case.hpp"
#include "core/text/unicode_text.hpp"

namespace pivra {

Match::Match(Kind kind, std::vector<std::string> values) : kind_(kind), values_(std::move(values)) {
    if (kind_ == Kind::patterns) {
        patternKeys_.reserve(values_.size());
        for (const auto& value : values_) {
            std::string key = isAsciiText(value) ? lowerAscii(value) : lowerCaseText(value);
            patternKeys_.push_back(isAsciiText(key) ? std::optional<std::string>(std::move(key)) : std::nullopt);
        }
        return;
    }
    if (kind_ != Kind::domains) return;
    domainKeys_.reserve(values_.size());
    for (const auto& value : values_) {
        // Nearly every entry is ASCII: lower it in the one copy that is kept.
        const bool ascii = isAsciiText(value);
        const std::string lowered = ascii ? std::string() : lowerCaseText(value);
        const std::string_view text = ascii ? std::string_view(value) : std::string_view(lowered);
        const auto first = text.find_first_not_of(". ");
        if (first == std::string_view::npos) continue;
        std::string key(text.substr(first, text.find_last_not_of(". ") - first + 1));
        if (ascii) lowerAsciiInPlace(key);
        domainKeys_.push_back(std::move(key));
    }
}

std::string makeRuleId() {
    // random_device alone is the randomness source; no generator state outlives the call.
    std::random_device device;
    const auto word = [&] { return static_cast<std::uint64_t>(device()); };
    return uuidFromBits((word() << 32) | word(), (word() << 32) | word());
}

std::string uuidFromBits(std::uint64_t high, std::uint64_t low) {
    std::array<unsigned char, 16> bytes{};
    for (std::size_t i = 0; i < 8; ++i) {
        bytes[i] = static_cast<unsigned char>(high >> (56 - 8 * i));
        bytes[8 + i] = static_cast<unsigned char>(low >> (56 - 8 * i));
    }
    bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40);  // version 4
    bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant

    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string id;
    id.reserve(36);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) id.push_back('-');
        id.push_back(kHex[bytes[i] >> 4]);
        id.push_back(kHex[bytes[i] & 0x0F]);
    }
    return id;
}

bool fillInMissingIds(RulesFile& file, const std::function<std::string()>& newId) {
    bool changed = false;
    for (auto& rule : file.rules) {
        if (rule.id.empty()) {
            rule.id = newId();
            changed = true;
        }
    }
    return changed;
}

}  // namespace pivra
