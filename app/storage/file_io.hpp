#pragma once
// Writing the app's own files; they are read with readSmallFile. Failures are
// results, never exceptions: a file error must not stop a link.

#include <filesystem>
#include <string_view>

namespace pivra {

// Replaces the file's contents all at once: the bytes go to a temporary file
// in the same folder, are flushed to disk, and the temporary file is renamed
// over `file`, so a reader sees the old or the new bytes, never a mix. When
// `file` is a symbolic link, its target is replaced and the link stays. The
// folder is created when missing. On failure the old file is untouched and
// no temporary file is left behind; after a success, temporaries that an
// earlier crash left beside the file (a minute or more before) are removed.
bool writeFileAtomically(const std::filesystem::path& file, std::string_view bytes);

// Adds `line` at the end of an existing file. False when the file cannot be
// opened for appending (it does not exist, say) or the write fails.
bool appendToFile(const std::filesystem::path& file, std::string_view bytes);

}  // namespace pivra
