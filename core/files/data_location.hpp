#pragma once
// Where Pivra keeps its files under a home folder, in the Mac's layout.

#include <filesystem>
#include <string_view>

namespace pivra {

inline constexpr std::string_view kRulesFileName = "rules.json";
inline constexpr std::string_view kJournalFileName = "pivra-log.jsonl";
inline constexpr std::string_view kCountsFileName = "counts.json";

// "<home>/Library/Application Support".
std::filesystem::path applicationSupportFolder(const std::filesystem::path& home);

// "<home>/Library/Application Support/Pivra", or "Pivra Debug" for a debug
// build of the app, so that a development copy never touches the user's rules.
std::filesystem::path dataFolder(const std::filesystem::path& home, bool debugBuild = false);

}  // namespace pivra
