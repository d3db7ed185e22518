#include "operations/mArt.h"

#include <string>

#include "base/Checked.h"
#include "base/cError.h"
#include "core/mPatch.h"
#include "operations/mGumps.h"
#include "support/mConvert.h"

namespace quillet {
namespace {

constexpr int32_t kLargestItemSide = 0xFFFF;
constexpr uint16_t kDarkestGrey = 1 << 10 | 1 << 5 | 1;  // (8, 8, 8)

std::string SizeOf(const PixelSource& Picture) {
    return std::to_string(Picture.Width()) + " by " + std::to_string(Picture.Height()) + " pixels";
}

bool IsGap(const PixelSource::RGB& pixel) {
    return pixel.Alpha == 0 || (pixel.Red == 0 && pixel.Green == 0 && pixel.Blue == 0);
}

uint16_t Colour555(const PixelSource::RGB& pixel) {
    return static_cast<uint16_t>(ColorTo555(pixel.Red + 256 * pixel.Green + 65536 * pixel.Blue) & 0x7FFF);
}

// The colour an item keeps of a visible pixel: never 0, which is a gap.
uint16_t ItemColour(const PixelSource::RGB& pixel) {
    const uint16_t colour = Colour555(pixel);
    return colour == 0 ? kDarkestGrey : colour;
}

}  // namespace

ByteArray EncodeArtLand(const PixelSource& Picture) {
    if (Picture.Width() != kLandTileSide || Picture.Height() != kLandTileSide)
        Fail("A land tile is made from a picture of 44 by 44 pixels, not of " + SizeOf(Picture));
    ByteArray block(kLandTileBytes, uint8_t{0});
    uint8_t* out = block.data();
    for (int32_t y = 0; y < kLandTileSide; ++y) {
        const int32_t count = y < 22 ? 2 * (y + 1) : 2 * (kLandTileSide - y);
        const int32_t from = y < 22 ? 21 - y : y - 22;
        for (int32_t x = from; x < from + count; ++x, out += 2) {
            const PixelSource::RGB pixel = Picture.Pixel(x, y);
            StoreI16(out, static_cast<int16_t>(IsGap(pixel) ? 0 : Colour555(pixel)));
        }
    }
    return block;
}

ByteArray EncodeArtItem(const PixelSource& Picture) {
    const int32_t width = Picture.Width();
    const int32_t height = Picture.Height();
    if (width < 1 || height < 1 || width > kLargestItemSide || height > kLargestItemSide)
        Fail("An item is made from a picture of 1 to 65535 pixels a side, not of " + SizeOf(Picture));
    if (int64_t{width} * height > kMostPicturePixels)
        Fail("An item is made from a picture of at most " + std::to_string(kMostPicturePixels) + " pixels, not of " +
             SizeOf(Picture));
    ByteArray block;
    // At least the head and the row table, with the end mark of every row.
    block.reserve(8 + 6 * static_cast<size_t>(height));
    LeWriter out(block);
    out.I32(0);
    out.U16(static_cast<uint16_t>(width));
    out.U16(static_cast<uint16_t>(height));
    const size_t table = block.size();
    out.Zeros(2 * static_cast<size_t>(height));
    const size_t dataStart = block.size();
    for (int32_t y = 0; y < height; ++y) {
        const size_t offset = (block.size() - dataStart) / 2;
        if (offset > 0xFFFF)
            Fail("Row " + std::to_string(y) + " of the item would start at " + std::to_string(offset) +
                 " words, beyond the 16 bits of its offset");
        StoreI16(block.data() + table + 2 * static_cast<size_t>(y), static_cast<int16_t>(offset));
        int32_t x = 0;
        int32_t runEnd = 0;  // where the last run ended: the next skip counts from there
        while (x < width) {
            if (IsGap(Picture.Pixel(x, y))) {
                ++x;
                continue;
            }
            int32_t end = x;
            while (end < width && !IsGap(Picture.Pixel(end, y))) ++end;
            out.U16(static_cast<uint16_t>(x - runEnd));
            out.U16(static_cast<uint16_t>(end - x));
            for (int32_t i = x; i < end; ++i) out.U16(ItemColour(Picture.Pixel(i, y)));
            runEnd = x = end;
        }
        out.U16(0);
        out.U16(0);
    }
    return block;
}

bool Art_LoadPicture(const PixelSource& Picture, int32_t Block, bool Recount) {
    try {
        Slot(kArtFileID, Block);  // a block outside the slots is refused before any work
        const ByteArray bytes = Block < kFirstItemBlock ? EncodeArtLand(Picture) : EncodeArtItem(Picture);
        StoreBlock(kArtFileID, Block, ToLong(static_cast<int64_t>(bytes.size())), -1, bytes);
        if (Recount) RecountBlocks(kArtFileID);
        return true;
    } catch (...) {
        gError.Log("mArt.Art_LoadPicture");
        return false;
    }
}

}  // namespace quillet
