// The picture kinds of a fixed layout: texmaps, lights, hues and map blocks.
#include <string>

#include "base/ByteIO.h"
#include "support/mConvert.h"
#include "viewers/BlockPictures.h"
#include "viewers/Canvas.h"
#include "viewers/mRadarCol.h"

namespace quillet {
namespace {

constexpr size_t kHueBytes = 88;  // 32 colours, table start and end, a 20-byte name
constexpr int32_t kHuesPerBlock = 8;
constexpr int32_t kHueColours = 32;
constexpr int32_t kSwatch = 8;  // a colour is a square of 8 by 8 pixels

constexpr size_t kMapBlockBytes = 196;  // a 4-byte header, then 64 cells of 3 bytes
constexpr int32_t kMapCells = 8;

std::string Bytes(size_t size) { return std::to_string(size) + " bytes"; }

}  // namespace

bool DecodeTexmap(std::span<const uint8_t> bytes, BlockPicture& picture, std::string& why) {
    picture = BlockPicture();
    int32_t side = 0;
    if (bytes.size() == 64 * 64 * 2) side = 64;
    if (bytes.size() == 128 * 128 * 2) side = 128;
    if (side == 0) {
        why = "a texmap is 8192 or 32768 bytes, this block has " + Bytes(bytes.size());
        return false;
    }
    picture.Reset(side, side);
    for (size_t i = 0; i < picture.Pixels.size(); ++i) picture.Pixels[i] = OpaquePixel(LoadU16(bytes.data() + 2 * i));
    return true;
}

bool DecodeLight(std::span<const uint8_t> bytes, int32_t Extra, BlockPicture& picture, std::string& why) {
    picture = BlockPicture();
    const auto packed = static_cast<uint32_t>(Extra);
    const int32_t width = static_cast<int32_t>(packed & 0xFFFF);
    const int32_t height = static_cast<int32_t>(packed >> 16);
    const int64_t pixels = int64_t{width} * height;
    if (pixels == 0 || static_cast<uint64_t>(pixels) > bytes.size()) {
        why = "its extra word gives a light of " + std::to_string(width) + " by " + std::to_string(height) +
              " pixels, and the block has " + Bytes(bytes.size());
        return false;
    }
    picture.Reset(width, height);
    for (size_t i = 0; i < picture.Pixels.size(); ++i) {
        // A signed light from -31 to 31; the negative ones are kept with
        // their bits inverted, so that both give the same level.
        const uint8_t b = bytes[i];
        const int32_t level = b <= 31 ? b : (~b & 31);
        if (level != 0) picture.Pixels[i] = CanvasPixel(ColorFrom555(1057 * level));
    }
    return true;
}

bool DecodeHues(std::span<const uint8_t> bytes, BlockPicture& picture, std::string& why) {
    picture = BlockPicture();
    // The client's group of 708 bytes, or the patch's form of 1220 with 64
    // bytes of 0 after each hue.
    size_t stride = 0;
    if (bytes.size() == 4 + kHuesPerBlock * kHueBytes) stride = kHueBytes;
    if (bytes.size() == 4 + kHuesPerBlock * (kHueBytes + 64)) stride = kHueBytes + 64;
    if (stride == 0) {
        why = "a hues block is 708 or 1220 bytes, this block has " + Bytes(bytes.size());
        return false;
    }
    picture.Reset(kHueColours * kSwatch, kHuesPerBlock * kSwatch);
    for (int32_t hue = 0; hue < kHuesPerBlock; ++hue) {
        const uint8_t* colours = bytes.data() + 4 + stride * static_cast<size_t>(hue);
        for (int32_t i = 0; i < kHueColours; ++i) {
            const uint32_t pixel = OpaquePixel(LoadU16(colours + 2 * i));
            for (int32_t y = hue * kSwatch; y < (hue + 1) * kSwatch; ++y)
                for (int32_t x = i * kSwatch; x < (i + 1) * kSwatch; ++x) picture.Set(x, y, pixel);
        }
    }
    return true;
}

bool DecodeMapBlock(std::span<const uint8_t> bytes, BlockPicture& picture, std::string& why) {
    picture = BlockPicture();
    if (bytes.size() < kMapBlockBytes) {
        why = "a map block is 196 bytes, this block has " + Bytes(bytes.size());
        return false;
    }
    picture.Reset(kMapCells, kMapCells);
    for (int32_t cell = 0; cell < kMapCells * kMapCells; ++cell) {
        // A tile is 16 bits; the table has at least 65536 colours.
        const uint16_t tile = LoadU16(bytes.data() + 4 + 3 * static_cast<size_t>(cell));
        picture.Pixels[static_cast<size_t>(cell)] = CanvasPixel(RadarColors[tile]);
    }
    return true;
}

}  // namespace quillet
