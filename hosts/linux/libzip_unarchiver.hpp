#pragma once
// The Unarchiver port on libzip, on a thread of its own per archive, with its
// result handed to the main thread through the scheduler. An archive is
// checked whole before anything is written: every name must stay inside the
// folder, and the entries may not be too many or too large in all. It is
// unpacked into a hidden folder beside the destination, which is renamed
// into place only when everything is there.

#include <cstdint>
#include <memory>

#include "app/ports/scheduler.hpp"
#include "app/ports/unarchiver.hpp"

namespace pivra {

struct ZipJobs;  // the unpackings in flight, shared with their threads

struct ZipLimits {
    std::uint64_t maxEntries = 100'000;
    std::uint64_t maxTotalSize = std::uint64_t{2} << 30;  // bytes, unpacked
};

class LibzipUnarchiver final : public Unarchiver {
public:
    // `scheduler` must outlive this object; results are posted to it.
    explicit LibzipUnarchiver(Scheduler& scheduler, ZipLimits limits = {});
    // Stops every unpacking in flight between two entries and waits for it;
    // their completions never run and they leave nothing behind.
    ~LibzipUnarchiver() override;
    LibzipUnarchiver(const LibzipUnarchiver&) = delete;
    LibzipUnarchiver& operator=(const LibzipUnarchiver&) = delete;

    // Symbolic links are made last, after every file and folder, so that no
    // entry is ever written through one; each must stay inside the folder,
    // both as written and as resolved once everything is in place.
    void unpack(const std::filesystem::path& archive, const std::filesystem::path& folder,
                Completion completion) override;

private:
    std::shared_ptr<ZipJobs> jobs_;
    ZipLimits limits_;
};

}  // namespace pivra
