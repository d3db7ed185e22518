#pragma once
// A block's picture as the GUI previews it: on a checkerboard, so that
// transparent pixels show as such, and scaled to the room it is given.
#include <QImage>
#include <QSize>

namespace quillet {

struct BlockPicture;

// The largest whole factor a small picture is scaled up by.
inline constexpr int kMostPreviewZoom = 8;

// The whole factor a picture is scaled up by in room: as large as fits, at
// least 1, at most kMostPreviewZoom. 0 when the picture is larger than room
// and must be scaled down.
int PreviewZoom(const BlockPicture& picture, QSize room);

// The picture scaled by PreviewZoom without smoothing (pixels stay sharp
// squares), or, when larger than room, scaled down smoothly to fit with its
// proportions kept; drawn over a checkerboard of light greys. A null image
// for an empty picture.
QImage PreviewImage(const BlockPicture& picture, QSize room);

}  // namespace quillet
