#include "viewers/mStatics.h"

#include <vector>

#include "base/Checked.h"
#include "core/mPatch.h"
#include "base/cError.h"
#include "core/mWait.h"
#include "viewers/mMap.h"
#include "viewers/mRadarCol.h"

namespace quillet {

bool DrawStatics(PictureSurface& pageStatics) {
    try {
        pageStatics.SetWidth(PageColumns());
        pageStatics.Cls();
        const Canvas canvas = pageStatics.hDC();
        const int32_t last = FileTypes[2].NbrOfBlocks;
        const std::vector<uint16_t> items = LeadingValues(2, last, 0);
        const SlotTable& slots = PatchBlocks[2].Blocks;
        CountingPoint counting(last);
        // Every block passes the counting point, drawn or not; a read of a
        // page never written allocates nothing.
        for (int64_t block = 0; block <= last; ++block) {
            const PatchBlock& slot = slots.at(block);
            if (slot.Offset != -1) {
                const GridPoint at = GridPosition(block);
                if (slot.Offset >= 1) {
                    // The item number is bytes 0 and 1: a shorter block has none.
                    if (slot.Size < 2) Fail(kSubscript);
                    // The static items' colours fill the table from 16384 on:
                    // a classic table has none for an item from 49152 on.
                    const size_t index = size_t{items[static_cast<size_t>(block)]} + 16384;
                    if (index >= RadarColors.size()) Fail(kSubscript);
                    SetPixelV(canvas, at.X, at.Y, RadarColors[index]);
                } else if (slot.Offset == 0) {
                    SetPixelV(canvas, at.X, at.Y, 0);  // present without bytes: black
                }
            }
            counting.Tick(block);
        }
        pageStatics.Refresh();
        return true;
    } catch (...) {
        gError.Log("mStatics.DrawStatics");
        return false;
    }
}

void Statics_ClearBlocks(int32_t& X1, int32_t& Y1, int32_t& X2, int32_t& Y2) {
    ClearGridBlocks(2, "mStatics.Statics_ClearBlocks", X1, Y1, X2, Y2);
}

}  // namespace quillet
