// The path of one link through the model: from its arrival to the browser,
// with the journal, the recent list, the counts, the picker and the fallback.

#include <algorithm>

#include "app/model/app_model.hpp"
#include "app/model/source_resolver.hpp"
#include "core/routing/link.hpp"
#include "core/text/ascii_case.hpp"

namespace pivra {
namespace {

constexpr std::string_view kLinksCategory = "links";

std::string glyphs(const ModifierKeys& keys) {
    std::string text;
    if (keys.option) text += "⌥";
    if (keys.shift) text += "⇧";
    if (keys.command) text += "⌘";
    if (keys.control) text += "⌃";
    return text;
}

// The reason as a journal line says it between its arrows.
std::string reasonWords(const Decision::Reason& reason) {
    switch (reason.kind()) {
        case DecisionReasonKind::rule: return "rule " + std::to_string(reason.index() + 1);
        case DecisionReasonKind::fallback: return "fallback";
        case DecisionReasonKind::paused: return "paused";
        case DecisionReasonKind::loopGuard: return "loop guard";
    }
    return {};
}

bool wantsPicker(PickerTrigger trigger, const ModifierKeys& keys) {
    switch (trigger) {
        case PickerTrigger::option: return keys.option;
        case PickerTrigger::shift: return keys.shift;
        case PickerTrigger::always: return true;
        case PickerTrigger::never: return false;
    }
    return keys.shift;
}

std::string joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const auto& part : parts) text += (text.empty() ? "" : " ") + part;
    return text;
}

}  // namespace

// One open of a decided link, followed through its fallbacks.
struct AppModel::OpenAttempt {
    Source source;
    Decision decision;   // its target is what the rules (or the user) chose
    Target target;       // what this attempt opens
    long long batch = 0;
    bool isFallback = false;
};

std::function<void()> AppModel::guarded(std::function<void()> work) {
    return [alive = std::weak_ptr<bool>(alive_), work = std::move(work)] {
        if (alive.lock()) work();
    };
}

void AppModel::later(std::function<void()> work) { ports_.scheduler.post(guarded(std::move(work))); }

bool AppModel::detailedLogOn() const { return settings_.isDetailedLogOn(ports_.clock.now()); }

void AppModel::logDetail(const std::string& text) {
    if (detailedLogOn()) ports_.log.write(LogLevel::notice, kLinksCategory, "Detail: " + text);
}

void AppModel::journal(std::string text, Instant at) { journal_.append(LogEntry{at, std::move(text), {}, {}}); }

bool AppModel::receiveLink(std::string_view text, pid_t senderPid) {
    const auto link = parseLink(text);
    if (!link) return false;
    const Source source = resolveSource(senderPid, ports_.workspace, ports_.processes, ports_.appInfo.identifier());
    logDetail("GURL from pid " + std::to_string(senderPid) + " " +
              (source.bundleId ? *source.bundleId : std::string(LinkText::kUnknownApp)));
    handleLink(*link, source);
    return true;
}

void AppModel::handleLink(boost::urls::url_view link, const Source& source) {
    const Instant now = ports_.clock.now();
    lastLinkAt_ = now;
    std::erase_if(recent_, [&](const RecentOpen& open) { return open.at < now - Router::kLoopGuardWindow; });
    const long long batch = batcher_.add(source, now);
    const bool paused = settings_.isPaused(now);
    const Decision decision = Router::decide(link, source, rules_, paused, recent_, now);
    const bool detailed = detailedLogOn();
    if (detailed) {
        logDetail("Matched against " + std::to_string(rules_.rules.size()) + " rules, paused " +
                  (paused ? "true" : "false") + ", recent " + std::to_string(recent_.size()));
    }

    const ModifierKeys keys = ports_.keyboard.modifiers();
    const std::string name = source.bundleId ? *source.bundleId : std::string(LinkText::kUnknownApp);
    std::string text = "Link from " + name;
    if (keys.any()) text += " holding " + glyphs(keys);
    text += " → " + reasonWords(decision.reason) + " → " + decision.target.app;
    if (decision.target.profile) text += " · " + *decision.target.profile;

    const std::string host(decision.url.encoded_host());
    std::string path(decision.url.encoded_path());
    if (detailed && decision.url.has_query()) path += "?" + std::string(decision.url.encoded_query());
    journal_.append(LogEntry{now, text, host, path});

    ports_.log.write(LogLevel::notice, kLinksCategory,
                     LogMessage("Link from " + name + ": " + host, path,
                                " → " + reasonWords(decision.reason) + " → " + decision.target.app + " (batch " +
                                    std::to_string(batch) + ")"));
    if (decision.unwrappedFrom) ports_.log.write(LogLevel::notice, kLinksCategory, "Unwrapped from " + *decision.unwrappedFrom);

    const std::string recentId = newRowId_();
    recentLinks_.push_front(RecentLink{recentId, now, source, std::string(decision.url.buffer()), decision.target,
                                       decision.reason, false});
    while (recentLinks_.size() > kMaxRecentLinks) recentLinks_.pop_back();

    const bool routed = decision.reason.kind() == DecisionReasonKind::rule ||
                        decision.reason.kind() == DecisionReasonKind::fallback;
    const bool usePicker = (picker_ && picker_->isCollecting(batch)) ||
                           (routed && wantsPicker(settings_.pickerTrigger(), keys));
    if (usePicker) {
        notify();
        routeToPicker(source, decision, batch, now, recentId, true);
        return;
    }
    countToday(now);
    countForRule(decision.reason);
    notify();
    auto attempt = std::make_shared<OpenAttempt>(OpenAttempt{source, decision, decision.target, batch, false});
    later([this, attempt] { open(attempt); });
}

