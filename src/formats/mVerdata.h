#pragma once
// Moving blocks between verdata.mul and the patch store: loading a verdata
// file into the patch, and exporting the patch into a new verdata.mul.
#include <cstdint>
#include <string>

#include "base/FileLock.h"

namespace quillet {

// Merges the entries of a verdata file whose FileID and Block lie in the
// inclusive ranges into the open patch (the newest load wins). A block number
// above its type's range shows the illegal block message and is skipped. An
// empty name or a missing file loads nothing, silently, and answers true. The
// file is opened for reading only. Failures (a file that cannot be read, one
// that cannot be a verdata file: a negative count, a client's container; a
// negative FileID, bytes at a negative position, a block too large to hold,
// a store into a type without slots) are logged as "mVerdata.LoadVerdata"
// with the file's name, end the load (the blocks stored so far stay, and
// Count is recomputed) and answer false. Bytes past the end of the file and
// entries the count promises but the file lacks read as zeros, told as
// warnings (base/Warnings.h), as is a load that gave no block at all.
bool LoadVerdata(const std::string& Filename, uint8_t FromFileID, uint8_t ToFileID, int32_t FromBlock,
                 int32_t ToBlock);

// What an export does in a directory without a verdata.mul: nothing stands
// under the name, nor where a link of that name leads.
enum class MissingVerdata : unsigned char {
    Tell,    // the message that there is none, and no export
    Create,  // a new, empty verdata.mul (a count of 0) first, then the export into it
};

// The blocks an export writes from the patch: every present block (Offset
// above -1) of FileID 0..250.
int64_t ExportedBlockCount();

// Whether Directory holds no verdata.mul in the sense of MissingVerdata
// (something else under the name, a folder say, is not missing).
bool VerdataMissing(const std::string& Directory);

// Rewrites Directory/verdata.mul as the old file's entries followed by every
// present block of FileID 0..250, by FileID and Block. The new file is built
// as verdata.tmp and put on the disk before it takes the name verdata.mul,
// and verdata.mul names a complete file at every moment. The old file stays
// as verdata.bak; an older verdata.bak is kept as verdata.N.bak, N the first
// free number from 1, so that no backup is ever deleted. The new file takes
// the old one's mode, owner and group (as far as this user may set them).
//
// A verdata.mul that is a symbolic link is exported through: the file it
// leads to is replaced, the new file is built beside that file and the
// backup kept beside it (NAME.tmp, NAME.bak for a file NAME.mul), and the
// link stays. The directory written into is locked (flock) for the whole
// export; another export there waits for it, or with LockWait::NoWait the
// export ends at once with a message.
//
// Old entries whose bytes reach past the end of the old file are copied with
// zeros for what is missing, and entries the old file counts but does not
// hold are left out; both are told as warnings (base/Warnings.h).
//
// A missing verdata.mul (MissingVerdata) is told, naming the directory
// looked in, or with MissingVerdata::Create started: a file of the 4 bytes
// of a count of 0, created only where no file stands (a file that appears
// meanwhile is never replaced, and is exported into as any other). A file
// the export started gets no backup, as it held nothing of the user's.
//
// Answers true when the new verdata.mul is in place. Otherwise the user has
// been told by a message (no blocks, no verdata.mul, it cannot be opened, the
// new file cannot be created, the directory is in use) or the failure is
// logged; in both cases verdata.mul and every backup are as they were (an
// empty verdata.mul that the export started is taken away again) and no
// verdata.tmp is left. Directory may end in '/' or not; the GUI passes the
// program's directory.
bool ExportVerdata(const std::string& Directory, LockWait wait = LockWait::Wait,
                   MissingVerdata missing = MissingVerdata::Tell);

}  // namespace quillet
