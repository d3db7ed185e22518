#pragma once
// A picture 512 pixels high and 768 or 896 wide (as the drawing procedures
// set it) that other code draws into pixel by pixel, with a rectangle
// selection by the left button and a menu request by the right.
// The picture sits framed on a background of its own inside a scroll area, so
// a window smaller than the picture scrolls to the rest of it; a note line
// under it can say why the picture looks as it does. Only the picture itself
// takes the mouse: a press beside it starts nothing.
#include <QImage>
#include <QWidget>

#include <cstdint>

#include "viewers/Canvas.h"

class QLabel;
class QScrollArea;

namespace quillet {

class PictureBox;

class uScrollPicture : public QWidget, public PictureSurface {
    Q_OBJECT
public:
    static constexpr int kClassicWidth = 768;
    static constexpr int kHeight = 512;

    explicit uScrollPicture(QWidget* parent = nullptr);

    // Gives the picture a new width (the scroll area follows); the picture
    // is erased and the selection dropped when the width changes.
    void SetWidth(int32_t width) override;
    int Width() const { return picture_.width(); }
    // Erases the picture and drops the selection.
    void Cls() override;
    // Shows the kept image.
    void Refresh() override;
    // The drawing surface over the kept image.
    Canvas hDC() override;
    const QImage& Picture() const { return picture_; }

    // The note under the picture; an empty text hides it.
    void SetNote(const QString& text);
    // Room for the whole picture and its note without scrolling.
    QSize sizeHint() const override;

    int32_t X1 = -1, Y1 = -1, X2 = -1, Y2 = -1;

    QWidget* picScroll;  // the picture: mouse positions are its pixels
    QLabel* lblNote;
    QScrollArea* scrollArea;

Q_SIGNALS:
    void MenuClick();
    // The mouse is over pixel (x, y) of the picture; CursorLeft when it is
    // no longer over the picture.
    void CursorAt(int x, int y);
    void CursorLeft();

private:
    friend class PictureBox;
    void Press(Qt::MouseButton button, QPointF position);
    void Release(Qt::MouseButton button, QPointF position);
    void Move(Qt::MouseButtons buttons, QPointF position);
    // Inverts the rectangle without its right column and bottom row; twice
    // restores the pixels.
    void InvertRect();
    struct { int32_t Left = -1, Top = -1, Right = -1, Bottom = -1; } SelRect;
    QImage picture_;
    QImage shown_;
    bool dragging_ = false;
    QPoint dragTo_;  // where the left button is now, while it is held
};

}  // namespace quillet
