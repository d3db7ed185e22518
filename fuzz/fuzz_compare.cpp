// CompareMUL on any two versions of a type's files, held against a model of
// the comparison: sizes decide first, bytes only for equal sizes above 0, and
// the altered side of each differing block goes into the patch.
#include <algorithm>
#include <cstdint>
#include <string>

#include "ClientUOPModel.h"
#include "FuzzInput.h"
#include "FuzzSupport.h"
#include "MulModel.h"
#include "core/mMuls.h"
#include "operations/mImport.h"

namespace quillet::fuzz {
namespace {

bool Walk(const MulModel& base, const MulModel& altered, ExpectedPatch& patch, ExpectedEnd& end, int FileID,
          int64_t First, int64_t Last, int64_t IndexBase) {
    MulBlock one;
    MulBlock two;
    for (int64_t block = First; block <= Last; ++block) {
        if (!base.Load(block - IndexBase, one) || !altered.Load(block - IndexBase, two)) return false;
        const bool differs = one.Size != two.Size || (one.Size > 0 && !SameBlock(one.Bytes, two.Bytes, one.Size));
        if (!differs) continue;
        bool stored = false;
        if (two.Size < 1) {
            stored = patch.Store(FileID, block, two.Size, two.Extra, nullptr);
        } else if (FileID == 32) {
            const ByteArray hues = VerdataHues(two.Whole());
            stored = patch.Store(FileID, block, 1220, two.Extra, hues.data());
        } else {
            stored = patch.StoreStreamed(FileID, block, two.Size, two.Extra, two.Bytes, end);
        }
        if (!stored) return false;
    }
    return true;
}

void ModelCompare(const CompareArgs& args, int FileID, bool refused, ExpectedPatch& patch, ExpectedEnd& end) {
    // The type's Count is recomputed however the walk ends, after a stop too.
    end.Recounted = true;
    end.RecountFileID = FileID;
    if (refused) {
        end.Failed = true;
        return;
    }
    const FileTypeRec& type = FileTypes[FileID];
    bool ok = true;
    if (FileID == 30) {
        // Tile data files of two layouts are refused before any block.
        const TileLayout& layout = TileLayoutOf(args.Mul1);
        if (&layout != &TileLayoutOf(args.Mul2)) {
            end.Failed = true;
            return;
        }
        const int64_t extent = std::max(TileExtent(layout, args.Mul1), TileExtent(layout, args.Mul2));
        const int64_t last = ModelWalkLast(type, extent, std::min(layout.LastBlock, type.NbrOfBlocks));
        const MulModel land1(args.Idx1, args.Mul1, layout.LandSize, 0);
        const MulModel land2(args.Idx2, args.Mul2, layout.LandSize, 0);
        const MulModel items1(args.Idx1, args.Mul1, layout.ItemSize, layout.ItemStart);
        const MulModel items2(args.Idx2, args.Mul2, layout.ItemSize, layout.ItemStart);
        ok = Walk(land1, land2, patch, end, FileID, 0, 511, 0) &&
             Walk(items1, items2, patch, end, FileID, 512, last, 512);
    } else {
        const MulModel base(args.Idx1, args.Mul1, type.ConstantIndex, 0);
        const MulModel altered(args.Idx2, args.Mul2, type.ConstantIndex, 0);
        const bool whole = FileID == 31;
        const int64_t extent = std::max(ModelExtent(args.Idx1, args.Mul1, type.ConstantIndex, whole),
                                        ModelExtent(args.Idx2, args.Mul2, type.ConstantIndex, whole));
        ok = Walk(base, altered, patch, end, FileID, 0, ModelWalkLast(type, extent, type.NbrOfBlocks), 0);
    }
    if (!ok) end.Failed = true;
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
    CompareArgs args = CutCompareArgs(in);
    const uint8_t fileId = PickType(args.Selector, kCompareTypes);
    const FileTypeRec& type = FileTypes[fileId];
    // A read past the end of a file costs a refill of the read window each
    // time, so a 65536-block type walked over short files takes a second per
    // input: those types are always padded (to their classic size, which a
    // walk goes to in any case), and the reads past the end are fuzzed on the
    // smaller types, whose walk is the same.
    const bool asTheyCome = (args.Selector & kAsTheyCome) && type.ClassicLast <= 8182;
    if (!asTheyCome) {
        const int64_t blocks = int64_t{type.ClassicLast} + 1;
        for (ByteArray* mul : {&args.Mul1, &args.Mul2}) {
            if (fileId == 30)
                PadTo(*mul, int64_t{kClassicTiles.ItemStart} + int64_t{kClassicTiles.ItemSize} * 512);
            else if (type.ConstantIndex > 0)
                PadTo(*mul, blocks * type.ConstantIndex);
        }
        if (type.ConstantIndex < 1)
            for (ByteArray* idx : {&args.Idx1, &args.Idx2}) PadTo(*idx, blocks * 12);
    }
    // Both sides are looked at, as a refusal of either stops the compare.
    const bool refused1 = RefusedAsContainer(args.Mul1, fileId);
    const bool refused2 = RefusedAsContainer(args.Mul2, fileId);
    const std::string idx1 = ScratchPath("base.idx");
    const std::string mul1 = ScratchPath("base.mul");
    const std::string idx2 = ScratchPath("altered.idx");
    const std::string mul2 = ScratchPath("altered.mul");
    WriteWholeFile(idx1, args.Idx1);
    WriteWholeFile(mul1, args.Mul1);
    WriteWholeFile(idx2, args.Idx2);
    WriteWholeFile(mul2, args.Mul2);

    Observed& seen = BeginIteration();
    ExpectedPatch expected;
    ExpectedEnd end;
    ModelCompare(args, fileId, refused1 || refused2, expected, end);
    CompareMUL(mul1, idx1, mul2, idx2, fileId);
    CheckPatch(expected, end, seen, "mMuls.CompareMUL");
    return 0;
}
