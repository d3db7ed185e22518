#pragma once
// A QImage as the pixel source of the picture conversions.
#include <QImage>

#include "operations/mGumps.h"

namespace quillet {

class QImagePixels : public PixelSource {
public:
    // The picture is turned into 32-bit RGB once, so that each pixel is a
    // plain read of its row; a transparent pixel counts by its colour, since
    // the gump conversion has no transparent colour.
    explicit QImagePixels(const QImage& picture);

    int32_t Width() const override;
    int32_t Height() const override;
    RGB Pixel(int32_t x, int32_t y) const override;

private:
    QImage image_;
};

}  // namespace quillet
