#pragma once
// What this app knows of itself: who it is, which release, and where it runs from.

#include <filesystem>
#include <string>

namespace pivra {

class AppInfo {
public:
    virtual ~AppInfo() = default;

    // The identifier other apps know this one by: "app.omra.pivra".
    virtual std::string identifier() const = 0;
    // The version people read ("1.4.2") and the build number ("142").
    virtual std::string version() const = 0;
    virtual std::string build() const = 0;
    // The app bundle on a Mac; the running program on Linux. Empty where the
    // platform cannot tell.
    virtual std::filesystem::path location() const = 0;
    // What texts call the machine the app runs on ("isn’t on this Mac"):
    // "Mac" on a Mac, "computer" where there is no better word.
    virtual std::string machineNoun() const = 0;
};

}  // namespace pivra
