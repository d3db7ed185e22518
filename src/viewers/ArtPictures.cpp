// Art blocks: land tiles (a diamond of 1012 colours) and items (rows of runs).
#include <string>
#include <utility>

#include "base/ByteIO.h"
#include "viewers/BlockPictures.h"

namespace quillet {
namespace {

constexpr int32_t kLandSide = 44;
constexpr size_t kLandBytes = 1012 * 2;
constexpr size_t kItemHeadBytes = 8;  // u32 header, u16 width, u16 height

std::string At(int32_t y) { return " in row " + std::to_string(y); }

}  // namespace

bool DecodeArtLand(std::span<const uint8_t> bytes, BlockPicture& picture, std::string& why) {
    picture = BlockPicture();
    if (bytes.size() < kLandBytes) {
        why = "a land tile is " + std::to_string(kLandBytes) + " bytes or more, this block has " +
              std::to_string(bytes.size());
        return false;
    }
    picture.Reset(kLandSide, kLandSide);
    const uint8_t* colour = bytes.data();
    for (int32_t y = 0; y < kLandSide; ++y) {
        // Row y holds 2 (y + 1) pixels from 21 - y down to the middle, then
        // 2 (44 - y) from y - 22: every pixel of the diamond is opaque.
        const int32_t count = y < 22 ? 2 * (y + 1) : 2 * (kLandSide - y);
        const int32_t from = y < 22 ? 21 - y : y - 22;
        for (int32_t x = from; x < from + count; ++x, colour += 2) picture.Set(x, y, OpaquePixel(LoadU16(colour)));
    }
    return true;
}

bool DecodeArtItem(std::span<const uint8_t> bytes, BlockPicture& picture, std::string& why) {
    picture = BlockPicture();
    if (bytes.size() < kItemHeadBytes) {
        why = "an item starts with 8 bytes of header, this block has " + std::to_string(bytes.size());
        return false;
    }
    const int32_t width = LoadU16(bytes.data() + 4);
    const int32_t height = LoadU16(bytes.data() + 6);
    if (width == 0 || height == 0) {
        why = "the item is " + std::to_string(width) + " by " + std::to_string(height) + " pixels";
        return false;
    }
    if (int64_t{width} * height > kMostPicturePixels) {
        why = "the item claims " + std::to_string(width) + " by " + std::to_string(height) +
              " pixels, more than a picture may have";
        return false;
    }
    const size_t dataStart = kItemHeadBytes + 2 * static_cast<size_t>(height);
    if (dataStart > bytes.size()) {
        why = "the table of " + std::to_string(height) + " row offsets passes the end of the block";
        return false;
    }
    picture.Reset(width, height);
    // A row is checked as it is drawn: a fault in a later row takes back
    // what the rows before it drew.
    const auto refuse = [&](std::string reason) {
        why = std::move(reason);
        picture = BlockPicture();
        return false;
    };
    for (int32_t y = 0; y < height; ++y) {
        const size_t offset = LoadU16(bytes.data() + kItemHeadBytes + 2 * static_cast<size_t>(y));
        size_t pos = dataStart + 2 * offset;
        int32_t x = 0;
        for (;;) {
            if (pos + 4 > bytes.size()) return refuse("the data" + At(y) + " passes the end of the block");
            const int32_t skip = LoadU16(bytes.data() + pos);
            const int32_t length = LoadU16(bytes.data() + pos + 2);
            pos += 4;
            if (skip == 0 && length == 0) break;
            x += skip;
            if (x + length > width) return refuse("a run" + At(y) + " passes the width of " + std::to_string(width));
            if (pos + 2 * static_cast<size_t>(length) > bytes.size())
                return refuse("the data" + At(y) + " passes the end of the block");
            // Colour 0 is a gap: the client draws nothing there.
            for (int32_t i = 0; i < length; ++i, pos += 2, ++x)
                if (const uint16_t colour = LoadU16(bytes.data() + pos); colour != 0) picture.Set(x, y, OpaquePixel(colour));
        }
    }
    return true;
}

}  // namespace quillet
