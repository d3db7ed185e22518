#include "operations/mImport.h"

#include <algorithm>

#include "base/Checked.h"
#include "base/Warnings.h"
#include "base/cError.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mWait.h"
#include "formats/ReadNotes.h"
#include "formats/cMUL.h"
#include "formats/mHues.h"
#include "support/Services.h"

namespace quillet {
namespace {

// An index record of this Size ends the import at its block.
constexpr int32_t kStopSize = -2;

// Walks First..Last (inclusive) on an open cMUL, reading index Block -
// IndexBase, until a Size of -2 ends the walk; answers whether it ran to Last.
// Each walked block is stored with its bytes, or present and empty with Size
// -1 whatever non-positive size the source gave. The bytes pass from the MUL
// file into the DataFile a piece at a time; only a Hues group, converted on
// the way, is held whole.
bool ImportRange(cMUL& mul, uint8_t FileID, int64_t First, int64_t Last, int32_t IndexBase, CountingPoint& progress) {
    ByteArray bytes;
    ByteArray hues;
    for (int64_t block = First; block <= Last; ++block) {
        const int32_t number = ToLong(block);
        const int32_t index = SubLong(number, IndexBase);
        int32_t extra = 0;
        const int32_t size = FileID == kHuesFileID ? mul.cLoad(index, extra, bytes) : mul.cLoadHead(index, extra);
        if (size == kStopSize) return false;
        if (size < 1)
            StoreBlock(FileID, number, -1, extra, nullptr);
        else if (FileID == kHuesFileID)
            StoreMULBlock(FileID, number, size, extra, bytes, hues);
        else
            StoreBlockFrom(FileID, number, size, extra, mul.cData());
        progress.Tick(number);
    }
    return true;
}

}  // namespace

void OpenMUL(cMUL& Mul, const std::string& IDXFilename, const std::string& MULFilename, int32_t ConstantIndex,
             int32_t NbrOfBlocks, int32_t Offset) {
    const int32_t code = Mul.cOpen(IDXFilename, MULFilename, ConstantIndex, NbrOfBlocks, Offset);
    if (code == 0) return;
    const std::string names = ConstantIndex > 0 ? MULFilename : IDXFilename + " and " + MULFilename;
    Fail(Mul.cError(code) + " " + names + (Mul.Why.empty() ? "" : " (" + Mul.Why + ")"));
}

void WarnBeyondLast(cMUL& mul, const std::string& file, uint8_t FileID, int64_t FromBlock, int64_t ToBlock,
                    int32_t LastBlock, int32_t IndexBase, const char* whatBecame) {
    if (ToBlock <= LastBlock) return;
    const int64_t first = std::max<int64_t>(FromBlock, int64_t{LastBlock} + 1) - IndexBase;
    const int64_t beyond = mul.cBlocksIn(first, ToBlock - IndexBase);
    if (beyond > 0)
        Warn(file + ": " + Counted(beyond, "block lies", "blocks lie") + " beyond the last block of " +
             FileTypes[FileID].Name + " (" + std::to_string(LastBlock) + "); " + whatBecame + ".");
}

void StoreMULBlock(uint8_t FileID, int32_t Block, int32_t Size, int32_t Extra, const ByteArray& Bytes,
                   ByteArray& HueBuffer) {
    if (FileID != kHuesFileID) {
        if (static_cast<int64_t>(Bytes.size()) < Size) Fail(kSubscript);
        StoreBlock(FileID, Block, Size, Extra, Bytes);
        return;
    }
    // The size the source gave is not used: the patch holds the verdata form.
    HueBuffer.clear();
    ToVerdataHues(Bytes, HueBuffer);
    if (HueBuffer.size() != static_cast<size_t>(kVerdataHueGroupSize))
        Fail("Hues block " + std::to_string(Block) + " could not be converted");
    StoreBlock(FileID, Block, kVerdataHueGroupSize, Extra, HueBuffer);
}

bool LoadMUL(const std::string& MULFilename, const std::string& IDXFilename, uint8_t FileID, int32_t FromBlock,
             int32_t ToBlock) {
    try {
        if (!gFileIO.FileExist(MULFilename)) return true;
        const FileTypeRec& type = FileTypes[FileID];
        cMUL mul;
        OpenMUL(mul, IDXFilename, MULFilename, type.ConstantIndex, type.NbrOfBlocks, 0);
        CountingPoint progress(type.NbrOfBlocks);
        const int64_t last = ToBlock < type.NbrOfBlocks ? ToBlock : type.NbrOfBlocks;
        if (ImportRange(mul, FileID, FromBlock, last, 0, progress))
            WarnBeyondLast(mul, type.ConstantIndex > 0 ? MULFilename : IDXFilename, FileID, FromBlock, ToBlock,
                           type.NbrOfBlocks, 0, "they were not imported");
        mul.cClose();
        RecountBlocks(FileID);
        return true;
    } catch (...) {
        RecountBlocks(FileID);  // what was stored before the stop stays, and the count says so
        gError.Log("mMuls.LoadMUL");
        return false;
    }
}

bool LoadTiledata(const std::string& MULFilename, int32_t FromBlock, int32_t ToBlock) {
    try {
        if (!gFileIO.FileExist(MULFilename)) return true;
        // One object serves both sections, opened and closed once for each.
        cMUL mul;
        CountingPoint progress(FileTypes[kTiledataFileID].NbrOfBlocks);
        const TiledataSection& land = kTiledataSections[0];
        const TiledataSection& statics = kTiledataSections[1];
        if (FromBlock < statics.FirstBlock) {
            OpenMUL(mul, "", MULFilename, land.BlockSize, land.LastBlock - land.FirstBlock, land.Start);
            const int64_t last = ToBlock < land.LastBlock ? ToBlock : land.LastBlock;
            ImportRange(mul, kTiledataFileID, FromBlock, last, land.FirstBlock, progress);
            mul.cClose();
        }
        // The second section always begins at its first group.
        if (ToBlock >= statics.FirstBlock) {
            OpenMUL(mul, "", MULFilename, statics.BlockSize, statics.LastBlock - statics.FirstBlock, statics.Start);
            const int64_t last = ToBlock < statics.LastBlock ? ToBlock : statics.LastBlock;
            if (ImportRange(mul, kTiledataFileID, statics.FirstBlock, last, statics.FirstBlock, progress))
                WarnBeyondLast(mul, MULFilename, kTiledataFileID, statics.FirstBlock, ToBlock, statics.LastBlock,
                               statics.FirstBlock, "they were not imported");
            mul.cClose();
        }
        RecountBlocks(kTiledataFileID);
        return true;
    } catch (...) {
        RecountBlocks(kTiledataFileID);  // what was stored before the stop stays, and the count says so
        gError.Log("mMuls.LoadTiledata");
        return false;
    }
}

}  // namespace quillet
