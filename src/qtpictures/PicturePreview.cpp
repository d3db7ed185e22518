#include "qtpictures/PicturePreview.h"

#include <algorithm>

#include <QPainter>

#include "qtpictures/PictureFiles.h"
#include "viewers/BlockPicture.h"

namespace quillet {
namespace {

constexpr int kCheckerSquare = 8;
const QColor kCheckerLight(255, 255, 255);
const QColor kCheckerDark(204, 204, 204);

void PaintCheckerboard(QPainter& painter, const QSize& size) {
    painter.fillRect(QRect(QPoint(0, 0), size), kCheckerLight);
    for (int y = 0; y < size.height(); y += kCheckerSquare)
        for (int x = (y / kCheckerSquare % 2) * kCheckerSquare; x < size.width(); x += 2 * kCheckerSquare)
            painter.fillRect(x, y, kCheckerSquare, kCheckerSquare, kCheckerDark);
}

}  // namespace

int PreviewZoom(const BlockPicture& picture, QSize room) {
    if (picture.Width < 1 || picture.Height < 1) return 0;
    const int zoom = std::min(room.width() / picture.Width, room.height() / picture.Height);
    if (zoom < 1) return 0;
    return std::min(zoom, kMostPreviewZoom);
}

QImage PreviewImage(const BlockPicture& picture, QSize room) {
    if (picture.Width < 1 || picture.Height < 1) return {};
    const QImage source = ImageOf(picture);
    const int zoom = PreviewZoom(picture, room);
    const QSize size = zoom > 0 ? QSize(picture.Width * zoom, picture.Height * zoom)
                                : QSize(picture.Width, picture.Height).scaled(room.expandedTo(QSize(1, 1)),
                                                                              Qt::KeepAspectRatio)
                                      .expandedTo(QSize(1, 1));
    QImage preview(size, QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&preview);
    PaintCheckerboard(painter, size);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, zoom == 0);
    painter.drawImage(QRect(QPoint(0, 0), size), source);
    return preview;
}

}  // namespace quillet
