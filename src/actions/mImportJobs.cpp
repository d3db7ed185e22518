#include "actions/mImportJobs.h"

#include "actions/RunJob.h"
#include "core/mMuls.h"
#include "formats/cClientUOP.h"
#include "formats/mPatchMUO.h"
#include "formats/mPatchUOP.h"
#include "formats/mVerdata.h"
#include "operations/mGumps.h"
#include "operations/mImport.h"

namespace quillet {

bool IsClientContainerFile(const std::string& File) { return IsClientUOPFile(File); }

bool NeedsIndexFile(uint8_t FileID, const std::string& MULFile) {
    return FileTypes[FileID].ConstantIndex == 0 && !IsClientUOPFile(MULFile);
}

Result ImportFrom(const ImportRequest& r) {
    constexpr const char* kName = "mImportJobs.ImportFrom";
    switch (r.Source) {
        case kSourceMUO:
            return RunJob("Importing MUO file. Please wait.", kName,
                          [&] { return LoadMUO(r.File, r.FromFileID, r.ToFileID, r.FromBlock, r.ToBlock); });
        case kSourceUOP:
            return RunJob("Importing UOP file. Please wait.", kName,
                          [&] { return LoadUOP(r.File, r.FromFileID, r.ToFileID, r.FromBlock, r.ToBlock); });
        case kSourceVerdata:
            return RunJob("Importing Verdata. Please wait.", kName,
                          [&] { return LoadVerdata(r.File, r.FromFileID, r.ToFileID, r.FromBlock, r.ToBlock); });
        default: break;
    }
    if (r.Source < 0 || r.Source >= kFileIDs || FileTypes[static_cast<size_t>(r.Source)].Name.empty())
        return Result::Failed("There is no source " + std::to_string(r.Source) + " to import from.");
    const auto fileId = static_cast<uint8_t>(r.Source);
    return RunJob("Importing MUL data. Please wait", kName, [&] {
        if (fileId == kTiledataFileID) return LoadTiledata(r.File, r.FromBlock, r.ToBlock);
        return LoadMUL(r.File, r.Index, fileId, r.FromBlock, r.ToBlock);
    });
}

Result CompareFiles(uint8_t FileID, const std::string& BaseMUL, const std::string& BaseIDX, const std::string& NewMUL,
                    const std::string& NewIDX) {
    return RunJob("Comparing MUL data. Please wait.", "mImportJobs.CompareFiles",
                  [&] { return CompareMUL(BaseMUL, BaseIDX, NewMUL, NewIDX, FileID); });
}

Result ImportGump(const PixelSource& Picture, int32_t Block) {
    return RunJob("Converting picture to gump. Please wait.", "mImportJobs.ImportGump",
                  [&] { return Gump_LoadBMP(Picture, Block); });
}

}  // namespace quillet
