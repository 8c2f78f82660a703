#pragma once
// Opening at login as the desktops do it: an XDG autostart entry
// "<app id>.desktop" in the user's autostart folder. A system-wide entry of the
// same name (a package's, in /etc/xdg/autostart) counts too, and the user's
// entry, when there is one, overrides it.

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "app/ports/login_item.hpp"

namespace pivra {

class AutostartLoginItem final : public LoginItem {
public:
    // `userFolder` is written to; `systemFolders` are only read, the most
    // important first. The entry runs `program` with the argument "run"; it
    // cannot be enabled without a program, nor for one whose path is not UTF-8
    // or holds a "%", which the desktops' own readers could not run.
    AutostartLoginItem(std::filesystem::path userFolder, std::vector<std::filesystem::path> systemFolders,
                       std::filesystem::path program, std::string_view appId);

    // The user's entry decides when there is one, else the first system
    // entry: on unless Hidden=true or X-GNOME-Autostart-enabled=false. An
    // entry that cannot be read or is no key file counts as off.
    bool isEnabled() const override;

    // On: writes the user's entry (Type, Name, Exec, X-GNOME-Autostart-enabled),
    // keeping what else a readable one held. Off: removes it, or, where a
    // system entry would start the app, writes one with Hidden=true that masks
    // it. Writes are atomic: a failure leaves the entry as it was.
    bool setEnabled(bool enabled) override;

    // $XDG_CONFIG_HOME/autostart, else ~/.config/autostart.
    static std::filesystem::path userAutostartFolder();
    // "autostart" in each of $XDG_CONFIG_DIRS, else /etc/xdg/autostart.
    static std::vector<std::filesystem::path> systemAutostartFolders();

    const std::filesystem::path& userEntry() const { return userEntry_; }

private:
    std::filesystem::path userEntry_;
    std::vector<std::filesystem::path> systemEntries_;
    std::filesystem::path program_;
};

// One argument of a desktop entry's Exec line: as it is when it holds no
// character the line reserves, else in double quotes with '"', '`', '$' and
// '\' escaped; '%' is doubled either way, since a single one starts a field
// code. The key file's own escapes come on top when the line is written.
std::string execArgument(std::string_view argument);

}  // namespace pivra
