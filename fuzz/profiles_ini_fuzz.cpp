// Any text as a Firefox "profiles.ini": parsing never crashes, and every
// profile it gives has a name that the file really holds on a "Name=" line.
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/browsers/browser_profile.hpp"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    for (const auto& profile : pivra::ProfileParser::firefox(text)) {
        if (profile.id != profile.name) std::abort();
        if (text.find("Name=" + profile.name) == std::string_view::npos) std::abort();
    }
    return 0;
}
