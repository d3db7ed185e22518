#include "operations/mImport.h"

#include <algorithm>
#include <vector>

#include "base/Checked.h"
#include "base/Warnings.h"
#include "base/cError.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mWait.h"
#include "formats/ReadNotes.h"
#include "formats/cClientUOP.h"
#include "formats/cMUL.h"
#include "formats/cTiledata.h"
#include "formats/mHues.h"
#include "support/Services.h"

namespace quillet {
namespace {

// An index record of this Size ends the import at its block.
constexpr int32_t kStopSize = -2;

// Blocks from First on that the source gives as one run (see cLoadRun):
// their bytes go into the DataFile in one append, a megabyte at a time, and
// their slots are set after it, as the walk block by block would set them.
// False when the source has no run there.
bool ImportRun(BlockReader& source, uint8_t FileID, int64_t First, int64_t Last, std::vector<BlockHead>& run) {
    constexpr int32_t kRunBlocks = 4096;
    constexpr int64_t kRunBytes = int64_t{1} << 20;
    const int32_t first = ToLong(First);
    const auto count = static_cast<int32_t>(std::min<int64_t>(Last - First + 1, kRunBlocks));
    if (source.cLoadRun(first, count, kRunBytes, run) < 1) return false;
    int64_t bytes = 0;
    for (const BlockHead& head : run) bytes += std::max(head.Size, 0);
    // A run that would pass the DataFile's end or the type's slots goes
    // block by block, so that the blocks before the one that fails are
    // stored all the same.
    const int64_t end = first + static_cast<int64_t>(run.size());
    if (DataFileHandle.Size() + bytes > kDatafileLimit ||
        end > static_cast<int64_t>(PatchBlocks[FileID].Blocks.size()))
        return false;
    const int64_t start = bytes > 0 ? Datafile_Append(DataFileHandle, source.cData(), bytes) : 0;
    int64_t offset = start;
    for (size_t k = 0; k < run.size(); ++k) {
        PatchBlock& slot = Slot(FileID, first + static_cast<int64_t>(k));
        const BlockHead& head = run[k];
        // Present and empty with Size -1, whatever non-positive size the source gave.
        slot.Size = head.Size < 1 ? -1 : head.Size;
        slot.Extra = head.Extra;
        slot.Offset = head.Size < 1 ? 0 : static_cast<int32_t>(offset);
        if (head.Size > 0) offset += head.Size;
    }
    return true;
}

// Walks First..Last (inclusive) on an open source until a Size of -2 ends
// the walk; answers whether it ran to Last. Each walked block is stored with
// its bytes, or present and empty with Size -1 whatever non-positive size the
// source gave. The bytes pass from the source into the DataFile a piece at a
// time; only a Hues group, converted on the way, is held whole.
bool ImportRange(BlockReader& source, uint8_t FileID, int64_t First, int64_t Last, CountingPoint& progress) {
    ByteArray bytes;
    ByteArray hues;
    std::vector<BlockHead> run;
    for (int64_t block = First; block <= Last; ++block) {
        // Hues groups change their form on the way in, one at a time.
        if (FileID != kHuesFileID && ImportRun(source, FileID, block, Last, run)) {
            progress.TickMany(static_cast<int64_t>(run.size()), block);
            block += static_cast<int64_t>(run.size()) - 1;
            continue;
        }
        const int32_t number = ToLong(block);
        int32_t extra = 0;
        const int32_t size =
            FileID == kHuesFileID ? source.cLoad(number, extra, bytes) : source.cLoadHead(number, extra);
        if (size == kStopSize) return false;
        if (size < 1)
            StoreBlock(FileID, number, -1, extra, nullptr);
        else if (FileID == kHuesFileID)
            StoreMULBlock(FileID, number, size, extra, bytes, hues);
        else
            StoreBlockFrom(FileID, number, size, extra, source.cData());
        progress.Tick(number);
    }
    return true;
}

constexpr const char* kNotImported = "they were not imported";

}  // namespace

std::unique_ptr<cClientUOP> OpenContainer(const std::string& MULFilename, uint8_t FileID) {
    auto container = std::make_unique<cClientUOP>();
    const int32_t code = container->cOpen(MULFilename, FileID);
    if (code != 0)
        Fail(container->cError(code) + " " + MULFilename + (container->Why.empty() ? "" : " (" + container->Why + ")"));
    return container;
}

std::unique_ptr<cTiledata> OpenTiledataSource(const std::string& MULFilename) {
    // No container holds tile data: opening one as such says what it holds.
    if (IsClientUOPFile(MULFilename)) OpenContainer(MULFilename, kTiledataFileID);
    auto tiles = std::make_unique<cTiledata>();
    const int32_t code = tiles->cOpen(MULFilename);
    if (code != 0) Fail(tiles->cError(code) + " " + MULFilename + (tiles->Why.empty() ? "" : " (" + tiles->Why + ")"));
    return tiles;
}

std::unique_ptr<BlockReader> OpenMULSource(const std::string& IDXFilename, const std::string& MULFilename,
                                           uint8_t FileID) {
    // A client's container is told by its content, whatever its name; it
    // needs no index file.
    if (IsClientUOPFile(MULFilename)) return OpenContainer(MULFilename, FileID);
    if (FileID == kTiledataFileID) return OpenTiledataSource(MULFilename);
    const FileTypeRec& type = FileTypes[FileID];
    auto mul = std::make_unique<cMUL>();
    // The animation data file's size counts its whole groups; what follows
    // the last one is no block.
    mul->WholeBlocks = FileID == kAnimdataFileID;
    const int32_t code = mul->cOpen(IDXFilename, MULFilename, type.ConstantIndex, type.NbrOfBlocks, 0);
    if (code != 0)
        Fail(MULOpenFailure(*mul, code, type.ConstantIndex > 0 ? MULFilename : IDXFilename + " and " + MULFilename));
    return mul;
}

std::string SourceFileName(const std::string& IDXFilename, const std::string& MULFilename, uint8_t FileID) {
    const bool pair = FileTypes[FileID].ConstantIndex < 1 && !IsClientUOPFile(MULFilename);
    return pair ? IDXFilename : MULFilename;
}

int64_t WalkLast(const FileTypeRec& Type, int64_t Extent, int64_t LastBlock) {
    return std::min(std::max<int64_t>(Type.ClassicLast, Extent - 1), LastBlock);
}

void WarnBeyondLast(BlockReader& source, const std::string& file, uint8_t FileID, int64_t FromBlock, int64_t ToBlock,
                    int32_t LastBlock, const char* whatBecame) {
    if (ToBlock <= LastBlock) return;
    const int64_t first = std::max<int64_t>(FromBlock, int64_t{LastBlock} + 1);
    const int64_t beyond = source.cBlocksIn(first, ToBlock);
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
        const std::unique_ptr<BlockReader> source = OpenMULSource(IDXFilename, MULFilename, FileID);
        const int64_t last = WalkLast(type, source->cExtent(), type.NbrOfBlocks);
        CountingPoint progress(last);
        if (ImportRange(*source, FileID, FromBlock, std::min<int64_t>(ToBlock, last), progress))
            WarnBeyondLast(*source, SourceFileName(IDXFilename, MULFilename, FileID), FileID, FromBlock, ToBlock,
                           type.NbrOfBlocks, kNotImported);
        source->cClose();
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
        const FileTypeRec& type = FileTypes[kTiledataFileID];
        const std::unique_ptr<cTiledata> tiles = OpenTiledataSource(MULFilename);
        const int32_t layoutLast = std::min(tiles->Layout().LastBlock, type.NbrOfBlocks);
        const int64_t last = WalkLast(type, tiles->cExtent(), layoutLast);
        CountingPoint progress(last);
        if (FromBlock < kTiledataLandGroups)
            ImportRange(*tiles, kTiledataFileID, FromBlock, std::min(ToBlock, kTiledataLandGroups - 1), progress);
        // The item groups are always walked from their first one on.
        if (ToBlock >= kTiledataLandGroups &&
            ImportRange(*tiles, kTiledataFileID, kTiledataLandGroups, std::min<int64_t>(ToBlock, last), progress))
            WarnBeyondLast(*tiles, MULFilename, kTiledataFileID, kTiledataLandGroups, ToBlock, layoutLast,
                           kNotImported);
        tiles->cClose();
        RecountBlocks(kTiledataFileID);
        return true;
    } catch (...) {
        RecountBlocks(kTiledataFileID);  // what was stored before the stop stays, and the count says so
        gError.Log("mMuls.LoadTiledata");
        return false;
    }
}

}  // namespace quillet
