#include "viewers/PixelPicture.h"

#include <algorithm>

namespace quillet {

PixelPicture::PixelPicture() : pixels_(static_cast<size_t>(kClassicWidth) * kHeight, kBackground) {}

void PixelPicture::SetWidth(int32_t width) {
    if (width == width_ || width < 1) return;
    width_ = width;
    pixels_.assign(static_cast<size_t>(width) * kHeight, kBackground);
    shown_ = false;
}

void PixelPicture::Cls() {
    std::fill(pixels_.begin(), pixels_.end(), kBackground);
    shown_ = false;
}

void PixelPicture::Refresh() {
    shownPixels_ = pixels_;
    shownWidth_ = width_;
    shown_ = true;
}

Canvas PixelPicture::hDC() {
    Canvas canvas;
    canvas.pixels = pixels_.data();
    canvas.width = width_;
    canvas.height = kHeight;
    canvas.stride = width_;
    return canvas;
}

}  // namespace quillet
