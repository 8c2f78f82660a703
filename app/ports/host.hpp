#pragma once
// What every host provides: its port implementations and the main loop they
// run on. Each host folder defines makeHost; the build links exactly one.

#include <filesystem>
#include <memory>

#include "app/ports/ports.hpp"

namespace pivra {

struct HostOptions {
    // Where the app keeps its files (rules, journal, counts); a host that
    // keeps preferences in a file keeps them here too. Where configuration
    // and state are apart (Linux), the configuration's folder.
    std::filesystem::path dataFolder;
    // Log lines below this level are left out.
    LogLevel minimumLogLevel = LogLevel::info;
    // Ports the program supplies in place of the host's own (the desktop
    // app's, on a display); each must outlive the host. Absent: the host's.
    Keyboard* keyboard = nullptr;
    Pasteboard* pasteboard = nullptr;
    Screens* screens = nullptr;
};

class Host {
public:
    virtual ~Host() = default;

    // The ports, valid for the life of the host.
    virtual Ports ports() = 0;

    // Runs the main loop on the calling thread, which becomes the main thread,
    // until stop is called or the process is told to end (SIGINT, SIGTERM).
    virtual void run() = 0;

    // Makes run return after the current work; callable from the main thread.
    virtual void stop() = 0;
};

std::unique_ptr<Host> makeHost(const HostOptions& options);

}  // namespace pivra
