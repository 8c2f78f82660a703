// SHA-256 from CommonCrypto: the build's choice on Apple systems.
#include "core/updates/file_hash.hpp"

#include <algorithm>
#include <limits>

#include <CommonCrypto/CommonDigest.h>

namespace pivra {

static_assert(CC_SHA256_DIGEST_LENGTH == std::tuple_size_v<Sha256::Digest>);

struct Sha256::State {
    CC_SHA256_CTX context;
};

Sha256::Sha256() : state_(std::make_unique<State>()) { CC_SHA256_Init(&state_->context); }

Sha256::~Sha256() = default;

bool Sha256::add(std::span<const unsigned char> bytes) {
    // CC_LONG is 32 bits wide: a larger piece goes in several steps.
    while (!bytes.empty()) {
        const std::size_t count = std::min<std::size_t>(bytes.size(), std::numeric_limits<CC_LONG>::max());
        CC_SHA256_Update(&state_->context, bytes.data(), static_cast<CC_LONG>(count));
        bytes = bytes.subspan(count);
    }
    return true;
}

std::optional<Sha256::Digest> Sha256::finish() {
    Digest digest{};
    CC_SHA256_Final(digest.data(), &state_->context);
    return digest;
}

}  // namespace pivra
