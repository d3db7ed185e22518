#include "formats/mPatchMUO.h"

#include <unistd.h>

#include "base/FilePaths.h"
#include "base/SafeSave.h"
#include "base/cError.h"
#include "core/DatafileWalk.h"
#include "core/mPatch.h"
#include "core/mWait.h"
#include "formats/FormatCodes.h"
#include "formats/ReadNotes.h"
#include "formats/cMUO.h"

namespace quillet {

bool LoadMUO(const std::string& PatchFilename, uint8_t FromFileID, uint8_t ToFileID, int32_t FromBlock,
             int32_t ToBlock) {
    int64_t entry = -1;
    try {
        if (PatchFilename.empty() || ::access(PatchFilename.c_str(), F_OK) != 0) return true;
        cMUO muo;
        // A file that cannot be read, or is no MUO file, is a failure that
        // names it: the user must hear of it before anything is saved.
        if (const int32_t code = muo.cOpen(PatchFilename); code != 0)
            Fail(SourceFailure(PatchFilename, muo.cError(code), muo.Why));
        const int32_t total = muo.cCount();
        CountingPoint progress(total);
        int64_t stored = 0;
        for (entry = 0; entry < total; ++entry) {
            // Once the file is used up every further entry is the same zeroed
            // record: storing it once has the whole effect of storing it again.
            const bool pastEnd = muo.cAtEnd();
            uint8_t fileId = 0;
            int32_t block = 0, extra = 0, size = 0;
            // The head only: the bytes pass from the file into the DataFile a
            // piece at a time, and those of a dropped entry are passed over.
            muo.cLoadHead(fileId, block, extra, size);
            // 252..255 all carry bit 6; they are the format's reserved numbers
            // and are dropped by what the file says, before the flag is taken off.
            const bool reserved = fileId >= 252;

            if (fileId & 64) {
                fileId = static_cast<uint8_t>(fileId & ~64);
                FileTypes[fileId].InVerdata = 0;
            } else {
                FileTypes[fileId].InVerdata = 1;
            }
            bool dropped = false;
            if (block > FileTypes[fileId].NbrOfBlocks) {
                MsgBox(IllegalBlockMessage(fileId, block));
                dropped = true;
            }
            if (fileId < FromFileID || fileId > ToFileID || block < FromBlock || block > ToBlock || reserved)
                dropped = true;
            if (!dropped) {
                StoreBlockFrom(fileId, block, size, extra, muo.cData());
                ++stored;
            }

            progress.Tick(entry);
            if (pastEnd) break;
        }
        entry = -1;
        muo.cClose();
        RecountAllBlocks();
        if (stored == 0) WarnNothingLoaded(PatchFilename, total);
        return true;
    } catch (...) {
        // What was stored before the stop stays, and the counts say so.
        RecountAllBlocks();
        gError.Log("mPatch.LoadMUO", FailureInSource(PatchFilename, entry));
        return false;
    }
}

bool SaveMUO(const std::string& PatchFilename) {
    std::string target = PatchFilename;  // the file itself, where PatchFilename is a symbolic link to it
    std::string temp;
    FileIdentity made;  // the temporary file this save made; no other is touched
    TempClaim claim;
    try {
        // Through a link the file it names is replaced; the link stays.
        if (const int error = ResolveLinks(PatchFilename, target); error != 0)
            Fail(PatchFilename + ": " + ErrnoText(error));
        const KeptAttributes kept = AttributesOf(target);
        // Only a file is replaced: a directory, a pipe or a device under the name stays what it is.
        if (NameTaken(target) && !kept.present)
            if (std::string why = WhyNotAFile(target); !why.empty()) Fail(target + ": " + why);
        temp = TempNameBeside(target);
        RemoveDeadTempFiles(DirectoryOf(target));

        RecountAllBlocks();
        int64_t total = 0;
        for (int id = 0; id <= 254; ++id)
            if (!FileTypes[id].Name.empty()) total += PatchBlocks[id].Count;

        cMUO muo;
        claim.Name(temp);
        const int32_t created = muo.cCreate(temp, CreateModeFor(kept));
        made = IdentityOf(temp);
        if (created != 0) Fail(muo.cError(created) + " " + temp + ": " + ErrnoText(muo.LastError()));
        claim.Hold();
        CountingPoint progress(total);
        int64_t written = 0;
        const ByteArray none;
        DatafileWalk stored(DataFileHandle);
        for (int id = 0; id < kFileIDs; ++id) {
            if (PatchBlocks[id].Count <= 0) continue;
            const int32_t flagged = FileTypes[id].InVerdata != 0 ? id : (id | 64);
            const auto& blocks = PatchBlocks[id].Blocks;
            for (size_t block = blocks.NextAllocated(0); block < blocks.size();
                 block = blocks.NextAllocated(block + 1)) {
                const PatchBlock& slot = blocks[block];
                if (slot.Offset <= -1) continue;
                const auto number = static_cast<int32_t>(block);
                if (slot.Offset != 0 && slot.Size > 0) {
                    if (const uint8_t* bytes = stored.View(slot.Offset, slot.Size))
                        muo.cSave(flagged, number, slot.Extra, bytes, slot.Size);
                    else
                        muo.cSave(flagged, number, slot.Extra, slot.Size, stored.Feed(slot.Offset, slot.Size));
                } else {
                    muo.cSave(flagged, number, slot.Extra, none, slot.Size);
                }
                progress.Tick(written++);
            }
        }
        if (const int32_t code = muo.cClose(); code != 0)
            Fail(muo.cError(code) + " " + temp + ": " + ErrnoText(muo.LastError()));
        claim.Ready(kept);
        if (std::string why; !CommitReplace(temp, target, made, &why))
            Fail("Unable to replace " + target + " by " + temp + ": " + why);
        return true;
    } catch (...) {
        if (!temp.empty()) RemoveIfSame(temp, made);
        gError.Log("mPatch.SaveMUO");
        return false;
    }
}

}  // namespace quillet
