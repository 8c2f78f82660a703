#pragma once
// The Mac's code-signature check, in the shape UpdateVerifier::verifyCopy takes.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>

namespace pivra::mac {

// Checks the bundle's static code against the requirement text, with every
// architecture, nested code and strict validation. Absent when it passes;
// else the status of the failing Security call (errSecParam when the path
// can't be made into a URL). Blocks: run it off the main thread.
std::optional<std::int32_t> checkCodeSignature(const std::filesystem::path& bundle, std::string_view requirement);

}  // namespace pivra::mac
