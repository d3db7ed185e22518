#pragma once
// Every save is written to a temporary file beside its target and renamed
// into place only when complete, so a failed save never costs the old file.
#include <string>

namespace quillet {

// "dir/.name.tmp-PID" beside target: same directory, so the rename is atomic.
std::string TempNameBeside(const std::string& target);
// Flushes tempName to disk and renames it over target. On failure the
// temporary file is removed and target is left as it was.
bool CommitReplace(const std::string& tempName, const std::string& target);
// Directory part of a path ("" for a bare name), without closing '/'.
std::string DirectoryOf(const std::string& path);

}  // namespace quillet
