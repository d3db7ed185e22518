#pragma once
// A plain 32-bit pixel surface the viewers draw into. The front end hands
// one out over its own image memory (the GUI over a QImage in RGB32, the CLI
// over the picture it writes), so drawing goes straight into the picture.
#include <cstdint>

namespace quillet {

struct Canvas {
    uint32_t* pixels = nullptr;  // 0xFFRRGGBB per pixel
    int32_t width = 0;
    int32_t height = 0;
    int32_t stride = 0;  // pixels from one row to the next

    bool Contains(int32_t x, int32_t y) const { return x >= 0 && y >= 0 && x < width && y < height; }
};

// A colour value (red + 256 green + 65536 blue) as the canvas keeps it.
inline uint32_t CanvasPixel(int32_t color) {
    const auto c = static_cast<uint32_t>(color);
    return 0xFF000000u | (c & 0xFFu) << 16 | (c & 0xFF00u) | (c >> 16 & 0xFFu);
}

// Sets one pixel; a position outside the surface is ignored, as the
// platform's call did.
inline void SetPixelV(const Canvas& canvas, int32_t x, int32_t y, int32_t color) {
    if (!canvas.Contains(x, y)) return;
    canvas.pixels[static_cast<int64_t>(y) * canvas.stride + x] = CanvasPixel(color);
}

}  // namespace quillet

namespace quillet {

// A picture page as the drawing procedures see it: a width to take, erase, a
// surface to draw on, and show. The GUI's uScrollPicture is one; the CLI
// renders into another. The height is always 512 pixels.
class PictureSurface {
public:
    virtual ~PictureSurface() = default;
    // Takes a width in pixels: what was drawn may go, a Cls follows.
    virtual void SetWidth(int32_t width) = 0;
    virtual void Cls() = 0;
    virtual void Refresh() = 0;
    virtual Canvas hDC() = 0;
};

}  // namespace quillet
