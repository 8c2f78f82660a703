#include "app/model/source_resolver.hpp"

#include <ostream>

#include <gtest/gtest.h>

#include "tests/support/fake_host.hpp"

namespace pivra {
namespace {

// Process 500 sent the link; its ancestors are 400, 300, ... as each case sets them up.
struct SourceCase {
    const char* name;
    pid_t sender;
    std::map<pid_t, std::string> running;
    std::map<pid_t, pid_t> parents;
    std::optional<std::string> frontmost;
    Source expected;
};

void PrintTo(const SourceCase& c, std::ostream* os) { *os << c.name; }

class SourceResolution : public testing::TestWithParam<SourceCase> {};

TEST_P(SourceResolution, Resolves) {
    const SourceCase& c = GetParam();
    testing_support::FakePorts fakes;
    fakes.workspace.running = c.running;
    fakes.processes.parents = c.parents;
    fakes.workspace.frontmost = c.frontmost;
    EXPECT_EQ(resolveSource(c.sender, fakes.workspace, fakes.processes, "app.omra.pivra"), c.expected);
}

std::map<pid_t, pid_t> chain(pid_t from, int length) {
    std::map<pid_t, pid_t> parents;
    for (int i = 0; i < length; ++i) parents[from - i] = from - i - 1;
    return parents;
}

const SourceCase kSourceCases[] = {
    {"RunningApp", 500, {{500, "com.tinyspeck.slackmacgap"}}, {}, "com.apple.Terminal", Source::app("com.tinyspeck.slackmacgap")},
    {"ParentApp", 500, {{400, "com.apple.Terminal"}}, {{500, 450}, {450, 400}, {400, 1}}, "x", Source::app("com.apple.Terminal")},
    {"EighthAncestor", 500, {{492, "com.apple.Terminal"}}, chain(500, 9), std::nullopt, Source::app("com.apple.Terminal")},
    {"NinthAncestorIsTooFar", 500, {{491, "com.apple.Terminal"}}, chain(500, 10), "x", Source::unknown()},
    {"ChainEndsAtLaunchd", 500, {{1, "com.apple.launchd"}}, {{500, 1}}, "x", Source::unknown()},
    {"OwnParentStops", 500, {{400, "a"}}, {{500, 500}}, "x", Source::unknown()},
    {"BrokenChain", 500, {{300, "a"}}, {{500, 400}}, "x", Source::unknown()},
    {"CannotInspectTakesFrontmost", 500, {}, {}, "com.apple.mail", Source::app("com.apple.mail")},
    {"NoSenderTakesFrontmost", 0, {{0, "a"}}, {}, "com.apple.mail", Source::app("com.apple.mail")},
    {"LaunchdTakesFrontmost", 1, {{1, "a"}}, {{1, 0}}, "com.apple.mail", Source::app("com.apple.mail")},
    {"FrontmostIsThisApp", 0, {}, {}, "app.omra.pivra", Source::unknown()},
    {"NoFrontmost", 0, {}, {}, std::nullopt, Source::unknown()},
    {"SenderIsThisApp", 500, {{500, "app.omra.pivra"}}, {{500, 1}}, "com.apple.mail", Source::unknown()},
    {"ThisAppInTheChainIsSkipped", 500, {{400, "app.omra.pivra"}, {300, "com.apple.Terminal"}},
     {{500, 400}, {400, 300}, {300, 1}}, std::nullopt, Source::app("com.apple.Terminal")},
};

INSTANTIATE_TEST_SUITE_P(Table, SourceResolution, testing::ValuesIn(kSourceCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace pivra