void AppModel::countToday(Instant now) {
    const CalendarDay day = ports_.clock.localDay(now);
    if (day != countedDay_) {
        countedDay_ = day;
        linksToday_ = 0;
    }
    ++linksToday_;
}

void AppModel::countForRule(const Decision::Reason& reason) {
    if (reason.kind() == DecisionReasonKind::rule) {
        countLink(reason.id());
    } else if (reason.kind() == DecisionReasonKind::fallback) {
        countLink(kFallbackCountKey);
    }
}

// --- The picker ---------------------------------------------------------------

void AppModel::routeToPicker(const Source& source, const Decision& decision, long long batch, Instant now,
                             std::optional<std::string> recentId, bool counts) {
    journal(std::string(LinkText::kPickerShown), now);
    if (!picker_) {
        finishPick(source, decision, std::nullopt, std::move(recentId), counts);
        return;
    }
    picker_->pick(PickRequest{source, decision, batch, now},
                  [this, alive = std::weak_ptr<bool>(alive_), source, decision, recentId, counts](std::optional<Target> choice,
                                                                                                 bool remember) {
                      if (!alive.lock()) return;
                      if (choice && remember) rememberChoice(source, decision, *choice);
                      finishPick(source, decision, std::move(choice), recentId, counts);
                  });
}

void AppModel::rememberChoice(const Source& source, const Decision& decision, const Target& choice) {
    std::string host(decision.url.encoded_host());
    if (source.isUnknown() || host.empty()) return;
    lowerAsciiInPlace(host);
    if (host.starts_with("www.")) host.erase(0, 4);
    Rule rule;
    rule.id = newId_();
    rule.from = *source.bundleId;
    rule.match = Match::domains({host});
    rule.open = choice;
    // Just ahead of the rule that took the link, so that it takes such links from now on.
    const std::optional<int> ruleIndex =
        decision.reason.kind() == DecisionReasonKind::rule ? std::optional(decision.reason.index()) : std::nullopt;
    // Refused while rules.json has an error; editRules logs that.
    editRules([&](RulesFile& rules) {
        const auto at = ruleIndex ? std::min<std::size_t>(static_cast<std::size_t>(*ruleIndex), rules.rules.size())
                                  : rules.rules.size();
        rules.rules.insert(rules.rules.begin() + static_cast<std::ptrdiff_t>(at), std::move(rule));
    });
}

void AppModel::finishPick(const Source& source, Decision decision, std::optional<Target> choice,
                          std::optional<std::string> recentId, bool counts) {
    const Instant now = ports_.clock.now();
    if (!choice) {
        journal(std::string(LinkText::kPickerClosed), now);
        if (onOpenFinished_) onOpenFinished_(OpenOutcome{false, decision.target.app, "the picker closed without a choice"});
        return;
    }
    journal("Picked " + choice->app + (choice->profile ? " · " + *choice->profile : std::string()), now);
    if (recentId) {
        const auto row = std::find_if(recentLinks_.begin(), recentLinks_.end(),
                                      [&](const RecentLink& link) { return link.id == *recentId; });
        if (row != recentLinks_.end()) {
            row->target = *choice;
            row->picked = true;
        }
    }
    decision.target = *choice;
    if (counts) {
        countToday(now);
        countForRule(decision.reason);
    }
    notify();
    auto attempt = std::make_shared<OpenAttempt>(OpenAttempt{source, decision, decision.target, 0, false});
    later([this, attempt] { open(attempt); });
}

