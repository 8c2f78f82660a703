// Unpacking with the Mac's own ditto, which keeps what a release's zip
// holds (permissions, links, extended attributes), into a hidden folder that
// becomes the destination only once its links have been checked.

#include <stdio.h>
#include <stdlib.h>

#include <cerrno>
#include <expected>
#include <string>
#include <system_error>
#include <utility>

#include <dispatch/dispatch.h>

#include "hosts/mac/mac_ports.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;

// Long enough for a release of any size on a slow disk.
constexpr Seconds kDittoTimeout{600};

// Every link under `root` must be relative and, resolved, stay under it.
std::expected<void, std::string> checkLinks(const fs::path& root) {
    std::error_code error;
    const fs::path canonicalRoot = fs::canonical(root, error);
    if (error) return std::unexpected("the unpacked folder can’t be read");
    for (auto item = fs::recursive_directory_iterator(root, error); !error && item != fs::recursive_directory_iterator();
         item.increment(error)) {
        if (!item->is_symlink()) continue;
        const fs::path target = fs::read_symlink(item->path(), error);
        if (error || target.is_absolute()) return std::unexpected(item->path().string() + " is a link to an absolute path");
        const auto relative = fs::weakly_canonical(item->path(), error).lexically_relative(canonicalRoot);
        if (error || relative.empty() || *relative.begin() == "..") {
            return std::unexpected(item->path().string() + " links out of the folder");
        }
    }
    if (error) return std::unexpected("the unpacked folder can’t be read");
    return {};
}

// After ditto: the links checked, then the folder renamed into place (never
// over something there); on any failure the hidden folder is removed.
std::expected<void, std::string> finish(const fs::path& partial, const fs::path& folder) {
    auto result = checkLinks(partial);
    if (result && ::renamex_np(partial.c_str(), folder.c_str(), RENAME_EXCL) != 0) {
        result = std::unexpected("can’t move the unpacked files to " + folder.string() + ": " +
                                 std::generic_category().message(errno));
    }
    if (!result) {
        std::error_code ignored;
        fs::remove_all(partial, ignored);
    }
    return result;
}

}  // namespace

DittoUnarchiver::DittoUnarchiver(Launcher& launcher, Scheduler& scheduler) : launcher_(launcher), scheduler_(scheduler) {}

DittoUnarchiver::~DittoUnarchiver() { *alive_ = false; }

void DittoUnarchiver::unpack(const std::filesystem::path& archive, const std::filesystem::path& folder,
                             Completion completion) {
    std::string pattern = (folder.parent_path() / ("." + folder.filename().string() + ".partial-XXXXXX")).string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        std::string why = "can’t make a folder beside " + folder.string() + ": " + std::generic_category().message(errno);
        scheduler_.post([alive = std::weak_ptr<bool>(alive_), completion = std::move(completion), why] {
            if (const auto living = alive.lock(); living && *living) completion(std::unexpected(why));
        });
        return;
    }
    const fs::path partial = pattern;
    LaunchRequest request;
    request.program = "/usr/bin/ditto";
    request.arguments = {"-x", "-k", archive.string(), partial.string()};
    request.timeout = kDittoTimeout;
    request.output = LaunchRequest::Output::discard;
    Scheduler* scheduler = &scheduler_;
    launcher_.launch(request, [alive = std::weak_ptr<bool>(alive_), scheduler, partial, folder,
                               completion = std::move(completion)](LaunchResult result) mutable {
        const bool unpacked = result.kind == LaunchResult::Kind::exited && result.status == 0;
        std::string failure;
        if (result.kind == LaunchResult::Kind::couldNotStart) {
            failure = "ditto couldn’t be started: " + result.error;
        } else if (!unpacked) {
            failure = result.kind == LaunchResult::Kind::exited ? "ditto exited with " + std::to_string(result.status)
                                                                 : "ditto didn’t finish in time";
        }
        // Walking the tree and removing a failed one are file work: off the main thread.
        auto work = std::make_shared<std::function<void()>>(
            [alive, scheduler, partial, folder, failure, completion = std::move(completion)]() mutable {
                std::expected<void, std::string> outcome;
                if (!failure.empty()) {
                    std::error_code ignored;
                    fs::remove_all(partial, ignored);
                    outcome = std::unexpected(failure);
                } else {
                    outcome = finish(partial, folder);
                }
                scheduler->post([alive, completion = std::move(completion), outcome] {
                    if (const auto living = alive.lock(); living && *living) completion(outcome);
                });
            });
        dispatch_async(dispatch_get_global_queue(QOS_CLASS_UTILITY, 0), ^{
          (*work)();
        });
    });
}

}  // namespace pivra
