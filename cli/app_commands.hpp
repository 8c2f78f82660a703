#pragma once
// The part of `pivra watch` that runs on a host, apart from the command line,
// so that tests can drive it with a host and stop it.

#include <filesystem>
#include <functional>
#include <ostream>

#include "app/model/app_model.hpp"
#include "app/ports/host.hpp"

namespace pivra::cli {

// Runs the app's rules store on `host` for the rules in `folders.data` and prints
// one line per load: "Rules loaded: N" or "Rules not loaded: " + the error
// (with `json`: {"loaded":N} or {"error":"...","line":N|null}). After each
// line, `keepGoing` (when given) is asked with the number of lines so far;
// false stops the host. Returns when the host stops.
void watchRules(Host& host, const ModelFolders& folders, bool json, std::ostream& out,
                const std::function<bool(int)>& keepGoing = {});

}  // namespace pivra::cli
