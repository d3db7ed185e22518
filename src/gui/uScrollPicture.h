#pragma once
// A fixed 768 by 512 picture that other code draws into pixel by pixel, with
// a rectangle selection by the left button and a menu request by the right.
// No scrolling: what does not fit is cut off at the right and the bottom.
#include <QImage>
#include <QWidget>

#include <cstdint>

#include "viewers/Canvas.h"

namespace quillet {

class uScrollPicture : public QWidget, public PictureSurface {
    Q_OBJECT
public:
    static constexpr int kWidth = 768;
    static constexpr int kHeight = 512;

    explicit uScrollPicture(QWidget* parent = nullptr);

    // Erases the picture and drops the selection.
    void Cls() override;
    // Shows the kept image.
    void Refresh() override;
    // The drawing surface over the kept image.
    Canvas hDC() override;
    const QImage& Picture() const { return picture_; }

    int32_t X1 = -1, Y1 = -1, X2 = -1, Y2 = -1;

Q_SIGNALS:
    void MenuClick();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    // Inverts the rectangle without its right column and bottom row; twice
    // restores the pixels.
    void InvertRect();
    struct { int32_t Left = -1, Top = -1, Right = -1, Bottom = -1; } SelRect;
    QImage picture_;
    QImage shown_;
};

}  // namespace quillet
