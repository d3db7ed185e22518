#pragma once
// A block drawn as a picture, in plain memory: what the decoders of the
// picture types make, the GUI shows and the CLI writes as a PNG file.
#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillet {

struct BlockPicture {
    // A transparent pixel: alpha 0 (its red, green and blue mean nothing, and
    // are kept 0 so that two pictures compare equal when they look equal).
    static constexpr uint32_t kTransparent = 0;

    int32_t Width = 0;
    int32_t Height = 0;
    // 0xAARRGGBB per pixel, row by row, Width to a row: the layout of a
    // QImage in Format_ARGB32, so that a front end shows it without a copy.
    std::vector<uint32_t> Pixels;

    // A picture of the size, every pixel transparent.
    void Reset(int32_t width, int32_t height);
    uint32_t At(int32_t x, int32_t y) const { return Pixels[Index(x, y)]; }
    void Set(int32_t x, int32_t y, uint32_t pixel) { Pixels[Index(x, y)] = pixel; }

private:
    size_t Index(int32_t x, int32_t y) const {
        return static_cast<size_t>(y) * static_cast<size_t>(Width) + static_cast<size_t>(x);
    }
};

// The opaque pixel of a 16-bit colour of the client: bit 15 is dropped (the
// client draws such a value as the same colour without it), the rest goes
// through ColorFrom555.
uint32_t OpaquePixel(uint16_t colour);

}  // namespace quillet