// --- Opening ------------------------------------------------------------------

void AppModel::open(std::shared_ptr<OpenAttempt> attempt) {
    const Target& target = attempt->target;
    // The loop guard sees every app a link was just sent to.
    if (!attempt->isFallback || target.app != attempt->decision.target.app) {
        recent_.push_back(RecentOpen{target.app, ports_.clock.now()});
    }
    const auto app = ports_.workspace.application(target.app);
    if (!app) {
        if (!attempt->isFallback) raiseProblem(Problem::browserGone(target.app));
        openFallback(attempt, "it isn’t installed");
        return;
    }
    const auto plan = ProfileLaunch::plan(attempt->decision.url, app->id, target.profile, app->location.string(),
                                          attempt->decision.newWindow, attempt->decision.bringForward, folders_.home);
    if (!plan) return openWithoutPlan(attempt, *app);
    switch (plan->kind()) {
        case ProfileLaunch::Plan::Kind::open: return launchPlan(attempt, *app, *plan);
        case ProfileLaunch::Plan::Kind::refused: return profileCannotBeUsed(attempt, *app, plan->reason());
        case ProfileLaunch::Plan::Kind::profileMissing:
            return profileCannotBeUsed(attempt, *app, std::string(LinkText::kProfileGone));
    }
}

void AppModel::openWithoutPlan(std::shared_ptr<OpenAttempt> attempt, const InstalledApp& app) {
    ports_.workspace.open({std::string(attempt->decision.url.buffer())}, app,
                          OpenOptions{attempt->decision.bringForward},
                          [this, alive = std::weak_ptr<bool>(alive_), attempt, app](std::optional<std::string> error) {
                              if (!alive.lock()) return;
                              if (!error) return finishOpen(attempt, true);
                              ports_.log.write(LogLevel::error, kLinksCategory,
                                               app.id + " couldn’t open the link: " + *error);
                              openFallback(attempt, *error);
                          });
}

void AppModel::launchPlan(std::shared_ptr<OpenAttempt> attempt, const InstalledApp& app,
                          const ProfileLaunch::Plan& plan) {
    logDetail((plan.startsBrowser() ? plan.program() + " " : std::string("open ")) + joined(plan.arguments()));
    const bool startsBrowser = plan.startsBrowser();
    LaunchRequest request{plan.program(), plan.arguments(), startsBrowser ? kBrowserStartSettle : kProfileLaunchTimeout,
                          startsBrowser};
    ports_.launcher.launch(std::move(request), [this, alive = std::weak_ptr<bool>(alive_), attempt, app](LaunchResult result) {
        if (!alive.lock()) return;
        const Target& target = attempt->target;
        const bool newWindow = attempt->decision.newWindow;
        std::string reason;
        switch (result.kind) {
            case LaunchResult::Kind::exited:
                if (result.status != 0) reason = std::string(LinkText::kExitedWith) + std::to_string(result.status);
                break;
            case LaunchResult::Kind::stillRunning: break;
            case LaunchResult::Kind::timedOut: reason = LinkText::kDidNotAnswer; break;
            case LaunchResult::Kind::couldNotStart: reason = LinkText::kCouldNotStart; break;
        }
        if (reason.empty()) {
            std::string text(target.profile ? LinkText::kOpenedWithProfile : LinkText::kOpenedInNewWindow);
            if (target.profile && newWindow) text += ", new window";
            journal(std::move(text), ports_.clock.now());
            ports_.log.write(LogLevel::notice, kLinksCategory,
                             "Opened with the profile: " + app.id + " " + target.profile.value_or("") +
                                 (newWindow ? ", new window" : ""));
            return finishOpen(attempt, true);
        }
        if (result.kind == LaunchResult::Kind::couldNotStart) {
            ports_.log.write(LogLevel::error, kLinksCategory, "Couldn’t start " + app.location.string() + ": " + result.error);
        }
        openWithoutProfile(attempt, app, reason);
    });
}

