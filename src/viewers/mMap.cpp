#include "viewers/mMap.h"

#include <algorithm>
#include <string>
#include <utility>

#include "base/Checked.h"
#include "core/mPatch.h"
#include "base/cError.h"
#include "core/mWait.h"
#include "viewers/mRadarCol.h"

namespace quillet {
namespace {

std::string ArgumentsText(int32_t X1, int32_t Y1, int32_t X2, int32_t Y2) {
    return "(" + std::to_string(X1) + "," + std::to_string(Y1) + "," + std::to_string(X2) + "," + std::to_string(Y2) +
           ")";
}

}  // namespace

int32_t GridColumnsOf(int FileID) {
    const int64_t blocks = int64_t{FileTypes.at(static_cast<size_t>(FileID)).NbrOfBlocks} + 1;
    return ToLong((std::max<int64_t>(blocks, 0) + kGridRows - 1) / kGridRows);
}

int32_t PageColumns() {
    // Only the blocks past the classic grid are looked at: a few tens of
    // thousands of slots, not the whole map.
    const int64_t classicBlocks = int64_t{kClassicColumns} * kGridRows;
    for (const int FileID : {0, 2}) {
        const SlotTable& slots = PatchBlocks.at(static_cast<size_t>(FileID)).Blocks;
        const int64_t last = std::min<int64_t>(FileTypes[static_cast<size_t>(FileID)].NbrOfBlocks,
                                               static_cast<int64_t>(slots.size()) - 1);
        for (int64_t block = NextAllocated(slots, classicBlocks); block <= last;
             block = NextAllocated(slots, block + 1))
            if (slots[static_cast<size_t>(block)].Offset != -1)
                return std::max({kClassicColumns, GridColumnsOf(0), GridColumnsOf(2)});
    }
    return kClassicColumns;
}

GridPoint GridPosition(int64_t Block) {
    // Cut toward zero, as the integer part of the double quotient is.
    const int64_t x = Block / kGridRows;
    return {ToLong(x), ToLong(Block - x * kGridRows)};
}

std::vector<uint16_t> LeadingValues(int FileID, int64_t LastBlock, int32_t position) {
    const SlotTable& slots = PatchBlocks.at(static_cast<size_t>(FileID)).Blocks;
    const int64_t last = std::min<int64_t>(LastBlock, static_cast<int64_t>(slots.size()) - 1);
    std::vector<uint16_t> values(static_cast<size_t>(std::max<int64_t>(last + 1, 0)), 0);

    // (byte position in the DataFile, block), for the blocks whose value exists.
    std::vector<std::pair<int64_t, int32_t>> wanted;
    for (int64_t block = NextAllocated(slots, 0); block <= last; block = NextAllocated(slots, block + 1)) {
        const PatchBlock& slot = slots[static_cast<size_t>(block)];
        if (slot.Offset >= 1 && slot.Size >= position + 2)
            wanted.emplace_back(int64_t{slot.Offset} - 1 + position, static_cast<int32_t>(block));
    }
    // A patch loaded from one file lies in the DataFile in block order; only
    // blocks gathered from several sources need sorting.
    if (!std::is_sorted(wanted.begin(), wanted.end())) std::sort(wanted.begin(), wanted.end());

    // One window over the blocks in offset order: a system call per window,
    // not per block.
    ReadWindow window(256 * 1024, ReadWindow::Walk::Forward);
    for (const auto& [at, block] : wanted) {
        uint8_t value[2];
        Datafile_ReadThrough(DataFileHandle, window, static_cast<int32_t>(at + 1), 2, value);
        values[static_cast<size_t>(block)] = LoadU16(value);
    }
    return values;
}

void ClearGridBlocks(int FileID, const char* Proc, int32_t& X1, int32_t& Y1, int32_t& X2, int32_t& Y2) {
    try {
        if (X2 < X1) std::swap(X1, X2);
        if (Y2 < Y1) std::swap(Y1, Y2);
        if (X2 < 0 || Y2 < 0) return;  // no selection
        if (X1 < 0) X1 = 0;
        if (Y1 < 0) Y1 = 0;
        if (Y2 > kGridRows - 1) Y2 = kGridRows - 1;
        const int32_t lastColumn = GridColumnsOf(FileID) - 1;
        if (X2 > lastColumn) X2 = lastColumn;
        // The bytes stay in the DataFile, which is append-only; Size and Extra
        // keep their values. A last column that the type's range fills only
        // in part ends with its last block.
        const int32_t last = FileTypes.at(static_cast<size_t>(FileID)).NbrOfBlocks;
        for (int32_t x = X1; x <= X2; ++x) {
            for (int32_t y = Y1; y <= Y2; ++y) {
                const int32_t block = AddLong(MulLong(x, kGridRows), y);
                if (block > last) break;
                Slot(FileID, block).Offset = -1;
            }
        }

        PatchBlockSet& set = PatchBlocks.at(static_cast<size_t>(FileID));
        const SlotTable& slots = set.Blocks;
        set.Count = 0;
        for (int64_t block = NextAllocated(slots, 0); block <= last; block = NextAllocated(slots, block + 1))
            if (slots.at(block).Offset != -1) ++set.Count;
    } catch (...) {
        gError.Log(Proc + ArgumentsText(X1, Y1, X2, Y2));
    }
}

bool DrawMap(PictureSurface& pageMap) {
    try {
        pageMap.SetWidth(PageColumns());
        pageMap.Cls();
        const Canvas canvas = pageMap.hDC();
        const int32_t last = FileTypes[0].NbrOfBlocks;
        const std::vector<uint16_t> tiles = LeadingValues(0, last, 4);
        const SlotTable& slots = PatchBlocks[0].Blocks;
        CountingPoint counting(last);
        // Every block passes the counting point, drawn or not; a read of a
        // page never written allocates nothing.
        for (int64_t block = 0; block <= last; ++block) {
            const PatchBlock& slot = slots.at(block);
            if (slot.Offset >= 1) {
                // The tile number is bytes 4 and 5: a shorter block has none.
                if (slot.Size < 6) Fail(kSubscript);
                const GridPoint at = GridPosition(block);
                SetPixelV(canvas, at.X, at.Y, RadarColors[tiles[static_cast<size_t>(block)]]);
            }
            counting.Tick(block);
        }
        pageMap.Refresh();
        return true;
    } catch (...) {
        gError.Log("mMap.DrawMap");
        return false;
    }
}

void Map_ClearBlocks(int32_t& X1, int32_t& Y1, int32_t& X2, int32_t& Y2) {
    ClearGridBlocks(0, "mMap.Map_ClearBlocks", X1, Y1, X2, Y2);
}

}  // namespace quillet
