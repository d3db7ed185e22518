#pragma once
// Every save is written to a temporary file beside its target and renamed
// into place only when complete, so a failed save never costs the old file.
#include <cstdint>
#include <string>

namespace quillet {

// "dir/.name.tmp-PID" beside target: same directory, so the rename is atomic.
std::string TempNameBeside(const std::string& target);
// What stays the same of a file whatever name it has.
struct FileIdentity {
    uint64_t device = 0;
    uint64_t inode = 0;
    bool operator==(const FileIdentity&) const = default;
};
// Of the file that path names now (a final link not followed); all zero when
// there is none.
FileIdentity IdentityOf(const std::string& path);
// Deletes path only while it still names the file of that identity: a file
// someone else put under the name is not ours to delete.
void RemoveIfSame(const std::string& path, const FileIdentity& identity);

// Flushes tempName to disk and renames it over target. On failure the
// temporary file is removed and target is left as it was.
bool CommitReplace(const std::string& tempName, const std::string& target);
// The same for a temporary file that stayed under its name for a long time
// (a save of a whole patch): only the file written, of identity `written`,
// is put in place. If tempName now names another file, nothing is renamed
// or removed and the answer is false.
bool CommitReplace(const std::string& tempName, const std::string& target, const FileIdentity& written);

}  // namespace quillet
