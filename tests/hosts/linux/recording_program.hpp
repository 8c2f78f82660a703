#pragma once
// Programs that tests launch through desktop entries: each records the
// arguments it was given, one a line, into a file that appears whole.

#include <glib.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

#include "core/files/small_file.hpp"
#include "tests/support/files.hpp"

namespace pivra::testing_support {

// A shell script at `program` that writes its arguments into `record`, first
// beside it and then renamed, so that a reader never sees half of them.
inline void writeRecordingProgram(const std::filesystem::path& program, const std::filesystem::path& record) {
    if (record.native().find('\'') != std::string::npos) throw std::invalid_argument("a quote in " + record.string());
    std::filesystem::create_directories(program.parent_path());
    const std::string part = record.string() + ".part";
    writeFile(program, "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" + part + "' && mv '" + part + "' '" + record.string() + "'\n");
    std::filesystem::permissions(program, std::filesystem::perms::owner_all | std::filesystem::perms::group_read |
                                              std::filesystem::perms::group_exec | std::filesystem::perms::others_read |
                                              std::filesystem::perms::others_exec);
}

// The record's text once it is there; absent if it never comes. A launched
// program runs on its own, so this looks again and again, a bounded number of
// times (seconds in all, far beyond need). GLib's default main context runs
// meanwhile, for whatever GIO finishes there (the reply of a session bus).
inline std::optional<std::string> waitForRecord(const std::filesystem::path& record) {
    for (int round = 0; round < 2000; ++round) {
        if (auto text = readSmallFile(record, kMaxTestFileSize)) return std::move(*text);
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
        ::usleep(5000);
    }
    return std::nullopt;
}

}  // namespace pivra::testing_support
