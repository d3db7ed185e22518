#include "qtpictures/QImagePixels.h"

namespace quillet {

QImagePixels::QImagePixels(const QImage& picture) : image_(picture.convertToFormat(QImage::Format_ARGB32)) {}

int32_t QImagePixels::Width() const { return image_.width(); }

int32_t QImagePixels::Height() const { return image_.height(); }

PixelSource::RGB QImagePixels::Pixel(int32_t x, int32_t y) const {
    const QRgb colour = reinterpret_cast<const QRgb*>(image_.constScanLine(y))[x];
    return {static_cast<uint8_t>(qRed(colour)), static_cast<uint8_t>(qGreen(colour)), static_cast<uint8_t>(qBlue(colour)),
            static_cast<uint8_t>(qAlpha(colour))};
}

}  // namespace quillet
