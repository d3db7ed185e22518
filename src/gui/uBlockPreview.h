#pragma once
// A pane that shows one block's picture as it is given: scaled into the room
// the pane has (small pictures by whole factors, pixels kept sharp), a
// checkerboard behind transparent pixels, and the size in pixels under it;
// or, for a block that cannot be drawn, the reason instead. It decodes
// nothing itself.
#include <QImage>
#include <QSize>
#include <QWidget>

#include "viewers/BlockPicture.h"

class QLabel;

namespace quillet {

class uBlockPreview : public QWidget {
    Q_OBJECT
public:
    explicit uBlockPreview(QWidget* parent = nullptr);

    void ShowPicture(BlockPicture picture);
    void ShowFailure(const QString& text);
    // Nothing shown: no picture, no text.
    void Clear();

    // A bound on the picture's room, whatever the pane's size: a pane that
    // is given one asks its layout for no more than the picture needs.
    void SetMostRoom(QSize room);

    // The picture as drawn now (null when there is none), and the text under it.
    const QImage& Shown() const { return shown_; }
    QLabel* lblText;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    int TextHeight(int width) const;
    // Composes the picture for the pane's room and puts the text under it:
    // both at the top of the pane, centred across it.
    void Arrange();

    BlockPicture picture_;
    QImage shown_;
    QPoint shownAt_;
    QSize mostRoom_;
};

}  // namespace quillet
