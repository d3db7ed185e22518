// CompareMUL and SameBytes of mMuls: a patch of what differs between two
// versions of one client file type.
#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>

#include "base/Checked.h"
#include "base/cError.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mWait.h"
#include "formats/BlockReader.h"
#include "formats/cClientUOP.h"
#include "formats/cTiledata.h"
#include "operations/mImport.h"
#include "support/Services.h"

namespace quillet {
namespace {

// Blocks beyond a type's last one are counted to the end of the file.
constexpr int64_t kNoLimit = std::numeric_limits<int32_t>::max();
constexpr const char* kNotCompared = "they were not compared";

// The pieces in hand from each side, in arrays that the next block reuses.
struct CompareBuffers {
    ByteArray base;
    ByteArray altered;
    ByteArray group;  // a Hues group, held whole to be converted
    ByteArray hues;
};

// Blocks up to this size are compared where the read windows hold them;
// larger ones a piece of this size at a time, never held whole.
constexpr int64_t kPiece = 1 << 16;

// Whether the next Size bytes of both sides are the same, compared a piece at
// a time: no block is held whole, however large.
bool SameBytesFrom(ByteSource& base, ByteSource& altered, int64_t Size, CompareBuffers& buffers) {
    if (buffers.base.size() < kPiece) buffers.base.resize(kPiece);  // once: the arrays keep their size
    if (buffers.altered.size() < kPiece) buffers.altered.resize(kPiece);
    for (int64_t left = Size; left > 0;) {
        const auto piece = static_cast<size_t>(std::min(left, kPiece));
        base.Read(buffers.base.data(), piece);
        altered.Read(buffers.altered.data(), piece);
        if (std::memcmp(buffers.base.data(), buffers.altered.data(), piece) != 0) return false;
        left -= static_cast<int64_t>(piece);
    }
    return true;
}

// Whether the blocks both objects last read, of the same Size, are the same.
bool SameBlocks(BlockReader& base, BlockReader& altered, int32_t Size, CompareBuffers& buffers) {
    if (Size > kPiece) return SameBytesFrom(base.cData(), altered.cData(), Size, buffers);
    const uint8_t* one = base.cView(buffers.base);
    const uint8_t* two = altered.cView(buffers.altered);
    return std::memcmp(one, two, static_cast<size_t>(Size)) == 0;
}

// Stores the altered side of block Block, whose head the altered source has
// just read (Size2, Extra2), into the patch: a block of Size below 1 present
// and empty with its Size as it came (-1, 0, ...), a Hues group converted,
// any other block with its bytes: those of Kept where a run kept them, else
// read again from the altered source.
void StoreAltered(BlockReader& altered, uint8_t FileID, int32_t Block, int32_t Size2, int32_t Extra2,
                  const uint8_t* Kept, CompareBuffers& buffers, CompareCounts& counts) {
    if (Size2 < 1) {
        StoreBlock(FileID, Block, Size2, Extra2, nullptr);
    } else if (FileID == kHuesFileID) {
        buffers.group.resize(static_cast<size_t>(Size2));  // the type's constant size
        if (Kept != nullptr)
            std::memcpy(buffers.group.data(), Kept, buffers.group.size());
        else
            altered.cDataAgain().Read(buffers.group.data(), buffers.group.size());
        StoreMULBlock(FileID, Block, Size2, Extra2, buffers.group, buffers.hues);
    } else if (Kept != nullptr) {
        StoreBlock(FileID, Block, Size2, Extra2, Kept);
    } else {
        StoreBlockFrom(FileID, Block, Size2, Extra2, altered.cDataAgain());
    }
    ++counts.Stored;
}

// Compares block Block on both open sources and stores the altered side
// when it differs. Sizes decide first; bytes only when both sizes are the
// same and above 0, so two empty blocks are equal only with the same size:
// -1 against 0 differs, but between a container and an index (which knows
// kinds of empty that a container has not) any two blocks without bytes are
// the same absence. An equal block leaves its slot alone, whatever the patch
// holds there; the extra words take no part.
void CompareBlock(BlockReader& base, BlockReader& altered, uint8_t FileID, int32_t Block, bool oneContainer,
                  CompareBuffers& buffers, CompareCounts& counts) {
    int32_t extra1 = 0;
    int32_t extra2 = 0;
    const int32_t size1 = base.cLoadHead(Block, extra1);
    const int32_t size2 = altered.cLoadHead(Block, extra2);
    const bool bothEmpty = size1 < 1 && size2 < 1;
    const bool differs = (size1 != size2 && !(oneContainer && bothEmpty)) ||
                         (size1 == size2 && size1 > 0 && !SameBlocks(base, altered, size1, buffers));
    if (differs) StoreAltered(altered, FileID, Block, size2, extra2, nullptr, buffers, counts);
}

// Blocks are taken in runs of this many: where both sources can compare a
// run as whole runs of bytes, only the blocks that differ are walked.
constexpr int64_t kRunBlocks = 4096;

void CompareRange(BlockReader& base, BlockReader& altered, uint8_t FileID, int64_t First, int64_t Last,
                  CompareBuffers& buffers, CountingPoint& progress, CompareCounts& counts) {
    const bool oneContainer =
        (dynamic_cast<cClientUOP*>(&base) != nullptr) != (dynamic_cast<cClientUOP*>(&altered) != nullptr);
    RunDifferences differing;
    for (int64_t run = First; run <= Last; run += kRunBlocks) {
        const int64_t runLast = std::min(Last, run + kRunBlocks - 1);
        if (base.cCompareRun(altered, ToLong(run), ToLong(runLast - run + 1), differing)) {
            // Their bytes are known to differ: only the altered side's head is
            // read, and its bytes where the run did not keep them.
            for (size_t k = 0; k < differing.Blocks.size(); ++k) {
                int32_t extra2 = 0;
                const int32_t size2 = altered.cLoadHead(differing.Blocks[k], extra2);
                const uint8_t* kept = differing.At[k] < 0 ? nullptr : differing.OtherBytes.data() + differing.At[k];
                StoreAltered(altered, FileID, differing.Blocks[k], size2, extra2, kept, buffers, counts);
            }
            counts.Compared += runLast - run + 1;
            progress.TickMany(runLast - run + 1, runLast);
            continue;
        }
        for (int64_t block = run; block <= runLast; ++block) {
            CompareBlock(base, altered, FileID, ToLong(block), oneContainer, buffers, counts);
            ++counts.Compared;
            progress.Tick(block);
        }
    }
}

}  // namespace

// Byte by byte over First: a difference answers false; running past the end
// of a shorter Second is the subscript failure.
bool SameBytes(const ByteArray& First, const ByteArray& Second) {
    const size_t common = std::min(First.size(), Second.size());
    if (common > 0 && std::memcmp(First.data(), Second.data(), common) != 0) return false;
    if (First.size() > Second.size()) At(Second, static_cast<int64_t>(common));  // throws
    return true;
}

bool CompareMUL(const std::string& MULFilename1, const std::string& IDXFilename1, const std::string& MULFilename2,
                const std::string& IDXFilename2, uint8_t FileID, CompareCounts* Counts) {
    CompareCounts counts;
    // The counts reach the caller however the walk ends.
    const auto report = [&] {
        if (Counts != nullptr) *Counts = counts;
    };
    try {
        if (!gFileIO.FileExist(MULFilename1) || !gFileIO.FileExist(MULFilename2)) {
            report();
            return true;
        }
        const FileTypeRec& type = FileTypes[FileID];
        // Each side warns of its files when it goes: the base side first.
        std::unique_ptr<BlockReader> altered;
        std::unique_ptr<BlockReader> base;
        int32_t lastBlock = type.NbrOfBlocks;
        int64_t first = 0;  // of the walk that may reach beyond the last block
        if (FileID == kTiledataFileID) {
            std::unique_ptr<cTiledata> tiles1 = OpenTiledataSource(MULFilename1);
            std::unique_ptr<cTiledata> tiles2 = OpenTiledataSource(MULFilename2);
            // Groups of other sizes at other places are no versions of each other.
            if (&tiles1->Layout() != &tiles2->Layout())
                Fail("The tile data files have different layouts and cannot be compared: " + MULFilename1 + " is " +
                     tiles1->Layout().Name + ", " + MULFilename2 + " is " + tiles2->Layout().Name + ".");
            lastBlock = std::min(lastBlock, tiles1->Layout().LastBlock);
            first = kTiledataLandGroups;
            base = std::move(tiles1);
            altered = std::move(tiles2);
        } else {
            base = OpenMULSource(IDXFilename1, MULFilename1, FileID);
            altered = OpenMULSource(IDXFilename2, MULFilename2, FileID);
        }
        const int64_t last = WalkLast(type, std::max(base->cExtent(), altered->cExtent()), lastBlock);
        CompareBuffers buffers;
        CountingPoint progress(last);
        CompareRange(*base, *altered, FileID, 0, last, buffers, progress, counts);
        WarnBeyondLast(*base, SourceFileName(IDXFilename1, MULFilename1, FileID), FileID, first, kNoLimit, lastBlock, kNotCompared);
        WarnBeyondLast(*altered, SourceFileName(IDXFilename2, MULFilename2, FileID), FileID, first, kNoLimit, lastBlock, kNotCompared);
        base->cClose();
        altered->cClose();
        RecountBlocks(FileID);
        report();
        return true;
    } catch (...) {
        report();
        RecountBlocks(FileID);  // what was stored before the stop stays, and the count says so
        gError.Log("mMuls.CompareMUL");
        return false;
    }
}

}  // namespace quillet
