#include "hosts/linux/proc_processes.hpp"

#include <charconv>
#include <string>

#include "core/files/small_file.hpp"

namespace pivra {

std::optional<pid_t> parentFromStat(std::string_view stat) {
    // "<pid> (<comm>) <state> <ppid> ...": the name ends at the last ")".
    const auto close = stat.rfind(')');
    if (close == std::string_view::npos || stat.find('(') == std::string_view::npos) return std::nullopt;
    std::string_view rest = stat.substr(close + 1);
    // " S 1234 ..."
    if (rest.size() < 4 || rest[0] != ' ' || rest[2] != ' ') return std::nullopt;
    rest.remove_prefix(3);
    pid_t parent = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), parent);
    if (error != std::errc() || end == rest.data() || parent < 0) return std::nullopt;
    if (end != rest.data() + rest.size() && *end != ' ') return std::nullopt;
    return parent;
}

std::optional<pid_t> ProcProcesses::parent(pid_t pid) const {
    if (pid <= 0) return std::nullopt;
    // A stat line is a few hundred bytes; the name is at most 64.
    const auto text = readSmallFile(procRoot_ / std::to_string(pid) / "stat", 4096);
    if (!text) return std::nullopt;
    return parentFromStat(*text);
}

}  // namespace pivra
