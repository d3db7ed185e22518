#pragma once
// A loaded QImage as the pixel source of the gump conversion. The picture is
// turned into 32-bit RGB once, so that each pixel is a plain read of its row;
// a transparent pixel counts by its colour, as the conversion has no
// transparent colour.
#include <QImage>

#include "operations/mGumps.h"

namespace quillet {

class QImagePixels : public PixelSource {
public:
    explicit QImagePixels(const QImage& picture) : image_(picture.convertToFormat(QImage::Format_RGB32)) {}

    int32_t Width() const override { return image_.width(); }
    int32_t Height() const override { return image_.height(); }
    RGB Pixel(int32_t x, int32_t y) const override {
        const QRgb colour = reinterpret_cast<const QRgb*>(image_.constScanLine(y))[x];
        return {static_cast<uint8_t>(qRed(colour)), static_cast<uint8_t>(qGreen(colour)),
                static_cast<uint8_t>(qBlue(colour))};
    }

private:
    QImage image_;
};

}  // namespace quillet
