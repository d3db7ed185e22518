#include "actions/mPageJobs.h"

#include "actions/RunJob.h"
#include "base/cError.h"
#include "core/BlockRows.h"
#include "core/mMuls.h"
#include "core/mWait.h"
#include "viewers/mMap.h"
#include "viewers/mRadarCol.h"
#include "viewers/mStatics.h"

namespace quillet {

Result DrawPage(PictureSurface& Page, int FileID) {
    if (FileID == 0) return RunJob("Drawing map. Please wait.", "mPageJobs.DrawPage", [&] { return DrawMap(Page); });
    if (FileID == 2)
        return RunJob("Drawing statics. Please wait.", "mPageJobs.DrawPage", [&] { return DrawStatics(Page); });
    return Result::Failed("FileID " + std::to_string(FileID) + " has no picture page.");
}

Result ClearPageBlocks(int FileID, int32_t& X1, int32_t& Y1, int32_t& X2, int32_t& Y2) {
    return RunJob({}, "mPageJobs.ClearPageBlocks", [&] {
        if (FileID == 0) {
            Map_ClearBlocks(X1, Y1, X2, Y2);
        } else if (FileID == 2) {
            Statics_ClearBlocks(X1, Y1, X2, Y2);
        } else {
            return false;
        }
        return true;
    });
}

std::vector<int32_t> ListBlocks(int FileID) {
    std::vector<int32_t> blocks;
    const std::string name = FileID >= 0 && FileID < kFileIDs ? FileTypes[static_cast<size_t>(FileID)].Name : "";
    RunJob("Listing " + name + ". Please wait.", "mPageJobs.ListBlocks", [&] {
        blocks = ListedBlocks(FileID);
        return true;
    });
    return blocks;
}

Result LoadRadarColors(const std::string& Filename) {
    return RunJob("Loading radar colors", "mPageJobs.LoadRadarColors", [&] {
        LoadRadarColFrom(Filename);
        return true;
    });
}

}  // namespace quillet
