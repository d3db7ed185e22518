#include "formats/cTiledata.h"

#include <algorithm>
#include <limits>

#include "base/Checked.h"
#include "base/Warnings.h"

namespace quillet {

const TiledataLayout& TiledataLayoutOf(int64_t Size) {
    const int64_t items = Size - kHighSeasTiledata.ItemStart;
    return items > 0 && items % kHighSeasTiledata.ItemGroupSize == 0 ? kHighSeasTiledata : kClassicTiledata;
}

bool FitsATiledataLayout(int64_t Size) {
    return Size == kClassicTiledataSize || &TiledataLayoutOf(Size) == &kHighSeasTiledata;
}

int32_t cTiledata::cOpen(const std::string& MULFilename) {
    Why.clear();
    section_ = -1;
    extent_ = 0;
    // Opened once to learn the size; the sections are opened as they are read.
    const int32_t code = mul_.cOpen("", MULFilename, kClassicTiledata.LandGroupSize, kTiledataLandGroups, 0);
    if (code != 0) {
        Why = mul_.Why;
        return code;
    }
    file_ = MULFilename;
    const int64_t size = mul_.cLength();
    layout_ = &TiledataLayoutOf(size);
    const TiledataLayout& layout = *layout_;
    if (size <= layout.ItemStart) {
        extent_ = (size + layout.LandGroupSize - 1) / layout.LandGroupSize;
    } else {
        extent_ = kTiledataLandGroups + (size - layout.ItemStart + layout.ItemGroupSize - 1) / layout.ItemGroupSize;
    }
    if (!FitsATiledataLayout(size))
        Warn(MULFilename + ": its size, " + std::to_string(size) +
             " bytes, fits neither layout of the tile data file (classic: " + std::to_string(kClassicTiledataSize) +
             " bytes; High Seas: " + std::to_string(kHighSeasTiledata.ItemStart) + " bytes and item groups of " +
             std::to_string(kHighSeasTiledata.ItemGroupSize) + "); it was read in the classic layout.");
    return 0;
}

int32_t cTiledata::InSection(int32_t IndexNumber) {
    const int section = IndexNumber < kTiledataLandGroups ? 0 : 1;
    if (section != section_) {
        const TiledataLayout& layout = *layout_;
        section_ = -1;
        // Constant-size mode opens again without a close: the object goes on
        // counting what it reads of the same file.
        const int32_t code = section == 0 ? mul_.cOpen("", file_, layout.LandGroupSize, kTiledataLandGroups, 0)
                                          : mul_.cOpen("", file_, layout.ItemGroupSize,
                                                       layout.LastBlock + 1 - kTiledataLandGroups, layout.ItemStart);
        if (code != 0) Fail(MULOpenFailure(mul_, code, file_));
        section_ = section;
    }
    return section == 0 ? IndexNumber : IndexNumber - kTiledataLandGroups;
}

int32_t cTiledata::cLoadHead(int32_t IndexNumber, int32_t& Extra) {
    const int32_t index = InSection(IndexNumber);
    return mul_.cLoadHead(index, Extra);
}

int32_t cTiledata::InOneSection(int32_t First, int32_t Count) {
    return First < kTiledataLandGroups ? std::min(Count, kTiledataLandGroups - First) : Count;
}

int32_t cTiledata::cLoadRun(int32_t First, int32_t Count, int64_t MaxBytes, std::vector<BlockHead>& Heads) {
    Heads.clear();
    if (First < 0 || Count < 1) return 0;
    return mul_.cLoadRun(InSection(First), InOneSection(First, Count), MaxBytes, Heads);
}

bool cTiledata::cCompareRun(BlockReader& other, int32_t First, int32_t Count, RunDifferences& Differences) {
    auto* that = dynamic_cast<cTiledata*>(&other);
    if (that == nullptr || that == this || layout_ != that->layout_ || First < 0 || Count < 1 ||
        Count > std::numeric_limits<int32_t>::max() - First)
        return false;
    Differences.Clear();
    for (int32_t block = First; block < First + Count;) {
        const int32_t blocks = InOneSection(block, First + Count - block);
        const int32_t index = InSection(block);
        that->InSection(block);
        if (!mul_.cCompareRun(that->mul_, index, blocks, part_)) return false;
        // The section's numbers become the file's, and its bytes follow those
        // of the section before.
        const auto kept = static_cast<int64_t>(Differences.OtherBytes.size());
        for (size_t k = 0; k < part_.Blocks.size(); ++k) {
            Differences.Blocks.push_back(part_.Blocks[k] - index + block);
            Differences.At.push_back(part_.At[k] < 0 ? -1 : part_.At[k] + kept);
        }
        Differences.OtherBytes.insert(Differences.OtherBytes.end(), part_.OtherBytes.begin(), part_.OtherBytes.end());
        block += blocks;
    }
    return true;
}

int64_t cTiledata::cBlocksIn(int64_t First, int64_t Last) {
    // The blocks that begin before the end of the file are 0 .. extent - 1.
    return std::max<int64_t>(0, std::min(Last, extent_ - 1) - std::max<int64_t>(First, 0) + 1);
}

int32_t cTiledata::cClose() {
    section_ = -1;
    extent_ = 0;
    return mul_.cClose();
}

}  // namespace quillet
