#pragma once
// cMUL by the format's rules, for the MUL and compare targets: block n of a
// pair through record n of the IDX file, of a constant-size file at Offset +
// n times the block size; past the end of either file everything is zeros.
#include <cstdint>
#include <limits>

#include "FuzzSupport.h"

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

// The two sections of the tile data file.
struct TileSection {
    int32_t First, Last, BlockSize, Start;
};
inline constexpr TileSection kLandSection{0, 511, 836, 0};
inline constexpr TileSection kStaticSection{512, 1023, 1188, 428032};

}  // namespace quillet::fuzz
