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
    void Row(int32_t y, RGB* out) const override;

private:
    const QRgb* Line(int32_t y) const {
        return reinterpret_cast<const QRgb*>(bits_ + static_cast<qsizetype>(y) * stride_);
    }

    QImage image_;
    const uchar* bits_;  // the converted picture's rows, read without a call a pixel
    qsizetype stride_;
};

}  // namespace quillet
