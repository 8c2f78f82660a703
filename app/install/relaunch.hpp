#pragma once
// Starting a new copy of the app once this one has ended: after a move into
// Applications, and after an update. The only shell the app ever runs.

#include <filesystem>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "app/ports/launcher.hpp"

namespace pivra {

// The program that opens an app bundle on a Mac.
inline constexpr std::string_view kMacOpener = "/usr/bin/open";

// Three lines for /bin/sh, with "$1" the process to wait for, "$2" the new
// copy, "$3" a volume to eject or nothing: wait until the process has ended
// (polling every 0.2 s), open the new copy with `opener`, then try up to five
// times, a second apart, to detach the volume.
std::string relaunchScript(std::string_view opener = kMacOpener);

// The request that runs the script for `waitFor`, `newCopy` and
// `volumeToEject` (empty: none), with nothing to read and its output
// discarded. It outlives this process: it is left running at once.
LaunchRequest relaunchRequest(pid_t waitFor, const std::filesystem::path& newCopy, std::string_view volumeToEject,
                              std::string_view opener = kMacOpener);

}  // namespace pivra
