// Any bytes as the disk-image listing: reading it never crashes, and every
// volume it names lies under /Volumes/.
#include <cstdlib>
#include <string_view>

#include "core/updates/install_location.hpp"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    for (const auto& volume : pivra::DiskImages::volumes(bytes)) {
        if (!volume.starts_with("/Volumes/")) std::abort();
    }
    return 0;
}
