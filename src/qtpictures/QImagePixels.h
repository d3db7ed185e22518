#pragma once
// A QImage as the pixel source of the picture conversions.
#include <QImage>

#include "operations/mGumps.h"

namespace quillet {

class QImagePixels : public PixelSource {
public:
    // The picture is turned into 32-bit ARGB (not premultiplied) once, so
    // that each pixel is a plain read of its row and a transparent pixel
    // keeps the colour the file gives it: the gump conversion, which has no
    // transparent colour, codes that colour.
    explicit QImagePixels(const QImage& picture);

    int32_t Width() const override;
    int32_t Height() const override;
    RGB Pixel(int32_t x, int32_t y) const override;

private:
    QImage image_;
};

}  // namespace quillet
