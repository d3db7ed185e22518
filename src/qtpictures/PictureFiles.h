#pragma once
// Picture files in and out, the same for the GUI and the CLI: which pictures
// a conversion takes, and the PNG a page is written as.
#include <QImage>

#include <string>

namespace quillet {

struct BlockPicture;
class PixelPicture;

// Reads a BMP, JPG, GIF or PNG file, told by its content, not its name.
// Answers false with the reason in error for a file that is none of these or
// that cannot be decoded.
bool ReadPicture(const std::string& path, QImage& image, std::string& error);

// The block's picture as a QImage over its pixels (no copy: the picture must
// outlive the image).
QImage ImageOf(const BlockPicture& picture);

// Writes the shown picture of the page as a PNG file, by way of a temporary
// file beside it; answers false with the reason in error.
bool WritePng(const PixelPicture& picture, const std::string& path, std::string& error);
// The same for a block's picture, transparent pixels kept transparent.
bool WritePng(const BlockPicture& picture, const std::string& path, std::string& error);

}  // namespace quillet
