#include <cstdlib>
#include <iostream>
#include <memory>

#include "app/ports/host.hpp"
#include "cli/commands.hpp"
#include "core/files/data_location.hpp"

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    pivra::cli::Environment environment;
    if (const char* home = std::getenv("HOME")) environment.home = home;
    if (const char* config = std::getenv("XDG_CONFIG_HOME")) environment.xdgConfigHome = config;
    if (const char* state = std::getenv("XDG_STATE_HOME")) environment.xdgStateHome = state;
    // App names come from the system's catalogue of apps, reached through the
    // host, which is made only when a command shows an app.
    std::shared_ptr<pivra::Host> host;
    environment.appName = [&](std::string_view id) -> std::optional<std::string> {
        if (!host) host = pivra::makeHost(pivra::HostOptions{pivra::dataFolder(environment.home.value_or("")), pivra::LogLevel::fault});
        const auto app = host->ports().workspace.application(id);
        if (!app) return std::nullopt;
        return app->name;
    };
    const int status = pivra::cli::runCli(args, std::cout, std::cerr, environment);
    host.reset();
    return status;
}
