#pragma once
// Checking the code signature of an app bundle, in the shape that
// UpdateVerifier::verifyCopy takes.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>

namespace pivra {

// The status of a bundle that carries no signature at all (errSecCSUnsigned).
inline constexpr std::int32_t kUnsignedCodeStatus = -67062;

class CodeSigning {
public:
    virtual ~CodeSigning() = default;

    // Checks the bundle at `bundle` against the designated requirement
    // `requirement` (its text), every architecture and nested code included,
    // strictly. Absent when the signature satisfies it; else the status of
    // the failing code-signing call. Blocks, and may be called from any
    // thread: call it off the main thread. Where the platform has no code
    // signing, every bundle is unsigned (kUnsignedCodeStatus).
    virtual std::optional<std::int32_t> check(const std::filesystem::path& bundle,
                                              std::string_view requirement) const = 0;
};

}  // namespace pivra
