#include "cli/QImagePixels.h"

#ifdef QUILLET_HAVE_QTGUI
#include <QByteArray>
#include <QImageReader>
#include <QString>

namespace quillet::cli {

QImagePixels::QImagePixels(const QImage& image) : image_(image.convertToFormat(QImage::Format_RGB32)) {}

int32_t QImagePixels::Width() const { return image_.width(); }

int32_t QImagePixels::Height() const { return image_.height(); }

PixelSource::RGB QImagePixels::Pixel(int32_t x, int32_t y) const {
    const auto* line = reinterpret_cast<const QRgb*>(image_.constScanLine(y));
    const QRgb pixel = line[x];
    return {static_cast<uint8_t>(qRed(pixel)), static_cast<uint8_t>(qGreen(pixel)), static_cast<uint8_t>(qBlue(pixel))};
}

bool ReadPicture(const std::string& path, QImage& image, std::string& error) {
    QImageReader reader(QString::fromLocal8Bit(path.c_str()));
    reader.setDecideFormatFromContent(true);
    const QByteArray format = reader.format();
    if (format != "bmp" && format != "jpeg" && format != "gif") {
        error = "not a BMP, JPG or GIF picture";
        if (!format.isEmpty()) error += " (it is " + format.toUpper().toStdString() + ")";
        return false;
    }
    image = reader.read();
    if (image.isNull()) {
        error = "the " + format.toUpper().toStdString() + " picture cannot be read: " +
                reader.errorString().toStdString();
        return false;
    }
    return true;
}

}  // namespace quillet::cli
#endif
