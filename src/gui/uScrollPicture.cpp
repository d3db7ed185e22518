#include "uScrollPicture.h"

#include <QFrame>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace quillet {

namespace {

int32_t Rounded(double position) { return static_cast<int32_t>(std::nearbyint(position)); }

constexpr int kMargin = 6;  // background shown around the picture

// A background the picture stands out from, whether the window is light or dark.
QColor Surround(const QColor& window) { return window.lightness() > 128 ? window.darker(170) : window.lighter(170); }

}  // namespace

// The picture itself, at its fixed size: it paints the shown image and the
// rectangle being dragged, and hands its mouse events to the page.
class PictureBox : public QWidget {
public:
    explicit PictureBox(uScrollPicture* owner) : QWidget(nullptr), owner_(owner) {
        setObjectName("picScroll");
        setFixedSize(uScrollPicture::kClassicWidth, uScrollPicture::kHeight);
        setAttribute(Qt::WA_OpaquePaintEvent);
        setMouseTracking(true);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.drawImage(0, 0, owner_->shown_);
        if (!owner_->dragging_) return;
        // The rectangle as the release will invert it: without its right
        // column and bottom row, cut at the picture's edges.
        const QPoint from(owner_->SelRect.Left, owner_->SelRect.Top);
        const QRect band =
            QRect(QPoint(std::min(from.x(), owner_->dragTo_.x()), std::min(from.y(), owner_->dragTo_.y())),
                  QPoint(std::max(from.x(), owner_->dragTo_.x()) - 1, std::max(from.y(), owner_->dragTo_.y()) - 1))
                .intersected(rect());
        if (band.isEmpty()) return;
        painter.setCompositionMode(QPainter::RasterOp_SourceXorDestination);
        painter.fillRect(band, Qt::white);
    }
    void mousePressEvent(QMouseEvent* event) override { owner_->Press(event->button(), event->position()); }
    void mouseReleaseEvent(QMouseEvent* event) override { owner_->Release(event->button(), event->position()); }
    void mouseMoveEvent(QMouseEvent* event) override { owner_->Move(event->buttons(), event->position()); }
    void leaveEvent(QEvent*) override { Q_EMIT owner_->CursorLeft(); }

private:
    uScrollPicture* owner_;
};

uScrollPicture::uScrollPicture(QWidget* parent)
    : QWidget(parent), picture_(kClassicWidth, kHeight, QImage::Format_RGB32) {
    picScroll = new PictureBox(this);
    auto* frame = new QFrame;
    frame->setObjectName("picFrame");
    frame->setFrameStyle(QFrame::Box | QFrame::Plain);
    frame->setLineWidth(1);
    auto* frameLayout = new QVBoxLayout(frame);
    frameLayout->setContentsMargins(0, 0, 0, 0);
    frameLayout->addWidget(picScroll);

    // The note stands under the scrolled picture, in the window's own look,
    // and wraps to the width there is: it never scrolls out of sight.
    lblNote = new QLabel;
    lblNote->setObjectName("lblNote");
    lblNote->setWordWrap(true);
    lblNote->setMargin(4);
    lblNote->setTextInteractionFlags(Qt::TextSelectableByMouse);
    lblNote->hide();

    auto* content = new QWidget;
    content->setObjectName("pictureContent");
    content->setAutoFillBackground(true);
    QPalette surround;
    surround.setColor(QPalette::Window, Surround(palette().color(QPalette::Window)));
    content->setPalette(surround);
    auto* contentLayout = new QVBoxLayout(content);
    contentLayout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    contentLayout->setSpacing(kMargin);
    contentLayout->addWidget(frame, 0, Qt::AlignLeft | Qt::AlignTop);
    contentLayout->addStretch(1);

    scrollArea = new QScrollArea(this);
    scrollArea->setObjectName("scrollArea");
    scrollArea->setWidget(content);
    scrollArea->setWidgetResizable(true);
    scrollArea->viewport()->setAutoFillBackground(true);
    scrollArea->viewport()->setPalette(surround);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);  // the note's own margin stands between them
    layout->addWidget(scrollArea, 1);
    layout->addWidget(lblNote);

    Cls();
    Refresh();
}

