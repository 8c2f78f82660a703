#pragma once
// The checks a downloaded release must pass before it replaces this copy.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "core/updates/update_feed.hpp"

namespace pivra {

// What a new copy's code signature must satisfy: Apple-issued, this app's
// identifier, and the maker's signing team.
inline constexpr std::string_view kDesignatedRequirement =
    "anchor apple generic and identifier \"app.omra.pivra\" and certificate leaf[subject.OU] = \"Q7XK2MM48T\"";

// Checks the bundle at a path against a designated requirement (as text).
// Absent when the signature satisfies it; else the status code of the first
// code-signing call that failed, or that returned no object.
using SignatureCheck =
    std::function<std::optional<std::int32_t>(const std::filesystem::path& bundle, std::string_view requirement)>;

namespace UpdateVerifier {

class Failure {
public:
    enum class Kind { badSignature, wrongBuild, unreadable, hashMismatch };

    static Failure badSignature(std::int32_t status) { return Failure(Kind::badSignature, status, std::nullopt); }
    static Failure wrongBuild(std::optional<std::string> found) {
        return Failure(Kind::wrongBuild, 0, std::move(found));
    }
    static Failure unreadable() { return Failure(Kind::unreadable, 0, std::nullopt); }
    static Failure hashMismatch() { return Failure(Kind::hashMismatch, 0, std::nullopt); }

    Kind kind() const { return kind_; }
    // The failing code-signing call's status; 0 for other kinds.
    std::int32_t status() const { return status_; }
    // The new copy's CFBundleVersion as found; absent for other kinds, or when there was none.
    const std::optional<std::string>& foundBuild() const { return foundBuild_; }

    // Lower-case, to follow "Couldn’t update to <version>: ".
    std::string description() const;

    bool operator==(const Failure&) const = default;

private:
    Failure(Kind kind, std::int32_t status, std::optional<std::string> foundBuild)
        : kind_(kind), status_(status), foundBuild_(std::move(foundBuild)) {}
    Kind kind_;
    std::int32_t status_;
    std::optional<std::string> foundBuild_;
};

// The download's SHA-256 against the feed's (compared case-insensitively).
// Absent when it matches; `unreadable` when the file can't be opened.
std::optional<Failure> verifyDownload(const std::filesystem::path& file, const UpdateFeed& feed);

// The unpacked app bundle: first its signature against kDesignatedRequirement,
// then, only when that passed, its "Contents/Info.plist" CFBundleVersion,
// which must be exactly the feed's build in decimal. Absent when both pass.
// An empty check counts as a failed signature. Changes no file.
std::optional<Failure> verifyCopy(const std::filesystem::path& bundle, const UpdateFeed& feed,
                                  const SignatureCheck& checkSignature);

}  // namespace UpdateVerifier
}  // namespace pivra
