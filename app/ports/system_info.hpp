#pragma once
// The operating system and the machine the app runs on, as a support person reads them.

#include <string>

namespace pivra {

class SystemInfo {
public:
    virtual ~SystemInfo() = default;

    // The system's name as people read it: "macOS"; on Linux the
    // distribution's NAME from os-release ("Debian GNU/Linux"), else "Linux".
    virtual std::string systemName() const = 0;
    // "14.5" or "15.0.1" on a Mac (the process information's operating-system
    // version); on Linux the os-release VERSION_ID, else the kernel release.
    // Empty where unknown.
    virtual std::string systemVersion() const = 0;
    // The machine's model: the kernel variable "hw.model" on a Mac
    // ("Mac14,2"); on Linux the DMI product name, else the machine
    // architecture ("x86_64"). Empty where unknown.
    virtual std::string machineModel() const = 0;
};

}  // namespace pivra
