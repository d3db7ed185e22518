#pragma once
// The client's tile data file: 512 land groups (a header and 32 land
// records), then the item groups (a header and 32 item records). Group g is
// block g, of its group's size at its place in the file, with Extra -1. Two
// layouts, told apart by the file's size alone:
//
//   classic:   land groups of 836 bytes, 512 item groups of 1188 bytes from
//              428032 on: 1036288 bytes, blocks 0 to 1023;
//   High Seas: the same records with 64-bit flags, land groups of 964 bytes,
//              item groups of 1316 bytes from 493568 on, as many as the file
//              holds (512, 1024 or 2048: blocks up to 2559).
//
// A file is High Seas when its size less 493568 is a positive whole multiple
// of 1316, which no classic size is; every other file is read in the classic
// layout, and one whose size is not the classic one is warned about.
#include <cstdint>
#include <string>

#include "formats/BlockReader.h"
#include "formats/cMUL.h"

namespace quillet {

struct TiledataLayout {
    const char* Name;
    int32_t LandGroupSize;
    int32_t ItemGroupSize;
    int32_t ItemStart;  // file position of item group 0 (block 512), behind the land groups
    int32_t LastBlock;  // the highest block the layout has
};
inline constexpr int32_t kTiledataLandGroups = 512;
inline constexpr TiledataLayout kClassicTiledata{"classic", 836, 1188, kTiledataLandGroups * 836, 1023};
inline constexpr TiledataLayout kHighSeasTiledata{"High Seas", 964, 1316, kTiledataLandGroups * 964, 2559};
inline constexpr int64_t kClassicTiledataSize = int64_t{kClassicTiledata.ItemStart} + 512 * 1188;

// The layout that a file of Size bytes has: High Seas for Size - 493568 a
// positive whole multiple of 1316, classic for every other size.
const TiledataLayout& TiledataLayoutOf(int64_t Size);
// Whether Size is that of a whole file of either layout.
bool FitsATiledataLayout(int64_t Size);

class cTiledata : public BlockReader {
public:
    // Opens the file for reading and takes its layout from its size; a size
    // that fits neither layout is warned about (base/Warnings.h) and read in
    // the classic layout. Answers cMUL's codes: 0, or 500 with Why saying why.
    int32_t cOpen(const std::string& MULFilename);
    const TiledataLayout& Layout() const { return *layout_; }
    std::string cError(int32_t ErrNumber) const { return mul_.cError(ErrNumber); }

    // Block IndexNumber as the layout places it; a number below 0 is a
    // position before the file, a Failure.
    int32_t cLoadHead(int32_t IndexNumber, int32_t& Extra) override;
    ByteSource& cData() override { return mul_.cData(); }
    ByteSource& cDataAgain() override { return mul_.cDataAgain(); }
    const uint8_t* cView(ByteArray& spare) override { return mul_.cView(spare); }
    // Blocks that begin before the end of the file: every land group of a
    // file that reaches its item groups, then the item groups it holds, the
    // last one perhaps cut short.
    int64_t cBlocksIn(int64_t First, int64_t Last) override;
    int64_t cExtent() override { return extent_; }
    // Within one section, as cMUL gives them: a run stops at the item groups.
    int32_t cLoadRun(int32_t First, int32_t Count, int64_t MaxBytes, std::vector<BlockHead>& Heads) override;
    // Against a file of the same layout, each section's part of the range
    // as one run of bytes (cMUL's).
    bool cCompareRun(BlockReader& other, int32_t First, int32_t Count, RunDifferences& Differences) override;
    int32_t cClose() override;

    std::string Why;  // why the last cOpen failed, where known

private:
    // Opens the section of block IndexNumber, if another one is open, and
    // answers the block's number within it.
    int32_t InSection(int32_t IndexNumber);

    // The blocks of the range from First on that lie in First's section.
    static int32_t InOneSection(int32_t First, int32_t Count);

    RunDifferences part_;  // one section's differences, while a compare runs
    cMUL mul_;  // one object for both sections, so that the file is told of once
    std::string file_;
    const TiledataLayout* layout_ = &kClassicTiledata;
    int64_t extent_ = 0;
    int section_ = -1;  // 0: land groups, 1: item groups, -1: to be opened
};

}  // namespace quillet
