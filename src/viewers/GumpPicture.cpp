// Gump blocks: a table of row starts, then runs of one colour each.
#include <algorithm>
#include <string>

#include "base/ByteIO.h"
#include "viewers/BlockPictures.h"

namespace quillet {

bool DecodeGump(std::span<const uint8_t> bytes, int32_t Extra, BlockPicture& picture, std::string& why) {
    picture = BlockPicture();
    const auto packed = static_cast<uint32_t>(Extra);
    const int32_t width = static_cast<int32_t>(packed >> 16);
    const int32_t height = static_cast<int32_t>(packed & 0xFFFF);
    const std::string size = std::to_string(width) + " by " + std::to_string(height) + " pixels";
    if (width == 0 || height == 0) {
        why = "its extra word gives a gump of " + size;
        return false;
    }
    if (int64_t{width} * height > kMostPicturePixels) {
        why = "its extra word claims " + size + ", more than a picture may have";
        return false;
    }
    const size_t units = bytes.size() / 4;
    if (static_cast<size_t>(height) > units) {
        why = "the table of " + std::to_string(height) + " row starts does not fit in its " +
              std::to_string(bytes.size()) + " bytes";
        return false;
    }
    const auto rowStart = [&](int32_t y) -> size_t {
        return y == height ? units : static_cast<uint32_t>(LoadI32(bytes.data() + 4 * static_cast<size_t>(y)));
    };
    // Every row is checked before the picture is made, so that a broken
    // block costs no allocation of the size it claims.
    for (int32_t y = 0; y < height; ++y) {
        const size_t start = rowStart(y);
        const size_t end = rowStart(y + 1);
        const std::string row = "row " + std::to_string(y);
        if (start < static_cast<size_t>(height) || start >= units) {
            why = row + " starts at 4-byte unit " + std::to_string(start) + ", " +
                  (start < static_cast<size_t>(height) ? "inside the row table" : "past the block");
            return false;
        }
        int64_t sum = 0;
        for (size_t unit = start; unit < end && unit < units; ++unit) sum += LoadU16(bytes.data() + 4 * unit + 2);
        if (end < start || sum != width) {
            why = "the runs of " + row + " cover " + std::to_string(end < start ? 0 : sum) + " pixels of its width " +
                  std::to_string(width);
            return false;
        }
    }
    picture.Reset(width, height);
    uint32_t* pixel = picture.Pixels.data();
    for (int32_t y = 0; y < height; ++y) {
        const size_t end = std::min(rowStart(y + 1), units);
        for (size_t unit = rowStart(y); unit < end; ++unit) {
            const uint16_t colour = LoadU16(bytes.data() + 4 * unit);
            const uint16_t count = LoadU16(bytes.data() + 4 * unit + 2);
            // Colour 0 is transparent, which the picture already is.
            if (colour != 0) std::fill(pixel, pixel + count, OpaquePixel(colour));
            pixel += count;
        }
    }
    return true;
}

}  // namespace quillet
