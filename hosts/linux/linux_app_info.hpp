#pragma once
// The Linux app's identity: its D-Bus and desktop-file name, the release it
// was built as, and the program that runs.

#include "app/ports/app_info.hpp"
#include "app/ports/keyboard.hpp"

namespace pivra {

inline constexpr const char* kAppIdentifier = "app.omra.pivra";

class LinuxAppInfo final : public AppInfo {
public:
    std::string identifier() const override { return kAppIdentifier; }
    std::string version() const override;
    std::string build() const override;
    // /proc/self/exe, resolved.
    std::filesystem::path location() const override;
    std::string machineNoun() const override { return "computer"; }
};

// Without a window of its own, a Linux process cannot read the keyboard's
// modifiers (X11 and Wayland tell only the focused window): none are held.
class NoKeyboard final : public Keyboard {
public:
    ModifierKeys modifiers() const override { return {}; }
};

}  // namespace pivra