void AppModel::openWithoutProfile(std::shared_ptr<OpenAttempt> attempt, const InstalledApp& app, const std::string& reason) {
    journal(std::string(LinkText::kCouldNotOpenProfile) + reason, ports_.clock.now());
    ports_.log.write(LogLevel::error, kLinksCategory,
                     "Couldn’t open the profile (" + reason + "); " + app.id + " opens without it");
    raiseProblem(Problem::profileFailed(app.id));
    openWithoutPlan(attempt, app);
}

void AppModel::profileCannotBeUsed(std::shared_ptr<OpenAttempt> attempt, const InstalledApp& app,
                                   const std::string& reason) {
    ProfileFailure choice = settings_.profileFailure();
    // The fallback's own profile failing leaves only the app itself.
    if (attempt->isFallback && choice == ProfileFailure::fallback) choice = ProfileFailure::anyway;
    switch (choice) {
        case ProfileFailure::picker:
            ports_.log.write(LogLevel::notice, kLinksCategory, "Profile can't be used; asking with the picker");
            // Counted already: the picker's choice is only opened.
            routeToPicker(attempt->source, attempt->decision, attempt->batch, ports_.clock.now(), std::nullopt, false);
            return;
        case ProfileFailure::fallback: {
            ports_.log.write(LogLevel::notice, kLinksCategory, "Profile can't be used; opening the fallback");
            auto next = std::make_shared<OpenAttempt>(*attempt);
            next->target = rules_.fallback;
            next->isFallback = true;
            return open(next);
        }
        case ProfileFailure::anyway:
            return openWithoutProfile(attempt, app, reason);
    }
}

void AppModel::openFallback(std::shared_ptr<OpenAttempt> attempt, const std::string& why) {
    const Target& target = attempt->target;
    if (attempt->isFallback) {
        ports_.log.write(LogLevel::error, kLinksCategory,
                         "The fallback " + target.app + " couldn’t open the link either (" + why + ")");
        return finishOpen(attempt, false, target.app + ": " + why);
    }
    const Target& fallback = rules_.fallback;
    if (fallback.app == target.app) {
        // The app that failed is the fallback itself: nothing is left to try.
        ports_.log.write(LogLevel::error, kLinksCategory, target.app + " couldn’t open the link (" + why + ")");
        return finishOpen(attempt, false, target.app + ": " + why);
    }
    // A missing fallback cannot help; the user must pick another.
    if (!ports_.workspace.application(fallback.app)) raiseProblem(Problem::browserGone(fallback.app));
    ports_.log.write(LogLevel::error, kLinksCategory,
                     target.app + " couldn’t open the link; trying the fallback " + fallback.app);
    auto next = std::make_shared<OpenAttempt>(*attempt);
    next->target = fallback;
    next->isFallback = true;
    open(next);
}

void AppModel::finishOpen(const std::shared_ptr<OpenAttempt>& attempt, bool opened, std::string error) {
    notify();
    if (onOpenFinished_) onOpenFinished_(OpenOutcome{opened, attempt->target.app, std::move(error)});
}

void AppModel::raiseProblem(const Problem& problem) {
    const std::string id = problem.identifier();
    const auto listed = std::find_if(problems_.begin(), problems_.end(), [&](const Problem& p) { return p.identifier() == id; });
    if (listed != problems_.end()) {
        if (*listed == problem) return;
        problems_.erase(listed);  // the same kind of problem, told anew (another rules error)
    }
    problems_.push_back(problem);
    journal("Problem: " + problemText(problem).title, ports_.clock.now());
    notify();
    notifier_.notify(problem, problemText(problem));
    if (onProblemRaised_) onProblemRaised_(problem);
}

void AppModel::clearProblem(std::string_view identifier) {
    if (std::erase_if(problems_, [&](const Problem& p) { return p.identifier() == identifier; }) == 0) return;
    notify();
    notifier_.clear({std::string(identifier)});
    if (onProblemCleared_) onProblemCleared_(identifier);
}

ProblemText AppModel::problemText(const Problem& problem) const {
    const bool aboutBrowser = problem.kind == ProblemKind::profileFailed || problem.kind == ProblemKind::browserGone;
    return pivra::problemText(problem, aboutBrowser ? appName(problem.subject) : std::string(),
                              targetName(rules_.fallback), ports_.appInfo.machineNoun());
}

}  // namespace pivra
