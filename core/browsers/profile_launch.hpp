#pragma once
// The command that opens a link in a given browser profile or a new window.

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <boost/url/url_view.hpp>

namespace pivra::ProfileLaunch {

// What to do instead of an ordinary open.
class Plan {
public:
    enum class Kind { open, refused, profileMissing };

    // Run "/usr/bin/open" with these arguments, in order (a Mac app bundle).
    static Plan open(std::vector<std::string> arguments) {
        return Plan(Kind::open, std::string(kOpenCommand), std::move(arguments), {}, false);
    }
    // Run the browser's own program with these arguments (a Linux desktop
    // entry). The program may stay running as the browser itself.
    static Plan run(std::string program, std::vector<std::string> arguments) {
        return Plan(Kind::open, std::move(program), std::move(arguments), {}, true);
    }
    // The request is malformed; the reason follows "Couldn’t open the profile: ".
    static Plan refused(std::string reason) { return Plan(Kind::refused, {}, {}, std::move(reason), false); }
    // The browser is known but the profile is not in its files.
    static Plan profileMissing() { return Plan(Kind::profileMissing, {}, {}, {}, false); }

    Kind kind() const { return kind_; }
    // For an open: the program to run, then its arguments.
    const std::string& program() const { return program_; }
    const std::vector<std::string>& arguments() const { return arguments_; }
    const std::string& reason() const { return reason_; }
    // True when the program is the browser itself rather than a launcher
    // that hands the link over and exits.
    bool startsBrowser() const { return startsBrowser_; }

    bool operator==(const Plan&) const = default;

    static constexpr std::string_view kOpenCommand = "/usr/bin/open";

private:
    Plan(Kind kind, std::string program, std::vector<std::string> arguments, std::string reason, bool startsBrowser)
        : kind_(kind),
          program_(std::move(program)),
          arguments_(std::move(arguments)),
          reason_(std::move(reason)),
          startsBrowser_(startsBrowser) {}
    Kind kind_;
    std::string program_;
    std::vector<std::string> arguments_;
    std::string reason_;
    bool startsBrowser_;
};

inline constexpr std::string_view kOpenCommand = Plan::kOpenCommand;

// Absent when nothing special is needed: open the link the ordinary way. Reads
// the browser's files under `home` (a folder test for Chromium, "profiles.ini"
// for Firefox) on every call, so a profile deleted since is noticed here.
//
// The layout of the browser's data folder picks the form (see `Browsers`): a
// Mac app is opened through "/usr/bin/open" and `appPath` is its ".app"
// bundle; a Linux package is run directly and `appPath` is its program, an
// absolute path to an executable that takes the browser's own options (for a
// Flatpak its exported launcher, for a Snap "/snap/bin/<name>"). The link is
// always the last argument, whole; no shell is involved.
std::optional<Plan> plan(boost::urls::url_view link, std::string_view bundleID,
                         const std::optional<std::string>& profile, std::string_view appPath, bool newWindow,
                         bool bringForward, const std::filesystem::path& home);

}  // namespace pivra::ProfileLaunch
