#include "core/updates/update_verifier.hpp"

#include "core/files/property_list.hpp"
#include "core/text/ascii_case.hpp"
#include "core/updates/file_hash.hpp"

namespace pivra::UpdateVerifier {
namespace {

std::optional<std::string> bundleVersion(const std::filesystem::path& bundle) {
    const PropertyList info = readBundleInfo(bundle);
    return propertyListString(propertyListItem(info.get(), "CFBundleVersion"));
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
    if (!equalsIgnoringAsciiCase(*hash, feed.sha256)) return Failure::hashMismatch();
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
