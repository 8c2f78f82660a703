// pivra check, format and try: the rules file and the routing of one link.

#include <chrono>
#include <sstream>

#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>

#include "app/storage/file_io.hpp"
#include "app/ports/host.hpp"
#include "cli/app_commands.hpp"
#include "cli/commands.hpp"
#include "core/files/data_location.hpp"
#include "core/files/small_file.hpp"
#include "core/routing/link.hpp"
#include "core/routing/router.hpp"
#include "core/rules/insight.hpp"
#include "core/rules/rules_coding.hpp"
#include "core/text/raw_value.hpp"

namespace pivra::cli {
namespace {

namespace json = boost::json;

const OptionSpec kRulesOption{"rules", true};
const OptionSpec kHomeOption{"home", true};
const OptionSpec kJsonOption{"json", false};

json::value errorJson(const RulesFileError& error) {
    return json::object{{"ok", false},
                        {"message", error.message},
                        {"line", error.line ? json::value(*error.line) : json::value(nullptr)}};
}

std::string plural(std::size_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

// --- check -------------------------------------------------------------------

int runCheck(const Arguments& args, const Context& context) {
    auto loaded = loadRules(args, context);
    if (!loaded) return loaded.error();
    const bool asJson = args.has("json");
    if (!loaded->rules) {
        if (asJson) {
            context.out << json::serialize(errorJson(loaded->rules.error())) << "\n";
            return kExitBadInput;
        }
        return context.fail(kExitBadInput, describeError(loaded->rules.error()));
    }
    const RulesFile& file = *loaded->rules;
    json::array shadowed;
    std::ostringstream warnings;
    for (std::size_t i = 1; i < file.rules.size(); ++i) {
        if (const auto by = Insight::shadowedBy(static_cast<int>(i), file.rules)) {
            shadowed.push_back(json::object{{"rule", i}, {"by", *by}});
            warnings << "Rule " << i + 1 << " never runs: rule " << *by + 1 << " takes every link it could take\n";
        }
    }
    if (asJson) {
        context.out << json::serialize(json::object{{"ok", true}, {"rules", file.rules.size()}, {"shadowed", shadowed}})
                    << "\n";
    } else {
        context.out << plural(file.rules.size(), "rule", "rules") << " · fallback " << describeTarget(file.fallback, context.environment)
                    << (loaded->exists ? "" : " (defaults: no rules file yet)") << "\n"
                    << warnings.str();
    }
    return kExitOk;
}

// --- format ------------------------------------------------------------------

int runFormat(const Arguments& args, const Context& context) {
    auto loaded = loadRules(args, context);
    if (!loaded) return loaded.error();
    if (!loaded->rules) return context.fail(kExitBadInput, describeError(loaded->rules.error()));
    RulesFile file = *loaded->rules;
    if (!args.has("write")) {
        context.out << RulesCoding::encode(file);
        return kExitOk;
    }
    if (!loaded->exists) {
        return context.fail(kExitUsage, "there is no rules file at " + loaded->path.string() + " to rewrite");
    }
    fillInMissingIds(file);
    if (!writeFileAtomically(loaded->path, RulesCoding::encode(file))) {
        return context.fail(kExitUsage, "can’t write " + loaded->path.string());
    }
    return kExitOk;
}

// --- try ---------------------------------------------------------------------

std::string verdictText(const Verdict& verdict, const Environment& environment) {
    switch (verdict.kind()) {
        case Verdict::Kind::notFrom: return "Only for links from " + describeApp(verdict.from(), environment);
        case Verdict::Kind::match: return "This rule matched";
        case Verdict::Kind::off: return "Turned off";
        case Verdict::Kind::notMatched: return "Doesn’t match this link";
    }
    return "";
}

std::string reasonText(const Decision::Reason& reason) {
    switch (reason.kind()) {
        case Decision::Reason::Kind::rule: return "Rule " + std::to_string(reason.index() + 1) + " matched";
        case Decision::Reason::Kind::fallback: return "No rule matched, so the fallback";
        case Decision::Reason::Kind::paused: return "Routing is paused, so the fallback";
        case Decision::Reason::Kind::loopGuard: return "The link came straight back, so it goes back to its app";
    }
    return "";
}

std::string describeMatch(const Match& match) {
    if (match.kind() == Match::Kind::any) return "any link";
    std::string text = match.kind() == Match::Kind::domains ? "domains " : "patterns ";
    for (std::size_t i = 0; i < match.values().size(); ++i) {
        text += (i ? ", " : "") + match.values()[i];
    }
    if (match.values().empty()) text += "(none)";
    return text;
}

int runTry(const Arguments& args, const Context& context) {
    const std::string& text = args.positionals().front();
    const auto link = parseLink(text);
    if (!link) {
        std::string message = "“" + text + "” isn’t a link";
        if (!text.empty() && text.find(':') == std::string::npos) {
            message += " (did you mean https://" + text + "?)";
        }
        return context.fail(kExitBadInput, message);
    }
    auto loaded = loadRules(args, context);
    if (!loaded) return loaded.error();
    if (!loaded->rules) return context.fail(kExitBadInput, describeError(loaded->rules.error()));
    const RulesFile& file = *loaded->rules;

    const auto from = args.value("from");
    const Source source = from ? Source::app(*from) : Source::unknown();
    const Decision decision =
        Router::decide(*link, source, file, args.has("paused"), {}, std::chrono::system_clock::now());
    const Insight::Trial trial = Insight::trial(*link, source, file);

    if (args.has("json")) {
        json::array steps;
        for (const auto& step : trial.steps) {
            json::object object{{"index", step.index}};
            object["verdict"] = step.verdict ? json::value(rawValue(step.verdict->kind())) : json::value(nullptr);
            if (step.verdict && step.verdict->kind() == Verdict::Kind::notFrom) object["from"] = step.verdict->from();
            steps.push_back(std::move(object));
        }
        json::object result{
            {"url", decision.url.buffer()},
            {"target", targetJson(decision.target)},
            {"reason", reasonJson(decision.reason)},
            {"bringForward", decision.bringForward},
            {"newWindow", decision.newWindow},
            {"unwrappedFrom", decision.unwrappedFrom ? json::value(*decision.unwrappedFrom) : json::value(nullptr)},
            {"checked", trial.checked},
            {"matched", trial.matched ? json::value(*trial.matched) : json::value(nullptr)},
            {"steps", std::move(steps)},
        };
        context.out << json::serialize(result) << "\n";
        return kExitOk;
    }

    auto& out = context.out;
    out << "Link: " << decision.url.buffer() << "\n";
    if (decision.unwrappedFrom) out << "Unwrapped from " << *decision.unwrappedFrom << "\n";
    out << "Matched against: " << trial.checked << "\n";
    out << "From: " << (from ? describeApp(*from, context.environment) : std::string("an unknown app")) << "\n";
    if (!trial.steps.empty()) out << "Checked top to bottom:\n";
    for (const auto& step : trial.steps) {
        const Rule& rule = file.rules[static_cast<std::size_t>(step.index)];
        out << "  Rule " << step.index + 1 << " · " << (rule.from == "*" ? "any app" : describeApp(rule.from, context.environment)) << " · "
            << describeMatch(rule.match) << " → " << describeTarget(rule.open, context.environment) << "\n      ";
        if (step.verdict) {
            out << verdictText(*step.verdict, context.environment);
        } else {
            out << "Rule " << *trial.matched + 1 << " matched first, not this one";
        }
        if (Insight::shadowedBy(step.index, file.rules)) out << " · This rule never runs.";
        out << "\n";
    }
    out << "Opens in: " << describeTarget(decision.target, context.environment) << "\n";
    out << "Why: " << reasonText(decision.reason) << "\n";
    out << "Brought forward: " << (decision.bringForward ? "yes" : "no")
        << " · New window: " << (decision.newWindow ? "yes" : "no") << "\n";
    return kExitOk;
}

}  // namespace

boost::json::value reasonJson(const Decision::Reason& reason) {
    boost::json::object object{{"kind", rawValue(reason.kind())}};
    if (reason.kind() == Decision::Reason::Kind::rule) {
        object["index"] = reason.index();
        object["id"] = reason.id();
    }
    return object;
}

std::expected<LoadedRules, int> loadRules(const Arguments& args, const Context& context) {
    LoadedRules loaded;
    const auto explicitPath = args.value("rules");
    std::optional<AppFolders> folders;
    if (explicitPath) {
        loaded.path = *explicitPath;
    } else {
        auto found = appFolders(args, context.environment);
        if (!found) return std::unexpected(context.fail(kExitUsage, found.error()));
        folders = *found;
        loaded.path = folders->config / kRulesFileName;
    }
    std::error_code ec;
    const bool present = std::filesystem::exists(std::filesystem::symlink_status(loaded.path, ec));
    if (!present && !explicitPath) {
        // The rules the app would make now: where this system picks the first
        // file's fallback (the browser that was the default), that one.
        RulesFile defaults;
        const auto host = makeHost(HostOptions{folders->config, LogLevel::error});
        if (const auto fallback = newRulesFallback(host->ports())) defaults.fallback = fallback();
        loaded.rules = std::move(defaults);
        return loaded;
    }
    auto bytes = readSmallFile(loaded.path, kMaxRulesFileSize);
    if (!bytes) {
        return std::unexpected(context.fail(
            kExitUsage, "can’t read " + loaded.path.string() + ": " + unreadableReason(loaded.path, bytes.error())));
    }
    loaded.exists = true;
    loaded.rules = RulesCoding::decode(*bytes);
    return loaded;
}

std::string describeError(const RulesFileError& error) {
    return (error.line ? "Line " + std::to_string(*error.line) + ": " : std::string()) + error.message;
}

std::vector<Command> rulesCommands() {
    return {
        Command{"check", "read the rules file and report errors and rules that never run",
                "usage: pivra check [--rules FILE] [--home DIR] [--json]\n\n"
                "Reads the rules file (FILE, else rules.json in Pivra's folder under DIR or $HOME)\n"
                "and says whether Pivra accepts it. Lists rules that can never take a link.\n"
                "Exit status: 0 valid, 1 invalid, 2 unreadable file or bad usage.\n",
                {kRulesOption, kHomeOption, kJsonOption}, 0, 0, runCheck},
        Command{"format", "print the rules file in Pivra's own layout",
                "usage: pivra format [--rules FILE] [--home DIR] [--write]\n\n"
                "Prints the rules file exactly as Pivra writes it. With --write, gives rules\n"
                "without an id a fresh one and replaces the file atomically.\n",
                {kRulesOption, kHomeOption, {"write", false}}, 0, 0, runFormat},
        Command{"try", "show which browser would open a link, and why",
                "usage: pivra try LINK [--from BUNDLE_ID] [--rules FILE] [--home DIR] [--paused] [--json]\n\n"
                "Puts LINK through the rules as if the app BUNDLE_ID had opened it (an unknown\n"
                "app without --from) and shows, rule by rule, what each said and what opens it.\n"
                "Use `pivra try -- LINK` for a link that begins with \"-\".\n",
                {kRulesOption, kHomeOption, kJsonOption, {"from", true}, {"paused", false}}, 1, 1, runTry},
    };
}

}  // namespace pivra::cli
