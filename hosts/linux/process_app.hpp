#pragma once
// Telling which desktop app a process belongs to from what Linux shows of it:
// the systemd unit the desktop started it in, and the program it runs. Pure
// functions over text; GioWorkspace reads /proc and asks GIO what is installed.

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pivra {

// The innermost systemd unit (the last ".scope" or ".service" of the path) in
// the text of a /proc/<pid>/cgroup file: from the unified hierarchy's
// "0::<path>" line, else from systemd's own "name=systemd" hierarchy (cgroup v1).
// Absent when neither path holds a unit (a process outside systemd, in a
// container's root).
std::optional<std::string> unitNameFromCgroup(std::string_view cgroupText);

// The desktop-file ids (without ".desktop") that the name of an app's unit can
// stand for, most likely first, each once; empty for units that are not an
// app's ("session-2.scope", "user@1000.service", "vte-spawn-….scope").
//
// Desktops name them "app-[<launcher>-]<id>-<random>.scope" and
// "app-[<launcher>-]<id>[@<random>].service" (older ones also
// "app-<launcher>-<id>-<random>.service"), with systemd's escapes ("\x2d" for
// "-") in the id. Launchers that do not escape leave a "-" of the id as it is,
// so where the launcher ends and the id begins is a guess: a one-word launcher
// is tried first, then longer ones, then none. A service without "@" is read
// first as having no random part, then as the older form; one that ends in
// "-autostart" (gnome-session's autostarted apps) first without that part.
std::vector<std::string> desktopIdCandidates(std::string_view unitName);

// The first of the unit name's candidate ids that `isInstalled` accepts;
// absent when none is.
std::optional<std::string> desktopIdFromUnitName(std::string_view unitName,
                                                 const std::function<bool(const std::string&)>& isInstalled);

// Whether `program` (a path or a file name) only starts or interprets other
// programs: a shell, an opener (xdg-open, gio, kde-open), a wrapper (env,
// flatpak, nohup) or a script interpreter (python3.11, perl). Such a process
// says nothing of which app it serves, and a desktop entry that runs one cannot
// be told from the others that do. Trailing version digits are ignored.
bool isLauncherLayer(std::string_view program);

}  // namespace pivra
