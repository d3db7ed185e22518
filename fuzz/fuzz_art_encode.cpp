// The art encoders on small pictures: the block made from a picture decodes,
// by the decoder and by the model (PictureModel.h) alike, to the picture it
// came from, as far as the art forms keep it: 15-bit colours, transparent and
// pure black pixels as gaps of an item and black of a land tile, colours that
// would come out as 0 in an item as the darkest grey.
//
// The input: a mode byte (bit 0: a land tile of 44 by 44, else an item),
// width and height bytes (an item is 1 to 64 pixels a side; a land tile
// ignores them), a palette
// count byte (1 to 16), that many RGBA colours, then one palette index per
// pixel, row by row (0 past the end of the input).
#include <cstdint>
#include <string>
#include <vector>

#include "FuzzInput.h"
#include "FuzzSupport.h"
#include "PictureModel.h"
#include "operations/mArt.h"
#include "operations/mGumps.h"
#include "support/mConvert.h"
#include "viewers/BlockPictures.h"

using namespace quillet;
using namespace quillet::fuzz;

namespace {

class Picture : public PixelSource {
public:
    Picture(int32_t width, int32_t height) : width_(width), height_(height) {}
    int32_t Width() const override { return width_; }
    int32_t Height() const override { return height_; }
    RGB Pixel(int32_t x, int32_t y) const override {
        FUZZ_CHECK(x >= 0 && y >= 0 && x < width_ && y < height_, "a pixel outside the picture read");
        return pixels[static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x)];
    }
    std::vector<RGB> pixels;

private:
    int32_t width_, height_;
};

// What the block should keep of a pixel.
uint32_t Kept(const PixelSource::RGB& p, bool land) {
    const bool gap = p.Alpha == 0 || (p.Red == 0 && p.Green == 0 && p.Blue == 0);
    if (gap) return land ? 0xFF000000u : 0;
    const int32_t colour = ColorTo555(p.Red + 256 * p.Green + 65536 * p.Blue) & 0x7FFF;
    return ModelColour(colour == 0 && !land ? 0x0421 : static_cast<uint32_t>(colour));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    InputCutter in(data, size);
    const bool land = in.U8() & 1;
    const int32_t itemWidth = 1 + in.U8() % 64;
    const int32_t itemHeight = 1 + in.U8() % 64;
    const int32_t width = land ? 44 : itemWidth;
    const int32_t height = land ? 44 : itemHeight;
    std::vector<PixelSource::RGB> palette(1 + in.U8() % 16);
    for (PixelSource::RGB& colour : palette) colour = {in.U8(), in.U8(), in.U8(), in.U8()};
    Picture picture(width, height);
    for (int32_t i = 0; i < width * height; ++i) picture.pixels.push_back(palette[in.U8() % palette.size()]);

    const ByteArray block = land ? EncodeArtLand(picture) : EncodeArtItem(picture);
    if (land) FUZZ_CHECK(block.size() == 2048, "a land tile of " + std::to_string(block.size()) + " bytes");
    BlockPicture decoded;
    std::string why;
    FUZZ_CHECK(land ? DecodeArtLand(block, decoded, why) : DecodeArtItem(block, decoded, why), "not decoded: " + why);
    const MaybePicture model = land ? ModelLand(block) : ModelItem(block);
    FUZZ_CHECK(model.has_value(), "the model does not decode the block");
    FUZZ_CHECK(decoded.Width == width && decoded.Height == height && model->Width == width && model->Height == height,
               "another size");
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x) {
            const bool drawn = !land || std::abs(2 * x - 43) + std::abs(2 * y - 43) <= 44;
            const uint32_t want = drawn ? Kept(picture.Pixel(x, y), land) : 0;
            const size_t i = static_cast<size_t>(y * width + x);
            FUZZ_CHECK(decoded.Pixels[i] == want && model->Pixels[i] == want,
                       "pixel " + std::to_string(x) + "," + std::to_string(y));
        }
    return 0;
}
