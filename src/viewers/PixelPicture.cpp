#include "viewers/PixelPicture.h"

#include <algorithm>

namespace quillet {

PixelPicture::PixelPicture() : pixels_(static_cast<size_t>(kWidth) * kHeight, kBackground) {}

void PixelPicture::Cls() {
    std::fill(pixels_.begin(), pixels_.end(), kBackground);
    shown_ = false;
}

void PixelPicture::Refresh() {
    shownPixels_ = pixels_;
    shown_ = true;
}

Canvas PixelPicture::hDC() {
    Canvas canvas;
    canvas.pixels = pixels_.data();
    canvas.width = kWidth;
    canvas.height = kHeight;
    canvas.stride = kWidth;
    return canvas;
}

}  // namespace quillet
