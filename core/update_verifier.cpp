#include "core/update_verifier.hpp"

#include <fstream>
#include <iterator>

#include "core/file_hash.hpp"
#include "core/link.hpp"
#include "core/property_list.hpp"

namespace pivra::UpdateVerifier {
namespace {

// Far beyond any real Info.plist; a larger file is not read into memory.
constexpr std::uintmax_t kMaxInfoPlistSize = 16 << 20;

std::optional<std::string> readSmallFile(const std::filesystem::path& file) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) return std::nullopt;
    const auto size = std::filesystem::file_size(file, error);
    if (error || size > kMaxInfoPlistSize) return std::nullopt;
    std::ifstream in(file, std::ios::binary);
    if (!in) return std::nullopt;
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) return std::nullopt;
    return bytes;
}

std::optional<std::string> bundleVersion(const std::filesystem::path& bundle) {
    const auto bytes = readSmallFile(bundle / "Contents" / "Info.plist");
    if (!bytes) return std::nullopt;
    const PropertyList root = parsePropertyList(*bytes);
    return propertyListString(propertyListItem(root.get(), "CFBundleVersion"));
}

}  // namespace

std::string Failure::description() const {
    switch (kind_) {
        case Kind::badSignature:
            return "the new copy isn’t signed by Omra (" + std::to_string(status_) + ")";
        case Kind::wrongBuild:
            return "the new copy is build " + foundBuild_.value_or("unknown") + ", not the release’s";
        case Kind::unreadable:
            return "the download couldn’t be read";
        case Kind::hashMismatch:
            return "the download doesn’t match the release";
    }
    return {};
}

std::optional<Failure> verifyDownload(const std::filesystem::path& file, const UpdateFeed& feed) {
    const auto hash = sha256OfFile(file);
    if (!hash) return Failure::unreadable();
    if (*hash != lowerAscii(feed.sha256)) return Failure::hashMismatch();
    return std::nullopt;
}

std::optional<Failure> verifyCopy(const std::filesystem::path& bundle, const UpdateFeed& feed,
                                  const SignatureCheck& checkSignature) {
    if (!checkSignature) return Failure::badSignature(0);
    if (const auto status = checkSignature(bundle, kDesignatedRequirement)) return Failure::badSignature(*status);
    auto found = bundleVersion(bundle);
    if (found != std::to_string(feed.build)) return Failure::wrongBuild(std::move(found));
    return std::nullopt;
}

}  // namespace pivra::UpdateVerifier
