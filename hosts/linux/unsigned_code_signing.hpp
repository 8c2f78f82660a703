#pragma once
// Linux has no code signatures for app bundles: every bundle reads as
// unsigned, so no downloaded copy ever passes the update's checks here.

#include "app/ports/code_signing.hpp"

namespace pivra {

class UnsignedCodeSigning final : public CodeSigning {
public:
    std::optional<std::int32_t> check(const std::filesystem::path&, std::string_view) const override {
        return kUnsignedCodeStatus;
    }
};

}  // namespace pivra
