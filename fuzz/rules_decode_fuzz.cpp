// Any bytes as a rules file: decoding never crashes, and a file that decodes
// comes back equal after being written and read again, in a stable layout.
#include <cstdlib>
#include <string_view>

#include "core/rules/rules_coding.hpp"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto decoded = pivra::RulesCoding::decode(bytes);
    if (!decoded) {
        if (decoded.error().message.empty()) std::abort();
        return 0;
    }
    const std::string written = pivra::RulesCoding::encode(*decoded);
    const auto again = pivra::RulesCoding::decode(written);
    if (!again || *again != *decoded) std::abort();
    if (pivra::RulesCoding::encode(*again) != written) std::abort();
    return 0;
}