QSize uScrollPicture::sizeHint() const {
    const int frame = 2 * scrollArea->frameWidth();
    const int width = 2 * kMargin + Width() + 2 + frame;
    int height = 2 * kMargin + kHeight + 2;
    if (!lblNote->isHidden()) height += lblNote->heightForWidth(width);
    return {width, height + frame};
}

void uScrollPicture::SetWidth(int32_t width) {
    if (width == picture_.width() || width < 1) return;
    picture_ = QImage(width, kHeight, QImage::Format_RGB32);
    picScroll->setFixedSize(width, kHeight);
    // The frame and the content take the new size now, not some passes of
    // the event loop later; the scroll area, which does not hear of it by
    // itself while the page is in sight, is then made to read it again.
    for (QWidget* holder = picScroll->parentWidget(); holder && holder != scrollArea->viewport();
         holder = holder->parentWidget())
        if (holder->layout()) holder->layout()->activate();
    scrollArea->setWidgetResizable(true);
    Cls();
    Refresh();
    updateGeometry();
}

void uScrollPicture::SetNote(const QString& text) {
    lblNote->setText(text);
    lblNote->setVisible(!text.isEmpty());
    updateGeometry();
}

void uScrollPicture::Cls() {
    picture_.fill(palette().color(QPalette::Window));
    X1 = Y1 = X2 = Y2 = -1;
    SelRect = {};
    dragging_ = false;
}

void uScrollPicture::Refresh() {
    shown_ = picture_.copy();
    picScroll->update();
}

Canvas uScrollPicture::hDC() {
    Canvas canvas;
    canvas.pixels = reinterpret_cast<uint32_t*>(picture_.bits());
    canvas.width = picture_.width();
    canvas.height = kHeight;
    canvas.stride = static_cast<int32_t>(picture_.bytesPerLine() / 4);
    return canvas;
}

void uScrollPicture::InvertRect() {
    const int left = std::max(0, std::min(SelRect.Left, SelRect.Right));
    const int right = std::min(picture_.width(), std::max(SelRect.Left, SelRect.Right));
    const int top = std::max(0, std::min(SelRect.Top, SelRect.Bottom));
    const int bottom = std::min(kHeight, std::max(SelRect.Top, SelRect.Bottom));
    for (int y = top; y < bottom; ++y) {
        auto* row = reinterpret_cast<uint32_t*>(picture_.scanLine(y));
        for (int x = left; x < right; ++x) row[x] ^= 0x00FFFFFFu;
    }
}

void uScrollPicture::Press(Qt::MouseButton button, QPointF position) {
    if (button == Qt::LeftButton) {
        if (SelRect.Left != -1) {
            InvertRect();  // the earlier rectangle comes off the kept image
            Refresh();     // and off the screen, before the new one is dragged
        }
        SelRect.Left = X1 = Rounded(position.x());
        SelRect.Top = Y1 = Rounded(position.y());
        dragging_ = true;
        dragTo_ = QPoint(X1, Y1);
    } else if (button == Qt::RightButton) {
        Q_EMIT MenuClick();
    }
}

void uScrollPicture::Move(Qt::MouseButtons buttons, QPointF position) {
    const QPoint at(Rounded(position.x()), Rounded(position.y()));
    if (at.x() >= 0 && at.y() >= 0 && at.x() < picture_.width() && at.y() < kHeight)
        Q_EMIT CursorAt(at.x(), at.y());
    else
        Q_EMIT CursorLeft();
    if (dragging_ && (buttons & Qt::LeftButton)) {
        dragTo_ = at;
        picScroll->update();
    }
}

void uScrollPicture::Release(Qt::MouseButton button, QPointF position) {
    // Only a press on the picture starts a selection that a release can end.
    if (button != Qt::LeftButton || !dragging_) return;
    dragging_ = false;
    SelRect.Right = X2 = Rounded(position.x());
    SelRect.Bottom = Y2 = Rounded(position.y());
    InvertRect();
    Refresh();
}

}  // namespace quillet
