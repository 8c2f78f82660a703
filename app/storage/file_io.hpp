#pragma once
// Writing the app's own files; they are read with readSmallFile. Failures are
// results, never exceptions: a file error must not stop a link.

#include <cstdint>
#include <expected>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace pivra {

// Replaces the file's contents all at once: the bytes go to a temporary file
// in the same folder, are flushed to disk, and the temporary file is renamed
// over `file`, so a reader sees the old or the new bytes, never a mix. When
// `file` is a symbolic link, its target is replaced and the link stays. The
// folder is created when missing. On failure the old file is untouched and
// no temporary file is left behind; after a success, temporaries that an
// earlier crash left beside the file (a minute or more before) are removed.
bool writeFileAtomically(const std::filesystem::path& file, std::string_view bytes);
// The same, saying why it failed: the system's error of the step that did.
std::expected<void, std::error_code> writeFileAtomicallyOrError(const std::filesystem::path& file, std::string_view bytes);

enum class AppendFailure { cannotOpen, tooLarge, writeFailed };

// Adds `line` (which ends with a line feed) at the end of an existing file,
// through one descriptor. An unfinished last line (one a crash cut off) is
// ended first, so that the new line stays whole. A file larger than
// `maxSize` is left as it is. Returns the file's size afterwards.
std::expected<std::uintmax_t, AppendFailure> appendLine(const std::filesystem::path& file, std::string_view line,
                                                        std::uintmax_t maxSize);

}  // namespace pivra
