#include "formats/mPatchUOP.h"

#include <unistd.h>

#include "core/mPatch.h"
#include "base/cError.h"
#include "core/mWait.h"
#include "formats/FormatCodes.h"
#include "formats/cUOP.h"

namespace quillet {

bool LoadUOP(const std::string& PatchFilename, uint8_t FromFileID, uint8_t ToFileID, int32_t FromBlock,
             int32_t ToBlock) {
    try {
        if (PatchFilename.empty() || ::access(PatchFilename.c_str(), F_OK) != 0) return true;
        cUOP uop;
        if (uop.cOpen(PatchFilename) != 0) return true;
        const int32_t total = uop.cCount();
        CountingPoint progress(total);
        // cLoad reads into these, and where the file has ended they keep what
        // the entry before left in them: they live across the whole walk.
        ByteArray bytes;
        uint8_t fileId = 0;
        int32_t block = 0, extra = 0, size = 0;
        for (int32_t entry = 0; entry < total; ++entry) {
            // Once the file is used up every further entry is the same one
            // again, with zero bytes as its data: storing it once has the whole
            // effect on the patch of storing it for every missing entry. (Its
            // message, if its block is out of range, is shown once, too.)
            const bool pastEnd = uop.cAtEnd();
            uop.cLoad(fileId, block, extra, bytes, size);

            bool dropped = false;
            if (block > FileTypes[fileId].NbrOfBlocks) {
                MsgBox(IllegalBlockMessage(fileId, block));
                dropped = true;
            }
            if (fileId < FromFileID || fileId > ToFileID || block < FromBlock || block > ToBlock || fileId >= 252)
                dropped = true;
            if (!dropped) StoreBlock(fileId, block, size, extra, bytes);

            progress.Tick(entry);
            if (pastEnd) break;
        }
        uop.cClose();
        RecountAllBlocks();
        return true;
    } catch (...) {
        gError.Log("mPatch.LoadUOP");
        return false;
    }
}

}  // namespace quillet
