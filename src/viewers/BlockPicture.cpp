#include "viewers/BlockPicture.h"

#include "support/mConvert.h"
#include "viewers/Canvas.h"

namespace quillet {

void BlockPicture::Reset(int32_t width, int32_t height) {
    Width = width;
    Height = height;
    Pixels.assign(static_cast<size_t>(width) * static_cast<size_t>(height), kTransparent);
}

uint32_t OpaquePixel(uint16_t colour) { return CanvasPixel(ColorFrom555(colour & 0x7FFF)); }

}  // namespace quillet
