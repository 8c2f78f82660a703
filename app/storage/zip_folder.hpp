#pragma once
// A zip of one folder that depends on the files' names and bytes alone, so
// that the same files give the same archive, byte for byte.

#include <expected>
#include <filesystem>
#include <string>

namespace pivra {

// Every entry's modification time: 2001-01-01 00:00:00, the epoch of the
// app's stored times, as the zip format's local date and time.
inline constexpr unsigned kZipEntryDosDate = ((2001 - 1980) << 9) | (1 << 5) | 1;
inline constexpr unsigned kZipEntryDosTime = 0;
// Every entry's permissions: a regular file readable by all, writable by its owner.
inline constexpr unsigned kZipEntryMode = 0100644;

// Zips the regular files directly in `folder` (not its subfolders, not
// symbolic links) into `zipFile`, each as "<folder's name>/<file's name>", as
// zipping a folder in a file manager does: unzipped, the files come out in a
// folder of their own. Entries are sorted by name (byte order), stored with
// the fixed time and permissions above, deflated at level 9, without extra
// fields or comments. The archive is built in memory (the app's folders are
// small) and written atomically: on failure no file is left at `zipFile` or
// beside it, a file that was there is untouched, and the error says why.
std::expected<void, std::string> zipFolder(const std::filesystem::path& folder, const std::filesystem::path& zipFile);

}  // namespace pivra
