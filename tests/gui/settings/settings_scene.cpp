#include "tests/gui/settings/settings_scene.hpp"

#include "core/rules/rules_coding.hpp"
#include "tests/support/rule_builder.hpp"

namespace pivra::testing_support {
namespace {

using namespace std::chrono_literals;

constexpr const char* kChrome = "com.google.Chrome";
constexpr const char* kFirefox = "org.mozilla.firefox";
constexpr const char* kSafari = "com.apple.Safari";

RulesFile dozenRules() {
    const auto domains = [](std::initializer_list<std::string> values) { return Match::domains(values); };
    const auto patterns = [](std::initializer_list<std::string> values) { return Match::patterns(values); };
    RulesFile file;
    file.fallback = Target{kSafari, std::nullopt};
    file.rules = {
        makeRule("R01", "com.tinyspeck.slackmacgap", Match::any(), {kChrome, "Profile 1"}),
        makeRule("R02", "*", domains({"figma.com"}), {"com.figma.Desktop", std::nullopt}),
        makeRule("R03", "us.zoom.xos", Match::any(), {kChrome, "Profile 1"}),
        makeRule("R04", "*", domains({"github.com", "gitlab.com"}), {kFirefox, "Work"}),
        makeRule("R05", "com.microsoft.VSCode", patterns({"localhost:*", "127.0.0.1:*"}), {kFirefox, "Testing"}),
        makeRule("R06", "com.apple.Terminal", patterns({"localhost:*", "127.0.0.1:*"}), {kFirefox, "Testing"}),
        makeRule("R07", "com.apple.mail", domains({"linear.app", "notion.so"}), {kChrome, "Profile 1"}),
        makeRule("R08", "*", domains({"youtube.com", "netflix.com"}), {kSafari, std::nullopt}),
        makeRule("R09", "net.whatsapp.WhatsApp", Match::any(), {kChrome, "Default"}),
        makeRule("R10", "com.apple.MobileSMS", Match::any(), {kChrome, "Default"}),
        makeRule("R11", "*", domains({"docs.github.com"}), {kChrome, "Profile 2"}),  // rule 4 takes its links
        makeRule("R12", "com.apple.mail", domains({"calendar.google.com"}), {kChrome, "Profile 1"}),
    };
    file.rules[11].enabled = false;
    file.rules[6].newWindow = true;
    return file;
}

}  // namespace

SettingsScene::SettingsScene(Rules rules) {
    auto& workspace = fakes.workspace;
    workspace.install(kChrome, "Google Chrome");
    workspace.install(kFirefox, "Firefox");
    workspace.install(kSafari, "Safari");
    workspace.browsers = {*workspace.application(kChrome), *workspace.application(kFirefox),
                          *workspace.application(kSafari)};
    for (const auto& [id, name] : std::initializer_list<std::pair<const char*, const char*>>{
             {"com.tinyspeck.slackmacgap", "Slack"}, {"us.zoom.xos", "zoom.us"}, {"com.figma.Desktop", "Figma"},
             {"com.apple.mail", "Mail"}, {"com.apple.Terminal", "Terminal"}, {"com.microsoft.VSCode", "Visual Studio Code"},
             {"net.whatsapp.WhatsApp", "WhatsApp"}, {"com.apple.MobileSMS", "Messages"}, {"notion.id", "Notion"}}) {
        workspace.install(id, name);
    }
    temp.write("Library/Application Support/Google/Chrome/Local State",
               R"({"profile":{"info_cache":{"Default":{"name":"Personal"},"Profile 1":{"name":"Work"},"Profile 2":{"name":"Side project"}}}})");
    temp.write("Library/Application Support/Firefox/profiles.ini",
               "[Profile0]\nName=default-release\nIsRelative=1\nPath=Profiles/a.default-release\nDefault=1\n\n"
               "[Profile1]\nName=Work\nIsRelative=1\nPath=Profiles/b.Work\n\n"
               "[Profile2]\nName=Testing\nIsRelative=1\nPath=Profiles/c.Testing\n");
    workspace.isDefault = rules != Rules::none;

    if (rules != Rules::none) {
        temp.write("Pivra/rules.json", RulesCoding::encode(dozenRules()));
        // A month of counts: busy work rules, a quiet fallback.
        LinkCounts counts;
        const CalendarDay today = fakes.clock.localDay(fakes.clock.now());
        const std::pair<const char*, int> perDay[] = {{"R01", 14}, {"R02", 2}, {"R03", 3}, {"R04", 9}, {"R05", 6},
                                                      {"R06", 1},  {"R07", 5}, {"R08", 4}, {"R09", 2}, {"R10", 1},
                                                      {"fallback", 7}};
        for (int day = 0; day < 30; ++day) {
            for (const auto& [key, n] : perDay) {
                for (int i = 0; i < n + (day % 3 == 0 ? 1 : 0); ++i) counts.add(key, today.addingDays(-29 + day));
            }
        }
        temp.write("Pivra/counts.json", LinkCountsCoding::encode(counts));
    }
    model = std::make_unique<AppModel>(fakes.ports(), ModelFolders{temp.path() / "Pivra", temp.path()},
                                       [this] { return "ID" + std::to_string(++ids); });
    // As on a Mac, where the app updates itself.
    model->setUpdaterSetup(UpdaterSetup{});
    model->start();
    if (rules != Rules::none) {
        const Instant now = fakes.clock.now();
        const auto line = [&](Seconds ago, std::string text, std::optional<std::string> host) {
            model->journal().append(
                LogEntry{now - std::chrono::duration_cast<Instant::duration>(ago), std::move(text), std::move(host), std::nullopt});
        };
        line(Seconds(3 * 86400 + 4000), "Link from Mail → Google Chrome · Work (rule 7)", "linear.app");
        line(Seconds(86400 + 600), "Link from Slack → Google Chrome · Work (rule 1)", "docs.google.com");
        line(Seconds(86400 + 500), "Link from Terminal → Firefox · Testing (rule 6)", "localhost");
        line(Seconds(5400), "Link from Slack → Google Chrome · Work (rule 1)", "github.com");
        line(Seconds(1800), "Link from unknown app → Safari (fallback)", "en.wikipedia.org");
        line(Seconds(240), "Link from Messages → Google Chrome · Personal (rule 10)", "maps.apple.com");
    }
    if (rules == Rules::broken) {
        temp.write("Pivra/rules.json", "{\n  \"rules\" : [\n    {\"from\" : \"*\",}\n  ]\n}\n");
        model->reloadRules();
    }
}

SettingsScene::~SettingsScene() = default;

std::optional<RulesFile> SettingsScene::rulesOnDisk() const {
    auto decoded = RulesCoding::decode(temp.read("Pivra/rules.json"));
    if (!decoded) return std::nullopt;
    return *decoded;
}

}  // namespace pivra::testing_support
