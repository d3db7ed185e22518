#pragma once
// cMUL by the format's rules, for the MUL and compare targets: block n of a
// pair through record n of the IDX file, of a constant-size file at Offset +
// n times the block size; past the end of either file everything is zeros.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "FuzzSupport.h"
#include "core/mMuls.h"

namespace quillet::fuzz {

struct MulBlock {
    int32_t Size = 0;
    int32_t Extra = 0;
    ByteArray Bytes;  // what the MUL file has of the block (zeros for the rest of Size), else what it held
    // The whole block, zeros and all (a Hues group, held whole to be converted).
    ByteArray Whole() const {
        ByteArray whole = Bytes;
        whole.resize(static_cast<size_t>(Size), 0);
        return whole;
    }
};

class MulModel {
public:
    MulModel(const ByteArray& idx, const ByteArray& mul, int32_t constantIndex, int32_t offset)
        : idx_(idx), mul_(mul), constantIndex_(constantIndex), offset_(offset) {}

    // Into block (whose array is reused); false where cMUL fails: a record
    // position or block position that overflows 32 bits or is negative. A
    // block that reaches past the end of the MUL file is what is there and
    // zeros; it passes through a piece at a time, so no Size is too large.
    bool Load(int64_t index, MulBlock& block) const {
        int64_t position = 0;
        if (constantIndex_ < 1) {
            const int64_t at = index * 12;
            if (!Fits(at) || at < 0) return false;
            uint8_t raw[12];
            ModelReader(idx_, at).Read(raw, sizeof raw);
            position = LoadI32(raw);
            block.Size = LoadI32(raw + 4);
            block.Extra = LoadI32(raw + 8);
        } else {
            const int64_t step = index * constantIndex_;
            if (!Fits(step) || !Fits(offset_ + step)) return false;
            position = offset_ + step;
            block.Size = constantIndex_;
            block.Extra = -1;
        }
        if (block.Size > 0) {
            if (position < 0) return false;
            block.Bytes = BytesIn(mul_, position, block.Size);
        }
        return true;
    }

private:
    static bool Fits(int64_t v) {
        return v >= std::numeric_limits<int32_t>::min() && v <= std::numeric_limits<int32_t>::max();
    }
    const ByteArray& idx_;
    const ByteArray& mul_;
    int32_t constantIndex_;
    int32_t offset_;
};

// The block numbers a file speaks for: its IDX file's records (the length
// over 12, to nearest, ties to even), or the blocks that begin before the end
// of a constant-size file, only the whole ones for the animation data file.
inline int64_t ModelExtent(const ByteArray& idx, const ByteArray& mul, int32_t constantIndex, bool wholeBlocks) {
    if (constantIndex < 1) return static_cast<int64_t>(std::nearbyint(static_cast<double>(idx.size()) / 12));
    const auto size = static_cast<int64_t>(mul.size());
    return wholeBlocks ? size / constantIndex : (size + constantIndex - 1) / constantIndex;
}

// The last block of a walk: the type's classic last one at least, further as
// far as the files speak for, and never beyond LastBlock.
inline int64_t ModelWalkLast(const FileTypeRec& type, int64_t extent, int64_t lastBlock) {
    return std::min(std::max<int64_t>(type.ClassicLast, extent - 1), lastBlock);
}

// The two layouts of the tile data file, told by its size: 512 land groups,
// then the item groups from ItemStart on.
struct TileLayout {
    int32_t LandSize, ItemSize, ItemStart, LastBlock;
};
inline constexpr TileLayout kClassicTiles{836, 1188, 428032, 1023};
inline constexpr TileLayout kHighSeasTiles{964, 1316, 493568, 2559};
inline const TileLayout& TileLayoutOf(const ByteArray& mul) {
    const int64_t items = static_cast<int64_t>(mul.size()) - kHighSeasTiles.ItemStart;
    return items > 0 && items % kHighSeasTiles.ItemSize == 0 ? kHighSeasTiles : kClassicTiles;
}
inline int64_t TileExtent(const TileLayout& layout, const ByteArray& mul) {
    const auto size = static_cast<int64_t>(mul.size());
    if (size <= layout.ItemStart) return (size + layout.LandSize - 1) / layout.LandSize;
    return 512 + (size - layout.ItemStart + layout.ItemSize - 1) / layout.ItemSize;
}

}  // namespace quillet::fuzz
