#pragma once
// Where Pivra keeps its files under a home folder: the Mac's one folder in
// Application Support, and on Linux the XDG base directories, configuration
// (rules, settings) apart from state (journal, counts).

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace pivra {

inline constexpr std::string_view kRulesFileName = "rules.json";
inline constexpr std::string_view kJournalFileName = "pivra-log.jsonl";
inline constexpr std::string_view kCountsFileName = "counts.json";
inline constexpr std::string_view kSettingsFileName = "settings.json";

// "<home>/Library/Application Support".
std::filesystem::path applicationSupportFolder(const std::filesystem::path& home);

// "<home>/Library/Application Support/Pivra", or "Pivra Debug" for a debug
// build of the app, so that a development copy never touches the user's rules.
std::filesystem::path dataFolder(const std::filesystem::path& home, bool debugBuild = false);

// An XDG base directory: the variable's value ($XDG_CONFIG_HOME, say) when it
// is an absolute path, else "<home>/<fallback>". A relative or empty value is
// no value: the XDG rules say to ignore it.
std::filesystem::path xdgBaseFolder(const std::optional<std::string>& variable, const std::filesystem::path& home,
                                    const std::filesystem::path& fallback);

// Linux: "pivra" in $XDG_CONFIG_HOME, else "<home>/.config/pivra": rules.json
// and settings.json.
std::filesystem::path configFolder(const std::filesystem::path& home, const std::optional<std::string>& xdgConfigHome);

// Linux: "pivra" in $XDG_STATE_HOME, else "<home>/.local/state/pivra": the
// journal and the counts, which the app writes as it goes.
std::filesystem::path stateFolder(const std::filesystem::path& home, const std::optional<std::string>& xdgStateHome);

}  // namespace pivra
