#pragma once
// The part of `pivra watch` that runs on a host, apart from the command line,
// so that tests can drive it with a host and stop it.

#include <filesystem>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "app/model/app_model.hpp"
#include "app/ports/host.hpp"

namespace pivra::cli {

// Runs the app's rules store on `host` for the rules in `folders.config` and prints
// one line per load: "Rules loaded: N" or "Rules not loaded: " + the error
// (with `json`: {"loaded":N} or {"error":"...","line":N|null}). After each
// line, `keepGoing` (when given) is asked with the number of lines so far;
// false stops the host. Returns when the host stops. A rules file created
// because there was none falls back to what `newFallback` chooses (unset: the
// built-in default).
void watchRules(Host& host, const ModelFolders& folders, bool json, std::ostream& out,
                const std::function<bool(int)>& keepGoing = {}, std::function<Target()> newFallback = {});

// The fallback for a rules file that the app creates on this system: on Linux
// the browser that was the default before Pivra (settings' "previousDefaults"),
// else the default now, else the first browser found; on a Mac none (the
// built-in default). Uses `ports` when called; they must outlive it.
std::function<Target()> newRulesFallback(Ports ports);

// How handing links to the running app went.
struct AppHandOver {
    enum class Kind {
        taken,  // the app has them
        noApp,  // no app to hand them to (none running or startable, no session bus, a Mac)
        failed, // the app was asked but did not take them: `error` says why
    };
    Kind kind;
    std::string error;
};

// Hands `links` (texts already checked to be web links) that came from
// `source` to the running app, which the system starts when it is installed
// but not running; without a source the app finds it from the calling
// process and its parents. Waits for the app's answer. Call with a host made.
AppHandOver handOverToApp(const std::vector<std::string>& links, const std::optional<Source>& source);

}  // namespace pivra::cli
