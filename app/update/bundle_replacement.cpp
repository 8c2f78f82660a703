#include "app/update/bundle_replacement.hpp"

#include "core/rules/rules_file.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;

std::expected<void, std::string> replaceBundle(BundleFiles& files, const fs::path& staged, const fs::path& running) {
    const std::string id = makeRuleId();
    const fs::path incoming = running.parent_path() / (".Pivra-new-" + id + ".app");
    // The old copy waits in a hidden folder under its own name, so that it
    // reaches the Trash as "Pivra.app" and not as a hidden item.
    const fs::path aside = running.parent_path() / (".Pivra-old-" + id);
    const fs::path outgoing = aside / running.filename();
    const auto giveUp = [&](const std::string& why) -> std::expected<void, std::string> {
        files.remove(incoming);
        files.remove(aside);
        return std::unexpected(why);
    };
    if (auto failed = files.copyBundle(staged, incoming)) return giveUp(*failed);
    if (auto failed = files.createFolders(aside)) return giveUp(*failed);
    if (auto failed = files.move(running, outgoing)) return giveUp(*failed);
    if (auto failed = files.move(incoming, running)) {
        // The running bundle goes back where it was before anything is removed.
        if (files.move(outgoing, running)) return std::unexpected(*failed + "; the running copy is at " + outgoing.string());
        return giveUp(*failed);
    }
    // Trashed, the old copy can be got back; when it can't be, it stays aside.
    if (files.moveToTrash(outgoing)) files.remove(aside);
    return {};
}

}  // namespace

BundleReplacement bundleReplacement(BundleFiles& files) {
    return BundleReplacement{
        .isWritable = [&files](const fs::path& folder) { return files.isWritableFolder(folder); },
        .replace = [&files](const fs::path& staged, const fs::path& running) {
            return replaceBundle(files, staged, running);
        }};
}

}  // namespace pivra
