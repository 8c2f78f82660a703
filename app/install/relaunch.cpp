#include "app/install/relaunch.hpp"

namespace pivra {

std::string relaunchScript(std::string_view opener) {
    std::string script = "while /bin/kill -0 \"$1\" 2>/dev/null; do /bin/sleep 0.2; done\n";
    script += opener;
    script += " \"$2\"\n";
    script +=
        "[ -z \"$3\" ] || for i in 1 2 3 4 5; do /usr/bin/hdiutil detach \"$3\" -quiet && break; /bin/sleep 1; done";
    return script;
}

LaunchRequest relaunchRequest(pid_t waitFor, const std::filesystem::path& newCopy, std::string_view volumeToEject,
                              std::string_view opener) {
    LaunchRequest request;
    request.program = "/bin/sh";
    request.arguments = {"-c", relaunchScript(opener), "sh", std::to_string(waitFor), newCopy.string(),
                         std::string(volumeToEject)};
    // The script's wait is for this process, so this process must not wait for it.
    request.timeout = Seconds(0);
    request.leaveRunning = true;
    request.output = LaunchRequest::Output::discard;
    return request;
}

}  // namespace pivra
