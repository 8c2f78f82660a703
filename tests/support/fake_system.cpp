#include "tests/support/fake_system.hpp"

#include "tests/support/files.hpp"

namespace pivra::testing_support {

std::optional<std::string> FakeWorkspace::runningApp(pid_t pid) const {
    const auto found = running.find(pid);
    if (found == running.end()) return std::nullopt;
    return found->second;
}

std::vector<pid_t> FakeWorkspace::runningProcesses(std::string_view id) const {
    std::vector<pid_t> found;
    for (const auto& [pid, app] : running) {
        if (app == id) found.push_back(pid);
    }
    return found;
}

std::optional<InstalledApp> FakeWorkspace::application(std::string_view id) const {
    const auto found = installed.find(id);
    if (found == installed.end()) return std::nullopt;
    return found->second;
}

void FakeWorkspace::open(const std::vector<std::string>& links, const InstalledApp& app, const OpenOptions& options,
                         OpenCompletion completion) {
    opens.push_back(OpenCall{links, app, options});
    std::optional<std::string> error;
    if (const auto failing = failingOpens.find(app.id); failing != failingOpens.end()) error = failing->second;
    scheduler_.post([completion = std::move(completion), error] { completion(error); });
}

void FakeWorkspace::makeDefaultBrowser(std::function<void(bool)> completion) {
    if (userAcceptsDefault) isDefault = true;
    scheduler_.post([completion = std::move(completion), answer = isDefault] { completion(answer); });
}

InstalledApp& FakeWorkspace::install(const std::string& id, const std::string& name, std::filesystem::path location) {
    if (location.empty()) location = "/Applications/" + name + ".app";
    return installed.insert_or_assign(id, InstalledApp{id, name, std::move(location), ""}).first->second;
}

std::optional<pid_t> FakeProcesses::parent(pid_t pid) const {
    const auto found = parents.find(pid);
    if (found == parents.end()) return std::nullopt;
    return found->second;
}

void ScriptedLauncher::launch(const LaunchRequest& request, std::function<void(LaunchResult)> completion) {
    requests.push_back(request);
    Program program;
    if (const auto found = programs.find(request.program.string()); found != programs.end()) program = found->second;
    if (!program.exists) {
        scheduler_.post([completion = std::move(completion), name = request.program.string()] {
            completion(LaunchResult{LaunchResult::Kind::couldNotStart, 0, "no such program: " + name});
        });
        return;
    }
    if (program.hangs || program.runs >= request.timeout) {
        const auto kind = request.leaveRunning ? LaunchResult::Kind::stillRunning : LaunchResult::Kind::timedOut;
        scheduler_.runAfter(request.timeout, [completion = std::move(completion), kind] { completion(LaunchResult{kind, 0, {}}); });
        return;
    }
    std::string output = request.output == LaunchRequest::Output::capture ? program.output : std::string();
    scheduler_.runAfter(program.runs, [completion = std::move(completion), status = program.status,
                                       output = std::move(output)] {
        completion(LaunchResult{LaunchResult::Kind::exited, status, {}, output});
    });
}

bool FakeLoginItem::setEnabled(bool value) {
    if (refuses) return false;
    enabled = value;
    return true;
}

void RecordingNotifications::requestAuthorization(Completion done) {
    ++authorizationRequests;
    if (status == NotificationStatus::notDetermined) {
        status = userAllows ? NotificationStatus::authorized : NotificationStatus::denied;
    }
    std::optional<std::string> error;
    if (status == NotificationStatus::denied) error = "Notifications are off for this app";
    if (status == NotificationStatus::unavailable) error = "No notification service";
    scheduler_.post([done = std::move(done), error] { done(error); });
}

void RecordingNotifications::readStatus(std::function<void(NotificationStatus)> done) {
    scheduler_.post([done = std::move(done), answer = status] { done(answer); });
}

void RecordingNotifications::post(const NotificationContent& content, Completion done) {
    posts.push_back(content);
    std::optional<std::string> error = postError;
    if (!error && status == NotificationStatus::denied) error = "Notifications are off for this app";
    if (!error && status == NotificationStatus::unavailable) error = "No notification service";
    if (!error) shown.insert_or_assign(content.identifier, content);
    scheduler_.post([done = std::move(done), error] { done(error); });
}

void RecordingNotifications::remove(const std::vector<std::string>& identifiers) {
    for (const auto& identifier : identifiers) {
        removals.push_back(identifier);
        shown.erase(identifier);
    }
}

bool RecordingNotifications::click(const std::string& identifier) {
    const auto found = shown.find(identifier);
    if (found == shown.end()) return false;
    const std::string page = found->second.page;
    if (onClick_) onClick_(page);
    return true;
}

void ScriptedHttp::get(const std::string& url, std::uint64_t maxBodySize, std::function<void(HttpAnswer)> completion) {
    requests.push_back(url);
    HttpAnswer answer = std::unexpected(std::string("the server couldn’t be reached"));
    if (const auto found = replies.find(url); found != replies.end()) {
        const Reply& reply = found->second;
        if (reply.error) {
            answer = std::unexpected(*reply.error);
        } else if (reply.body.size() > maxBodySize) {
            answer = std::unexpected("the answer is larger than " + std::to_string(maxBodySize) + " bytes");
        } else {
            answer = HttpResponse{reply.status, reply.body};
        }
    }
    scheduler_.post([completion = std::move(completion), answer = std::move(answer)] { completion(answer); });
}

void ScriptedHttp::download(const std::string& url, const std::filesystem::path& file, std::uint64_t maxSize,
                            std::function<void(HttpDownload)> completion) {
    get(url, maxSize, [completion = std::move(completion), file](HttpAnswer answer) {
        if (!answer) return completion(std::unexpected(answer.error()));
        if (answer->status >= 200 && answer->status <= 299) writeFile(file, answer->body);
        completion(answer->status);
    });
}

void ScriptedUnarchiver::unpack(const std::filesystem::path& archive, const std::filesystem::path& folder,
                                Completion completion) {
    archives.push_back(archive);
    std::expected<void, std::string> result;
    if (failure) {
        result = std::unexpected(*failure);
    } else {
        std::filesystem::create_directory(folder);
        if (contents) contents(folder);
    }
    scheduler_.post([completion = std::move(completion), result] { completion(result); });
}

void RecordingMail::compose(const MailMessage& message, Completion completion) {
    messages.push_back(message);
    scheduler_.post([completion = std::move(completion), composed = composes] { completion(composed); });
}

}  // namespace pivra::testing_support
