// Plain C++ on the BSD layer; an .mm only so that the Mac host's Objective-C
// flags apply to every one of its files alike.
#include "hosts/mac/mac_ports.hpp"

#include <cstddef>
#include <iterator>

#include <sys/sysctl.h>
#include <sys/types.h>

namespace pivra {

std::optional<pid_t> SysctlProcesses::parent(pid_t pid) const {
    // 0 is the kernel's own task and negative ids name process groups: none
    // is a process whose parent tells anything.
    if (pid <= 0) return std::nullopt;
    int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_PID, pid};
    struct kinfo_proc info {};
    std::size_t size = sizeof info;
    if (sysctl(name, static_cast<u_int>(std::size(name)), &info, &size, nullptr, 0) != 0) return std::nullopt;
    // A process that is gone comes back as success with no entry (size 0).
    if (size < sizeof info || info.kp_proc.p_pid != pid) return std::nullopt;
    return info.kp_eproc.e_ppid;
}

}  // namespace pivra
