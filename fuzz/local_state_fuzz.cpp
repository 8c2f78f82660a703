// Any bytes as a Chromium "Local State": parsing never crashes, at most one
// profile is the default, and the list is in the Finder's order.
#include <cstdlib>
#include <string_view>

#include "core/browsers/browser_profile.hpp"
#include "core/text/unicode_text.hpp"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const auto profiles = pivra::ProfileParser::chromium(std::string_view(reinterpret_cast<const char*>(data), size));
    if (!profiles) return 0;
    int defaults = 0;
    for (std::size_t i = 0; i < profiles->size(); ++i) {
        defaults += (*profiles)[i].isDefault ? 1 : 0;
        if (i > 0 && pivra::compareForSorting((*profiles)[i - 1].name, (*profiles)[i].name) > 0) std::abort();
    }
    if (defaults > 1) std::abort();
    return 0;
}
