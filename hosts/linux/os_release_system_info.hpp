#pragma once
// The Linux system as a support person names it: the distribution from
// os-release, the machine from the firmware's DMI table, each with the
// kernel's own answer (uname) where those are missing.

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include "app/ports/system_info.hpp"

namespace pivra {

// The variables of an os-release file: KEY=value lines, the value bare or in
// single or double quotes (a backslash in double quotes or a bare value takes
// the next character as it is); comments, blank and malformed lines skipped.
std::map<std::string, std::string, std::less<>> parseOsRelease(std::string_view text);

class OsReleaseSystemInfo final : public SystemInfo {
public:
    // `root`: where the system's files are read, "/" but in tests.
    explicit OsReleaseSystemInfo(std::filesystem::path root = "/") : root_(std::move(root)) {}

    // NAME of /etc/os-release (else /usr/lib/os-release), else "Linux".
    std::string systemName() const override;
    // VERSION_ID there, else the kernel's release ("6.1.0-21-amd64").
    std::string systemVersion() const override;
    // The DMI product name ("Precision 5570", "Standard PC (Q35 + ICH9, 2009)"),
    // else the machine's architecture ("x86_64").
    std::string machineModel() const override;

private:
    std::string osReleaseValue(std::string_view key) const;

    std::filesystem::path root_;
};

}  // namespace pivra
