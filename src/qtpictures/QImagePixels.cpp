#include "qtpictures/QImagePixels.h"

namespace quillet {

QImagePixels::QImagePixels(const QImage& picture)
    : image_(picture.convertToFormat(QImage::Format_ARGB32)), bits_(image_.constBits()), stride_(image_.bytesPerLine()) {}

int32_t QImagePixels::Width() const { return image_.width(); }

int32_t QImagePixels::Height() const { return image_.height(); }

PixelSource::RGB QImagePixels::Pixel(int32_t x, int32_t y) const {
    const QRgb colour = Line(y)[x];
    return {static_cast<uint8_t>(qRed(colour)), static_cast<uint8_t>(qGreen(colour)), static_cast<uint8_t>(qBlue(colour)),
            static_cast<uint8_t>(qAlpha(colour))};
}

void QImagePixels::Row(int32_t y, RGB* out) const {
    const QRgb* line = Line(y);
    for (int32_t x = 0; x < image_.width(); ++x)
        out[x] = {static_cast<uint8_t>(qRed(line[x])), static_cast<uint8_t>(qGreen(line[x])),
                  static_cast<uint8_t>(qBlue(line[x])), static_cast<uint8_t>(qAlpha(line[x]))};
}

}  // namespace quillet
