#include "uBlockPreview.h"

#include <QLabel>
#include <QPainter>

#include <algorithm>
#include <utility>

#include "cWindow.h"
#include "qtpictures/PicturePreview.h"

namespace quillet {

namespace {
// Around the picture and between it and its size, in twips.
constexpr int kMargin = 60;
// The least room the pane keeps for a picture when it is squeezed.
constexpr int kLeastRoom = 48;
}  // namespace

uBlockPreview::uBlockPreview(QWidget* parent) : QWidget(parent) {
    setObjectName("uBlockPreview");
    lblText = new QLabel(this);
    lblText->setObjectName("lblText");
    lblText->setWordWrap(true);
    lblText->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    lblText->setTextInteractionFlags(Qt::TextSelectableByMouse);
    Clear();
}

void uBlockPreview::ShowPicture(BlockPicture picture) {
    picture_ = std::move(picture);
    lblText->setText(QString("%1 x %2 pixels").arg(picture_.Width).arg(picture_.Height));
    Arrange();
    updateGeometry();
}

void uBlockPreview::ShowFailure(const QString& text) {
    picture_ = BlockPicture();
    lblText->setText(text);
    Arrange();
    updateGeometry();
}

void uBlockPreview::Clear() { ShowFailure(QString()); }

void uBlockPreview::SetMostRoom(QSize room) {
    mostRoom_ = room;
    Arrange();
    updateGeometry();
}

int uBlockPreview::TextHeight(int width) const {
    return lblText->text().isEmpty() ? 0 : lblText->heightForWidth(std::max(1, width));
}

void uBlockPreview::Arrange() {
    const int margin = Px(kMargin);
    const QRect inside = rect().adjusted(margin, margin, -margin, -margin);
    const int text = TextHeight(inside.width());
    int top = inside.top();
    shown_ = QImage();
    if (picture_.Width > 0) {
        QSize room(inside.width(), inside.height() - text - margin);
        if (mostRoom_.isValid()) room = room.boundedTo(mostRoom_);
        shown_ = PreviewImage(picture_, room.expandedTo(QSize(1, 1)));
        shownAt_ = QPoint(inside.left() + (inside.width() - shown_.width()) / 2, top);
        top += shown_.height() + margin;
    }
    lblText->setGeometry(inside.left(), top, inside.width(), std::max(text, inside.bottom() + 1 - top));
    update();
}

QSize uBlockPreview::sizeHint() const {
    if (!mostRoom_.isValid()) return minimumSizeHint();
    // As large as the picture at the most room, with its text under it.
    const int margin = Px(kMargin);
    const QSize picture = picture_.Width > 0 ? PreviewImage(picture_, mostRoom_).size() : QSize(0, 0);
    const int width = std::max(picture.width(), mostRoom_.width());
    const int text = TextHeight(width);
    return QSize(width + 2 * margin,
                 picture.height() + (picture.height() > 0 && text > 0 ? margin : 0) + text + 2 * margin);
}

QSize uBlockPreview::minimumSizeHint() const {
    if (mostRoom_.isValid()) return QSize(kLeastRoom, sizeHint().height());
    const int margin = Px(kMargin);
    return QSize(kLeastRoom + 2 * margin, kLeastRoom + lblText->fontMetrics().height() + 3 * margin);
}

void uBlockPreview::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    Arrange();
}

void uBlockPreview::paintEvent(QPaintEvent*) {
    if (shown_.isNull()) return;
    QPainter painter(this);
    painter.drawImage(shownAt_, shown_);
}

}  // namespace quillet
