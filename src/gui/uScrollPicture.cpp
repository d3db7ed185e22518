#include "uScrollPicture.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace quillet {

namespace {
int32_t Rounded(double position) { return static_cast<int32_t>(std::nearbyint(position)); }
}  // namespace

uScrollPicture::uScrollPicture(QWidget* parent) : QWidget(parent), picture_(kWidth, kHeight, QImage::Format_RGB32) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    Cls();
    Refresh();
}

void uScrollPicture::Cls() {
    picture_.fill(palette().color(QPalette::Window));
    X1 = Y1 = X2 = Y2 = -1;
    SelRect = {};
}

void uScrollPicture::Refresh() {
    shown_ = picture_.copy();
    update();
}

Canvas uScrollPicture::hDC() {
    Canvas canvas;
    canvas.pixels = reinterpret_cast<uint32_t*>(picture_.bits());
    canvas.width = kWidth;
    canvas.height = kHeight;
    canvas.stride = static_cast<int32_t>(picture_.bytesPerLine() / 4);
    return canvas;
}

void uScrollPicture::InvertRect() {
    const int left = std::max(0, std::min(SelRect.Left, SelRect.Right));
    const int right = std::min(kWidth, std::max(SelRect.Left, SelRect.Right));
    const int top = std::max(0, std::min(SelRect.Top, SelRect.Bottom));
    const int bottom = std::min(kHeight, std::max(SelRect.Top, SelRect.Bottom));
    for (int y = top; y < bottom; ++y) {
        auto* row = reinterpret_cast<uint32_t*>(picture_.scanLine(y));
        for (int x = left; x < right; ++x) row[x] ^= 0x00FFFFFFu;
    }
}

void uScrollPicture::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Window));
    painter.drawImage(0, 0, shown_);
}

void uScrollPicture::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        if (SelRect.Left != -1) InvertRect();  // the earlier rectangle comes off the kept image
        SelRect.Left = X1 = Rounded(event->position().x());
        SelRect.Top = Y1 = Rounded(event->position().y());
    } else if (event->button() == Qt::RightButton) {
        Q_EMIT MenuClick();
    }
}

void uScrollPicture::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    SelRect.Right = X2 = Rounded(event->position().x());
    SelRect.Bottom = Y2 = Rounded(event->position().y());
    InvertRect();
    Refresh();
}

}  // namespace quillet
