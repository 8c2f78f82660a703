// SHA-256 from OpenSSL 3's EVP interface: the build's choice off Apple systems.
#include "core/updates/file_hash.hpp"

#include <openssl/evp.h>

namespace pivra {

struct Sha256::State {
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context{EVP_MD_CTX_new(), &EVP_MD_CTX_free};
    bool failed = false;
};

Sha256::Sha256() : state_(std::make_unique<State>()) {
    state_->failed = !state_->context || EVP_DigestInit_ex(state_->context.get(), EVP_sha256(), nullptr) != 1;
}

Sha256::~Sha256() = default;

bool Sha256::add(std::span<const unsigned char> bytes) {
    if (!state_->failed && EVP_DigestUpdate(state_->context.get(), bytes.data(), bytes.size()) != 1) {
        state_->failed = true;
    }
    return !state_->failed;
}

std::optional<Sha256::Digest> Sha256::finish() {
    if (state_->failed) return std::nullopt;
    Digest digest{};
    unsigned int length = 0;
    if (EVP_DigestFinal_ex(state_->context.get(), digest.data(), &length) != 1 || length != digest.size()) {
        return std::nullopt;
    }
    return digest;
}

}  // namespace pivra
