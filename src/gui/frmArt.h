#pragma once
// The art import: a picture file becomes one block of the Art type, a land
// tile (from a 44 by 44 picture) below 0x4000, an item from there on.
#include "PictureImportForm.h"

namespace quillet {

class frmArt : public PictureImportForm {
    Q_OBJECT
public:
    explicit frmArt(QWidget* parent = nullptr);
    ~frmArt() override;

protected:
    Result Convert(const PixelSource& picture, int32_t block) override;
};

}  // namespace quillet
