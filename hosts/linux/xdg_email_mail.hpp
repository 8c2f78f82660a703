#pragma once
// The desktop's mail app, reached as the desktops themselves reach it: GIO
// says whether there is a default app for "mailto" links, and xdg-email
// composes the message, knowing how each mail app takes an attachment
// (Thunderbird's -compose, Evolution's and KMail's mailto "attach").

#include <filesystem>
#include <functional>

#include "app/ports/launcher.hpp"
#include "app/ports/mail.hpp"
#include "app/ports/scheduler.hpp"

namespace pivra {

// How long xdg-email may take to hand the message over. A mail app that it
// starts in the foreground (Thunderbird when not yet running) is left running
// after it: the compose window is then open.
inline constexpr Seconds kMailComposeTimeout{10};

class XdgEmailMail final : public Mail {
public:
    // `hasMailApp`: whether the desktop has a default "mailto" app; absent:
    // GIO's answer. `program`: xdg-email, looked up in PATH.
    XdgEmailMail(Launcher& launcher, Scheduler& scheduler, std::function<bool()> hasMailApp = {},
                 std::filesystem::path program = "xdg-email");

    // False without a default mailto app, when xdg-email cannot be started
    // (xdg-utils not installed) or when it exits with an error.
    void compose(const MailMessage& message, Completion completion) override;

private:
    Launcher& launcher_;
    Scheduler& scheduler_;
    std::function<bool()> hasMailApp_;
    std::filesystem::path program_;
};

}  // namespace pivra
