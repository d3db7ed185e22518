#pragma once
// A picture page in plain memory: 512 pixels high and as wide as the drawing
// procedures make it (768 or 896), drawn into as the GUI's uScrollPicture is;
// the CLI writes it out as a PNG file.
#include <cstdint>
#include <string>
#include <vector>

#include "viewers/Canvas.h"

namespace quillet {

class PixelPicture : public PictureSurface {
public:
    static constexpr int32_t kClassicWidth = 768;
    static constexpr int32_t kHeight = 512;
    // The background: light grey with channels of 239, which no radar colour
    // has (their channels are multiples of 8), so an absent block is never
    // taken for a coloured one.
    static constexpr uint32_t kBackground = 0xFFEFEFEFu;

    PixelPicture();

    void SetWidth(int32_t width) override;
    void Cls() override;
    // Keeps what is drawn so far as the picture to write.
    void Refresh() override;
    Canvas hDC() override;

    // Refresh has been called since the last Cls: the drawing was complete.
    bool Shown() const { return shown_; }
    // The picture as last shown, 0xFFRRGGBB per pixel, row by row, ShownWidth to a row.
    const std::vector<uint32_t>& ShownPixels() const { return shownPixels_; }
    int32_t ShownWidth() const { return shownWidth_; }

private:
    int32_t width_ = kClassicWidth;
    int32_t shownWidth_ = kClassicWidth;
    std::vector<uint32_t> pixels_;
    std::vector<uint32_t> shownPixels_;
    bool shown_ = false;
};

}  // namespace quillet
