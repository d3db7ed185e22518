#pragma once
// Gump import: a picture becomes one block of the Gumps type, in the
// run-length form the client reads from its gump data file.
//
// The block: a row table of Height entries of 4 bytes (the start of row y in
// 4-byte units from the block's start, so entry 0 is Height), then the runs
// of all rows back to back, each run a 16-bit colour and a 16-bit length. A
// row's runs add up to Width; neighbouring runs differ in colour. Width and
// Height stand in the slot's Extra (Width high, Height low), not in the block.
#include <cstdint>

namespace quillet {

inline constexpr uint8_t kGumpsFileID = 12;

// What the conversions need of a picture, whatever loaded it: its size in
// pixels and the red, green, blue and alpha of a pixel (0..255 each; alpha 0
// is transparent, and the colour of such a pixel is what the file holds). The front ends
// adapt their own picture class to it, so that the library reads no picture
// format itself.
class PixelSource {
public:
    struct RGB {
        uint8_t Red = 0;
        uint8_t Green = 0;
        uint8_t Blue = 0;
        uint8_t Alpha = 255;
    };

    virtual ~PixelSource() = default;
    virtual int32_t Width() const = 0;
    virtual int32_t Height() const = 0;
    // 0 <= x < Width, 0 <= y < Height.
    virtual RGB Pixel(int32_t x, int32_t y) const = 0;
    // Row y whole, Width pixels into out: one call a row for the
    // conversions, which a source may serve faster than pixel by pixel.
    virtual void Row(int32_t y, RGB* out) const {
        for (int32_t x = 0; x < Width(); ++x) out[x] = Pixel(x, y);
    }
};

// Converts the picture into Gumps block Block: Size, Extra and the block's
// bytes go into the slot, whatever stood there, and Gumps is recounted;
// answers true.
// Colours by ColorTo555; there is no transparent colour: alpha is not read. A Block outside the
// Gumps slots (0..65535), a Width or Height above 32767 (the halves of Extra)
// or below 1, or a block whose row table cannot hold its row starts, is a
// failure, logged as "mGumps.Gump_LoadBMP", that answers false: the slot and
// the DataFile are then left as they were. A batch of conversions passes
// Recount false and recounts once at its end.
bool Gump_LoadBMP(const PixelSource& Picture, int32_t Block, bool Recount = true);

}  // namespace quillet
