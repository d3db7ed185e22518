// CompareMUL and SameBytes of mMuls: a patch of what differs between two
// versions of one client file type.
#include <algorithm>
#include <cstring>
#include <limits>

#include "base/Checked.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "base/cError.h"
#include "support/Services.h"
#include "core/mWait.h"
#include "formats/cMUL.h"
#include "operations/mImport.h"

namespace quillet {
namespace {

// Blocks beyond a type's last one are counted to the end of the file.
constexpr int64_t kNoLimit = std::numeric_limits<int32_t>::max();
constexpr const char* kNotCompared = "they were not compared";

// The block in hand from each side, each in an array that the next block reuses.
struct CompareBuffers {
    ByteArray base;
    ByteArray altered;
    ByteArray hues;
};

// Sizes decide first; bytes only when both sides have the same size above 0.
// So two empty blocks are equal only with the same size: -1 against 0 differs.
bool Differs(int32_t Size1, const uint8_t* Bytes1, int32_t Size2, const uint8_t* Bytes2) {
    if (Size1 != Size2) return true;
    return Size1 > 0 && std::memcmp(Bytes1, Bytes2, static_cast<size_t>(Size1)) != 0;
}

// Walks First..Last (inclusive) on both open objects, reading index Block -
// IndexBase. The bytes are looked at where they lie; only a block that
// differs is copied, to be stored.
void CompareRange(cMUL& base, cMUL& altered, uint8_t FileID, int32_t First, int32_t Last, int32_t IndexBase,
                  CompareBuffers& buffers, CountingPoint& progress) {
    for (int64_t block = First; block <= Last; ++block) {
        const int32_t number = ToLong(block);
        const int32_t index = SubLong(number, IndexBase);
        int32_t extra1 = 0;
        int32_t extra2 = 0;
        const uint8_t* bytes1 = nullptr;
        const uint8_t* bytes2 = nullptr;
        const int32_t size1 = base.cLoadView(index, extra1, bytes1, buffers.base);
        const int32_t size2 = altered.cLoadView(index, extra2, bytes2, buffers.altered);
        // An equal block leaves its slot alone, whatever the patch holds there;
        // the extra words take no part in the decision.
        if (Differs(size1, bytes1, size2, bytes2)) {
            if (size2 < 1) {
                StoreBlock(FileID, number, size2, extra2, nullptr);  // Size kept as it came: -1, 0, ...
            } else {
                if (bytes2 != buffers.altered.data()) buffers.altered.assign(bytes2, bytes2 + size2);
                StoreMULBlock(FileID, number, size2, extra2, buffers.altered, buffers.hues);
            }
        }
        progress.Tick(number);
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
                const std::string& IDXFilename2, uint8_t FileID) {
    try {
        if (!gFileIO.FileExist(MULFilename1) || !gFileIO.FileExist(MULFilename2)) return true;
        const FileTypeRec& type = FileTypes[FileID];
        // Each side warns of its files when it goes: the base side first.
        cMUL altered;
        cMUL base;
        CompareBuffers buffers;
        CountingPoint progress(type.NbrOfBlocks);
        if (FileID == kTiledataFileID) {
            // The tile data file by its two sections; both objects are opened
            // and closed once for each.
            for (const TiledataSection& section : kTiledataSections) {
                const int32_t blocks = section.LastBlock - section.FirstBlock;
                OpenMUL(base, "", MULFilename1, section.BlockSize, blocks, section.Start);
                OpenMUL(altered, "", MULFilename2, section.BlockSize, blocks, section.Start);
                CompareRange(base, altered, FileID, section.FirstBlock, section.LastBlock, section.FirstBlock,
                             buffers, progress);
                if (section.LastBlock == type.NbrOfBlocks) {
                    WarnBeyondLast(base, MULFilename1, FileID, section.FirstBlock, kNoLimit, section.LastBlock,
                                   section.FirstBlock, kNotCompared);
                    WarnBeyondLast(altered, MULFilename2, FileID, section.FirstBlock, kNoLimit, section.LastBlock,
                                   section.FirstBlock, kNotCompared);
                }
                base.cClose();
                altered.cClose();
            }
        } else {
            OpenMUL(base, IDXFilename1, MULFilename1, type.ConstantIndex, type.NbrOfBlocks, 0);
            OpenMUL(altered, IDXFilename2, MULFilename2, type.ConstantIndex, type.NbrOfBlocks, 0);
            CompareRange(base, altered, FileID, 0, type.NbrOfBlocks, 0, buffers, progress);
            const bool pair = type.ConstantIndex < 1;
            WarnBeyondLast(base, pair ? IDXFilename1 : MULFilename1, FileID, 0, kNoLimit, type.NbrOfBlocks, 0,
                           kNotCompared);
            WarnBeyondLast(altered, pair ? IDXFilename2 : MULFilename2, FileID, 0, kNoLimit, type.NbrOfBlocks, 0,
                           kNotCompared);
            base.cClose();
            altered.cClose();
        }
        RecountBlocks(FileID);
        return true;
    } catch (...) {
        RecountBlocks(FileID);  // what was stored before the stop stays, and the count says so
        gError.Log("mMuls.CompareMUL");
        return false;
    }
}

}  // namespace quillet
