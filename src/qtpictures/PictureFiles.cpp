#include "qtpictures/PictureFiles.h"

#include <unistd.h>

#include <QByteArray>
#include <QImageReader>
#include <QString>

#include "base/SafeSave.h"
#include "viewers/BlockPicture.h"
#include "viewers/PixelPicture.h"

namespace quillet {

bool ReadPicture(const std::string& path, QImage& image, std::string& error) {
    QImageReader reader(QString::fromLocal8Bit(path.c_str()));
    reader.setDecideFormatFromContent(true);
    const QByteArray format = reader.format();
    if (format != "bmp" && format != "jpeg" && format != "gif" && format != "png") {
        error = "not a BMP, JPG, GIF or PNG picture";
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

namespace {

bool SaveImageAsPng(const QImage& image, const std::string& path, std::string& error) {
    const std::string temp = TempNameBeside(path);
    if (!image.save(QString::fromLocal8Bit(temp.c_str()), "PNG")) {
        ::unlink(temp.c_str());
        error = "cannot write " + temp;
        return false;
    }
    if (!CommitReplace(temp, path)) {
        error = "cannot put the picture in place as " + path;
        return false;
    }
    return true;
}

}  // namespace

QImage ImageOf(const BlockPicture& picture) {
    return QImage(reinterpret_cast<const uchar*>(picture.Pixels.data()), picture.Width, picture.Height,
                  static_cast<qsizetype>(picture.Width) * 4, QImage::Format_ARGB32);
}

bool WritePng(const PixelPicture& picture, const std::string& path, std::string& error) {
    const std::vector<uint32_t>& pixels = picture.ShownPixels();
    const int32_t width = picture.ShownWidth();
    if (pixels.size() != static_cast<size_t>(width) * PixelPicture::kHeight) {
        error = "the picture has not been drawn";
        return false;
    }
    return SaveImageAsPng(QImage(reinterpret_cast<const uchar*>(pixels.data()), width, PixelPicture::kHeight, width * 4,
                                 QImage::Format_RGB32),
                          path, error);
}

bool WritePng(const BlockPicture& picture, const std::string& path, std::string& error) {
    if (picture.Width < 1 || picture.Height < 1) {
        error = "the picture is empty";
        return false;
    }
    return SaveImageAsPng(ImageOf(picture), path, error);
}

}  // namespace quillet
