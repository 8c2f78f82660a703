#include "hosts/linux/xdg_email_mail.hpp"

#include <gio/gio.h>

namespace pivra {
namespace {

bool desktopHasMailApp() {
    GAppInfo* app = g_app_info_get_default_for_uri_scheme("mailto");
    if (app == nullptr) return false;
    g_object_unref(app);
    return true;
}

}  // namespace

XdgEmailMail::XdgEmailMail(Launcher& launcher, Scheduler& scheduler, std::function<bool()> hasMailApp,
                           std::filesystem::path program)
    : launcher_(launcher),
      scheduler_(scheduler),
      hasMailApp_(hasMailApp ? std::move(hasMailApp) : std::function<bool()>(desktopHasMailApp)),
      program_(std::move(program)) {}

void XdgEmailMail::compose(const MailMessage& message, Completion completion) {
    // xdg-email without a mail app falls back to a browser's mailto page, or fails after a while.
    if (!hasMailApp_()) {
        scheduler_.post([completion = std::move(completion)] { completion(false); });
        return;
    }
    LaunchRequest request;
    request.program = program_;
    request.arguments = {"--utf8", "--subject", message.subject, "--body", message.body};
    if (!message.attachment.empty()) {
        request.arguments.insert(request.arguments.end(), {"--attach", message.attachment.string()});
    }
    request.arguments.push_back(message.recipient);
    request.timeout = kMailComposeTimeout;
    request.leaveRunning = true;
    launcher_.launch(request, [completion = std::move(completion)](LaunchResult result) {
        completion((result.kind == LaunchResult::Kind::exited && result.status == 0) ||
                   result.kind == LaunchResult::Kind::stillRunning);
    });
}

}  // namespace pivra
