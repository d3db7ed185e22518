#include "formats/mPatchUOP.h"

#include <unistd.h>

#include "base/cError.h"
#include "core/mPatch.h"
#include "core/mWait.h"
#include "formats/FormatCodes.h"
#include "formats/ReadNotes.h"
#include "formats/cUOP.h"

namespace quillet {

bool LoadUOP(const std::string& PatchFilename, uint8_t FromFileID, uint8_t ToFileID, int32_t FromBlock,
             int32_t ToBlock) {
    int64_t entry = -1;
    try {
        if (PatchFilename.empty() || ::access(PatchFilename.c_str(), F_OK) != 0) return true;
        cUOP uop;
        // A file that cannot be read, of another version or no UOP patch file
        // at all (a client's container) is a failure that names it.
        if (const int32_t code = uop.cOpen(PatchFilename); code != 0)
            Fail(SourceFailure(PatchFilename, uop.cError(code), uop.Why));
        const int32_t total = uop.cCount();
        CountingPoint progress(total);
        // cLoadHead reads into these, and where the file has ended they keep
        // what the entry before left in them: they live across the whole walk.
        uint8_t fileId = 0;
        int32_t block = 0, extra = 0, size = 0;
        int64_t stored = 0;
        for (entry = 0; entry < total; ++entry) {
            // Once the file is used up every further entry is the same one
            // again, with zero bytes as its data: storing it once has the whole
            // effect on the patch of storing it for every missing entry. (Its
            // message, if its block is out of range, is shown once, too.)
            const bool pastEnd = uop.cAtEnd();
            // The head only: the bytes pass from the file into the DataFile a
            // piece at a time, and those of a dropped entry are passed over.
            uop.cLoadHead(fileId, block, extra, size);

            bool dropped = false;
            if (block > FileTypes[fileId].NbrOfBlocks) {
                MsgBox(IllegalBlockMessage(fileId, block));
                dropped = true;
            }
            if (fileId < FromFileID || fileId > ToFileID || block < FromBlock || block > ToBlock || fileId >= 252)
                dropped = true;
            if (!dropped) {
                StoreBlockFrom(fileId, block, size, extra, uop.cData());
                ++stored;
            }

            progress.Tick(entry);
            if (pastEnd) break;
        }
        entry = -1;
        uop.cClose();
        RecountAllBlocks();
        if (stored == 0) WarnNothingLoaded(PatchFilename, total);
        return true;
    } catch (...) {
        // What was stored before the stop stays, and the counts say so.
        RecountAllBlocks();
        gError.Log("mPatch.LoadUOP", FailureInSource(PatchFilename, entry));
        return false;
    }
}

}  // namespace quillet
