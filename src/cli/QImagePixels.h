#pragma once
// The gump conversion's pixel source over a QImage, and the reading of a
// picture file for it. Only in a build with QtGui.
#ifdef QUILLET_HAVE_QTGUI
#include <QImage>
#include <string>

#include "operations/mGumps.h"

namespace quillet::cli {

class QImagePixels : public PixelSource {
public:
    // The image is kept as 32-bit RGB, as the GUI's gump dialog keeps it, so
    // that both make the same block of a picture; a transparent pixel counts
    // by its colour, since the conversion has no transparent colour.
    explicit QImagePixels(const QImage& image);

    int32_t Width() const override;
    int32_t Height() const override;
    RGB Pixel(int32_t x, int32_t y) const override;

private:
    QImage image_;
};

// Reads a BMP, JPG or GIF file, told by its content, not its name. Answers
// false with the reason in error for a file that is none of these or that
// cannot be decoded.
bool ReadPicture(const std::string& path, QImage& image, std::string& error);

}  // namespace quillet::cli
#endif
