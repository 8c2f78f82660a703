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

    // Run "/usr/bin/open" with these arguments, in order.
    static Plan open(std::vector<std::string> arguments) { return Plan(Kind::open, std::move(arguments), {}); }
    // The request is malformed; the reason follows "Couldn’t open the profile: ".
    static Plan refused(std::string reason) { return Plan(Kind::refused, {}, std::move(reason)); }
    // The browser is known but the profile is not in its files.
    static Plan profileMissing() { return Plan(Kind::profileMissing, {}, {}); }

    Kind kind() const { return kind_; }
    const std::vector<std::string>& arguments() const { return arguments_; }
    const std::string& reason() const { return reason_; }

    bool operator==(const Plan&) const = default;

private:
    Plan(Kind kind, std::vector<std::string> arguments, std::string reason)
        : kind_(kind), arguments_(std::move(arguments)), reason_(std::move(reason)) {}
    Kind kind_;
    std::vector<std::string> arguments_;
    std::string reason_;
};

inline constexpr std::string_view kOpenCommand = "/usr/bin/open";

// Absent when nothing special is needed: open the link the ordinary way. Reads
// the browser's files under `home` (a folder test for Chromium, "profiles.ini"
// for Firefox) on every call, so a profile deleted since is noticed here.
std::optional<Plan> plan(boost::urls::url_view link, std::string_view bundleID,
                         const std::optional<std::string>& profile, std::string_view appPath, bool newWindow,
                         bool bringForward, const std::filesystem::path& home);

}  // namespace pivra::ProfileLaunch
