// Where the app's files are: the XDG variables as the XDG rules read them.

#include "core/files/data_location.hpp"

#include <gtest/gtest.h>

namespace pivra {
namespace {

TEST(XdgFolders, AnAbsoluteVariableWinsAndAnythingElseFallsBackUnderHome) {
    const std::filesystem::path home = "/home/ann";
    const struct {
        std::optional<std::string> variable;
        std::filesystem::path config;
        std::filesystem::path state;
    } cases[] = {
        {std::nullopt, "/home/ann/.config/pivra", "/home/ann/.local/state/pivra"},
        {"/xdg/here", "/xdg/here/pivra", "/xdg/here/pivra"},
        // Relative and empty values are to be ignored.
        {"", "/home/ann/.config/pivra", "/home/ann/.local/state/pivra"},
        {"relative/dir", "/home/ann/.config/pivra", "/home/ann/.local/state/pivra"},
        {"~/conf", "/home/ann/.config/pivra", "/home/ann/.local/state/pivra"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(configFolder(home, c.variable), c.config) << c.variable.value_or("unset");
        EXPECT_EQ(stateFolder(home, c.variable), c.state) << c.variable.value_or("unset");
    }
}

}  // namespace
}  // namespace pivra
