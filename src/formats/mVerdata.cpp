#include "formats/mVerdata.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/FilePaths.h"
#include "base/SafeSave.h"
#include "base/cError.h"
#include "core/mPatch.h"
#include "core/mWait.h"
#include "formats/FormatCodes.h"
#include "formats/ReadNotes.h"
#include "formats/cVerdata.h"
#include "support/Services.h"

namespace quillet {
namespace {

// The highest FileID that an export writes.
constexpr int kLastExportedFileID = 250;

// The swap after verdata.tmp is complete and on the disk.
//
// Backups: the file that verdata.mul was before this export becomes
// verdata.bak. A verdata.bak of an earlier export is not deleted but moves
// first to verdata.N.bak, N the first free number from 1 (verdata.1.bak,
// verdata.2.bak...), so that every file the user ever had as verdata.mul
// survives. A number that the user freed is taken again, so the numbers say
// nothing of age; the files keep their times.
//
// verdata.mul is never missing: the old file first gets its second name
// verdata.bak by a hard link, and the rename of verdata.tmp over verdata.mul
// replaces it in one step. Only a file system without hard links moves the
// old file away first, which leaves verdata.mul missing between two renames.
// Any step that fails undoes the steps before it and throws.
void SwapInNewVerdata(const std::string& dir, const FileIdentity& written) {
    const std::string mul = dir + "verdata.mul";
    const std::string tmp = dir + "verdata.tmp";
    const std::string bak = dir + "verdata.bak";

    std::string olderBackup;
    if (NameTaken(bak)) {
        for (int32_t n = 1;; n = AddLong(n, 1)) {
            const std::string numbered = dir + "verdata." + std::to_string(n) + ".bak";
            if (NameTaken(numbered)) continue;
            const int error = RenameNoReplace(bak, numbered);
            if (error == 0) {
                olderBackup = numbered;
                break;
            }
            if (error != EEXIST) Fail("Cannot keep the earlier " + bak + " as " + numbered + ": " + ErrnoText(error));
        }
    }
    auto restoreOlderBackup = [&] {
        if (!olderBackup.empty()) RenameNoReplace(olderBackup, bak);
    };

    bool linked = ::link(mul.c_str(), bak.c_str()) == 0;
    if (!linked) {
        const int error = errno;
        const bool noHardLinks = error == EPERM || error == ENOTSUP || error == EXDEV || error == EMLINK;
        const int failure = noHardLinks ? RenameNoReplace(mul, bak) : error;
        if (failure != 0) {
            restoreOlderBackup();
            Fail("Cannot keep " + mul + " as " + bak + ": " + ErrnoText(failure));
        }
    }
    // Only the file this export wrote may become the game's file.
    const bool stillOurs = IdentityOf(tmp) == written;
    if (!stillOurs || std::rename(tmp.c_str(), mul.c_str()) != 0) {
        const std::string why = stillOurs ? ErrnoText(errno) : "it is no longer the file this export wrote";
        if (linked)
            ::unlink(bak.c_str());  // the second name of the old file, which verdata.mul still holds
        else
            RenameNoReplace(bak, mul);
        restoreOlderBackup();
        Fail("Cannot rename " + tmp + " to " + mul + ": " + why);
    }
    SyncDirectory(dir);
}

}  // namespace

bool LoadVerdata(const std::string& Filename, uint8_t FromFileID, uint8_t ToFileID, int32_t FromBlock,
                 int32_t ToBlock) {
    int64_t index = -1;
    try {
        if (Filename.empty() || ::access(Filename.c_str(), F_OK) != 0) return true;
        cVerdata verdata;
        // A file that cannot be read, or cannot be a verdata file at all, is
        // a failure that names it.
        if (const int32_t code = verdata.cOpen(Filename, cVerdata::Access::Read); code != 0)
            Fail(SourceFailure(Filename, verdata.cError(code), verdata.Why));
        if (const std::string why = verdata.NotVerdataWhy(); !why.empty()) Fail(Filename + ": " + why);
        const int32_t total = verdata.cCount();
        CountingPoint progress(total, false);  // a verdata load moves no progress bar
        int64_t stored = 0;
        for (index = 0; index < total; ++index) {
            // Entries past the end of the file are all the same zeroed entry:
            // storing it once has the whole effect of storing it for each.
            const bool pastEnd = !verdata.EntryInFile(static_cast<int32_t>(index));
            uint8_t fileId = 0;
            int32_t block = 0, extra = 0, size = 0;
            // The entry only: its bytes pass from the file into the DataFile a
            // piece at a time.
            verdata.cLoadHead(static_cast<int32_t>(index), fileId, block, extra, size);
            bool dropped = false;
            // Before the range filter: a block outside the ranges is reported too.
            if (block > FileTypes[fileId].NbrOfBlocks) {
                MsgBox(IllegalBlockMessage(fileId, block));
                dropped = true;
            }
            if (fileId < FromFileID || fileId > ToFileID || block < FromBlock || block > ToBlock) dropped = true;
            if (!dropped) {
                StoreBlockFrom(fileId, block, size, extra, verdata.cData());
                ++stored;
            }
            progress.Tick(index);
            if (pastEnd) break;
        }
        index = -1;
        verdata.cClose();
        RecountAllBlocks();
        if (stored == 0) WarnNothingLoaded(Filename, total);
        return true;
    } catch (...) {
        // What was stored before the stop stays, and the counts say so.
        RecountAllBlocks();
        gError.Log("mVerdata.LoadVerdata", FailureInSource(Filename, index));
        return false;
    }
}

bool ExportVerdata(const std::string& Directory) {
    const std::string dir = WithSlash(Directory);
    const std::string mul = dir + "verdata.mul";
    const std::string tmp = dir + "verdata.tmp";
    bool created = false;
    FileIdentity written;  // of the verdata.tmp this export made; no other is touched
    try {
        int64_t patchTotal = 0;
        for (int id = 0; id <= kLastExportedFileID; ++id) {
            if (FileTypes[id].Name.empty()) continue;
            for (const PatchBlock& slot : PatchBlocks[id].Blocks)
                if (slot.Offset > -1) ++patchTotal;
        }
        if (patchTotal == 0) {
            MsgBox("There are no blocks in the patch to save.");
            return false;
        }
        if (!gFileIO.FileExist(mul)) {
            MsgBox("Cannot find verdata.mul in the directory you run Quillet.");
            return false;
        }
        cVerdata oldFile;
        cVerdata newFile;
        if (oldFile.cOpen(mul) != 0) {
            MsgBox("Unable to open the verdata.mul. It is maybe in use or read only.");
            return false;
        }
        const int32_t oldCount = oldFile.cCount();
        // A count that the file cannot hold would copy invented entries into
        // the game's file; such a file is refused before anything is written.
        if (!oldFile.IndexFits())
            Fail(mul + " counts " + std::to_string(oldCount) + " entries, more than its " +
                 std::to_string(oldFile.FileSize()) + " bytes can hold");
        const int32_t finalCount = AddLong(ToLong(patchTotal), oldCount);

        created = true;  // from here on a verdata.tmp may exist that is ours to remove
        const int32_t createCode = newFile.cCreate(tmp, finalCount);
        written = IdentityOf(tmp);
        if (createCode != 0) {
            MsgBox("Unable to create the new verdata.mul");
            oldFile.cClose();
            RemoveIfSame(tmp, written);
            return false;
        }

        CountingPoint progress(finalCount);
        int32_t running = 0;
        ByteArray bytes;  // every block of both files passes through this one array
        for (int32_t index = 0; index < oldCount; ++index) {
            uint8_t fileId = 0;
            int32_t block = 0, extra = 0, size = 0;
            oldFile.cLoad(index, fileId, block, extra, bytes, size);
            newFile.cSave(fileId, block, extra, bytes, size);
            running = AddLong(running, 1);
            progress.Tick(running);
        }
        oldFile.cClose();

        for (int id = 0; id <= kLastExportedFileID; ++id) {
            if (FileTypes[id].Name.empty()) continue;
            const auto fileId = static_cast<uint8_t>(id);
            const std::vector<PatchBlock>& blocks = PatchBlocks[id].Blocks;
            for (size_t block = 0; block < blocks.size(); ++block) {
                const PatchBlock& slot = blocks[block];
                const auto blockNumber = static_cast<int32_t>(block);
                if (slot.Offset > 0) {
                    if (slot.Size > 0) Datafile_Read(DataFileHandle, slot.Offset, slot.Size, bytes);
                    newFile.cSave(fileId, blockNumber, slot.Extra, bytes, slot.Size);
                    running = AddLong(running, 1);
                } else if (slot.Offset == 0) {
                    // A present block without bytes is written as Size -1, whatever the slot says.
                    newFile.cSave(fileId, blockNumber, slot.Extra, bytes, -1);
                    running = AddLong(running, 1);
                }
                progress.Tick(running);
            }
        }
        if (newFile.cCount() != finalCount)
            Fail("Wrote " + std::to_string(newFile.cCount()) + " verdata entries of " + std::to_string(finalCount));
        if (const int32_t code = newFile.cClose(); code != 0) Fail(newFile.cError(code) + " " + tmp);

        SwapInNewVerdata(dir, written);
        return true;
    } catch (...) {
        if (created) RemoveIfSame(tmp, written);
        gError.Log("mVerdata.ExportVerdata");
        return false;
    }
}

}  // namespace quillet
