#pragma once
// Every save is written to a temporary file beside its target and renamed
// into place only when complete, so a failed save never costs the old file.
#include <cstdint>
#include <string>

#include "base/FileLock.h"

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
// or removed and the answer is false. why, if given, gets the reason of a
// failure.
bool CommitReplace(const std::string& tempName, const std::string& target, const FileIdentity& written,
                   std::string* why = nullptr);

// What a file that a save replaces hands on to its successor: its
// permission bits, its owner and its group.
struct KeptAttributes {
    bool present = false;  // a regular file stood there to take them from
    unsigned mode = 0;     // permission bits, set-id and sticky bits included
    unsigned uid = 0;
    unsigned gid = 0;
};
// Of the regular file at path (a final link followed); not present when
// there is none.
KeptAttributes AttributesOf(const std::string& path);
// The mode to create the successor with: while it is written it is private
// (0600) when it will take an old file's attributes, else it gets the usual
// 0666 less the umask, as any new file.
inline unsigned CreateModeFor(const KeptAttributes& kept) { return kept.present ? 0600u : 0666u; }
// Gives the open file the owner, group and mode of kept, as far as this user
// may: root keeps everything, the file's owner keeps the group if a member of
// it, and the mode always. Nothing for a kept of no file.
void GiveAttributes(int fd, const KeptAttributes& kept);

// A temporary file this run writes (a save's .NAME.tmp-PID, an export's
// verdata.tmp), claimed: locked and then marked (base/ScratchFiles.h) for as
// long as the claim lives, so that no other run takes it for a dead run's
// leftover while it is written, and listed for RemoveClaimedTempFiles.
class TempClaim {
public:
    TempClaim() = default;
    ~TempClaim() { Release(); }
    TempClaim(const TempClaim&) = delete;
    TempClaim& operator=(const TempClaim&) = delete;

    // Lists path for RemoveClaimedTempFiles: from now on a signal removes
    // it. Called before the file is made, so that it never exists unclaimed
    // (a name this run may replace anyway: its own PID's, or one in a
    // directory it holds locked).
    void Name(const std::string& path);
    // Locks and then marks the file now made at the name. Best effort: a
    // file that cannot be locked or marked is only never cleaned by others.
    void Hold();
    // Before the file takes the user's name: the mark off, the attributes of
    // the file it replaces on (GiveAttributes), and both on the disk. The
    // lock stays until Release, past the rename.
    void Ready(const KeptAttributes& kept);
    void Release();

private:
    std::string path_;
    int fd_ = -1;
    FileLock lock_;
    int slot_ = -1;
};

// Deletes the files claimed now. Only for a signal handler that ends the
// process: it calls nothing but unlink.
void RemoveClaimedTempFiles();
// Deletes in directory the temporary files of saves and exports that dead
// runs left ("." NAME ".tmp-" PID and NAME ".tmp" files, claimed and
// marked by a run that is gone); see RemoveDeadScratch. Answers how many.
int RemoveDeadTempFiles(const std::string& directory);

}  // namespace quillet
