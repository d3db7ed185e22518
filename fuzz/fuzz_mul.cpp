// LoadMUL and LoadTiledata (and with them cMUL) on any IDX and MUL file,
// held against a model of the import.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "ClientUOPModel.h"
#include "FuzzInput.h"
#include "FuzzSupport.h"
#include "MulModel.h"
#include "core/mMuls.h"
#include "operations/mImport.h"

namespace quillet::fuzz {
namespace {

// One walked block as the import stores it. False where the store fails.
bool StoreImported(ExpectedPatch& patch, ExpectedEnd& end, int FileID, int64_t Block, const MulBlock& block) {
    if (block.Size <= 0) return patch.Store(FileID, Block, -1, block.Extra, nullptr);
    if (FileID == 32) {
        const ByteArray hues = VerdataHues(block.Whole());
        return patch.Store(FileID, Block, 1220, block.Extra, hues.data());
    }
    return patch.StoreStreamed(FileID, Block, block.Size, block.Extra, block.Bytes, end);
}

// Walks First..Last reading index Block - IndexBase. False on a failure.
bool Walk(const MulModel& mul, ExpectedPatch& patch, ExpectedEnd& end, int FileID, int64_t First, int64_t Last,
          int64_t IndexBase) {
    MulBlock loaded;
    for (int64_t block = First; block <= Last; ++block) {
        if (!mul.Load(block - IndexBase, loaded)) return false;
        if (loaded.Size == -2) return true;  // the walk ends here
        if (!StoreImported(patch, end, FileID, block, loaded)) return false;
    }
    return true;
}

void ModelLoadMUL(const MulLoadArgs& args, int FileID, int32_t ToBlock, ExpectedPatch& patch, ExpectedEnd& end) {
    // The type's Count is recomputed however the walk ends, after a stop too.
    end.Recounted = true;
    end.RecountFileID = FileID;
    const FileTypeRec& type = FileTypes[FileID];
    const MulModel mul(args.Idx, args.Mul, type.ConstantIndex, 0);
    const int64_t extent = ModelExtent(args.Idx, args.Mul, type.ConstantIndex, FileID == 31);
    const int64_t last = std::min<int64_t>(ToBlock, ModelWalkLast(type, extent, type.NbrOfBlocks));
    if (!Walk(mul, patch, end, FileID, args.FromBlock, last, 0)) end.Failed = true;
}

// The land groups from FromBlock, the item groups always from 512 on.
void ModelLoadTiledata(const MulLoadArgs& args, int32_t ToBlock, ExpectedPatch& patch, ExpectedEnd& end) {
    end.Recounted = true;
    end.RecountFileID = 30;
    const TileLayout& layout = TileLayoutOf(args.Mul);
    const FileTypeRec& type = FileTypes[30];
    const int64_t last =
        ModelWalkLast(type, TileExtent(layout, args.Mul), std::min(layout.LastBlock, type.NbrOfBlocks));
    if (args.FromBlock < 512) {
        const MulModel land(args.Idx, args.Mul, layout.LandSize, 0);
        if (!Walk(land, patch, end, 30, args.FromBlock, std::min(ToBlock, 511), 0)) {
            end.Failed = true;
            return;
        }
    }
    if (ToBlock >= 512) {
        const MulModel items(args.Idx, args.Mul, layout.ItemSize, layout.ItemStart);
        if (!Walk(items, patch, end, 30, 512, std::min<int64_t>(ToBlock, last), 512)) {
            end.Failed = true;
            return;
        }
    }
}

}  // namespace
}  // namespace quillet::fuzz

using namespace quillet;
using namespace quillet::fuzz;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    InitPatchEnvironment();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    InputCutter in(data, size);
    MulLoadArgs args = CutMulLoadArgs(in);
    const uint8_t fileId = PickType(args.Selector, kMulTypes);
    // A long walk is cut to kMaxWalk blocks by lowering ToBlock.
    const int64_t longest = int64_t{args.FromBlock} + kMaxWalk - 1;
    const auto toBlock = static_cast<int32_t>(
        std::min<int64_t>({args.ToBlock, longest, std::numeric_limits<int32_t>::max()}));
    if (!(args.Selector & kAsTheyCome)) {
        if (fileId == 30) {
            PadTo(args.Mul, int64_t{kClassicTiles.ItemStart} + int64_t{kClassicTiles.ItemSize} * 512);
        } else {
            const FileTypeRec& type = FileTypes[fileId];
            const int64_t blocks = std::min<int64_t>(toBlock, type.NbrOfBlocks) + 1;
            if (type.ConstantIndex > 0)
                PadTo(args.Mul, blocks * type.ConstantIndex);
            else
                PadTo(args.Idx, blocks * 12);
        }
    }
    const bool refused = RefusedAsContainer(args.Mul, fileId);
    const std::string idxPath = ScratchPath("input.idx");
    const std::string mulPath = ScratchPath("input.mul");
    WriteWholeFile(idxPath, args.Idx);
    WriteWholeFile(mulPath, args.Mul);

    Observed& seen = BeginIteration();
    ExpectedPatch expected;
    ExpectedEnd end;
    const bool tiles = fileId == 30;
    if (refused) {
        end.Recounted = true;
        end.RecountFileID = fileId;
        end.Failed = true;
    } else if (tiles) {
        ModelLoadTiledata(args, toBlock, expected, end);
    } else {
        ModelLoadMUL(args, fileId, toBlock, expected, end);
    }
    if (tiles)
        LoadTiledata(mulPath, args.FromBlock, toBlock);
    else
        LoadMUL(mulPath, idxPath, fileId, args.FromBlock, toBlock);
    CheckPatch(expected, end, seen, tiles ? "mMuls.LoadTiledata" : "mMuls.LoadMUL");
    return 0;
}
